// The device modes that the spooler keeps for a printer: its own (level 2), what all users start
// from (level 8) and what the calling user has set (level 9). Levels 8 and 9 exist on the NT family
// from Windows 2000 on; elsewhere their functions fail without a report, with ERROR_INVALID_LEVEL.
#pragma once

#include "runtime/core/flags.h"
#include "runtime/printing/devmode.h"

namespace kv {

// Reading: TRUE with a copy in *devMode, null when the printer has none at that level. FALSE, with
// null, when the spooler refuses or memory runs out, reported unless `quiet` and with the last
// error as printer_info.h says.
BOOL GetPrinterDevMode(HANDLE printer, UniqueDevMode* devMode, Quiet quiet);
BOOL GetPrinterGlobalDevMode(HANDLE printer, UniqueDevMode* devMode, Quiet quiet);
BOOL GetPrinterUserDevMode(HANDLE printer, UniqueDevMode* devMode, Quiet quiet);

// Writing; null takes the device mode away. kUnchanged, without SetPrinterW, when the spooler has
// an equal one. Failures are reported unless `quiet`, a refusal as "SetPrinter" with the system's
// text; the last error stands behind the report. One that cannot be read (devmode.h) is refused
// with ERROR_INVALID_PARAMETER and without a report. A change of the default printer that the
// spooler makes on the way is undone at levels 2 and 8.
WriteResult SetPrinterDevMode(HANDLE printer, const DEVMODEW* devMode, Quiet quiet);
WriteResult SetPrinterGlobalDevMode(HANDLE printer, const DEVMODEW* devMode, Quiet quiet);
WriteResult SetPrinterUserDevMode(HANDLE printer, const DEVMODEW* devMode, Quiet quiet);

}  // namespace kv
