// Changing printers.
#pragma once

#include <windows.h>

#include "platform/spooler/print_records.h"
#include "platform/spooler/printer_handles.h"

namespace platform {

// The printer that a PRINTER_INFO_2 describes.
PrinterRecord PrinterFrom(const PRINTER_INFO_2W& info);
// What stands in the way of a printer's driver, ports, print processor and datatype, or 0.
DWORD RefusalOf(const PrinterRecord& printer);
// Changes the open printer by a structure of level 2, 8 or 9; the error code.
DWORD ChangePrinter(const OpenPrinterState& open, DWORD level, const void* info);

}  // namespace platform
