// The settings of a printer for the calling user.
#pragma once

#include "platform/spooler/print_records.h"

namespace platform {

// The driver's own, under what all users start from, under what the user has set, as the driver
// reads them; a whole DEVMODE of the driver's size. `printer` comes from DescribePrinter.
Bytes SettingsInForce(const PrinterRecord& printer);

}  // namespace platform
