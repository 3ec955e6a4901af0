// The structures PRINTER_INFO_1 to PRINTER_INFO_9.
#pragma once

#include <windows.h>

#include <optional>

#include "platform/spooler/level_packing.h"
#include "platform/spooler/print_records.h"

namespace platform {

// A printer of this machine or of another server.
std::optional<PrinterRecord> FindPrinter(WideView name);
// The same with what is not kept with it: its jobs, and the device modes in force.
std::optional<PrinterRecord> DescribePrinter(WideView name);

using PrinterFields = std::span<const LevelField<PrinterRecord>>;
// The fields of a level; empty with ERROR_INVALID_LEVEL for one that this system does not have.
PrinterFields PrinterFieldsOf(DWORD level);
// The record with the device modes' ANSI forms, for structures of narrow texts.
PrinterRecord WithNarrowDevModes(PrinterRecord printer);

}  // namespace platform
