// The copies of a printer's device mode that the registry keeps for the user and for the printer.
#pragma once

#include "runtime/printing/devmode.h"

namespace kv {

enum class ForPrinter : bool { kNo, kYes };
enum class ForUser : bool { kNo, kYes };

// Writes the device mode to the registry copies of a printer (its default settings) and of the
// current user, where these are not equal to it already. A copy whose key cannot be opened (or, for
// the user's, made) or written is left out without a report. kUnchanged also when there was no key
// at all. kWriteFailed, for "not possible", with nothing written: on the Windows 9x family
// (ERROR_CALL_NOT_IMPLEMENTED), for what is no printer's name (ERROR_INVALID_PRINTER_NAME; keys
// that belong to no printer would be written to), and for a device mode that is not valid
// (ERROR_INVALID_PARAMETER).
WriteResult StoreDevMode(LPCWSTR printer, const DEVMODEW* devMode, ForPrinter forPrinter,
                         ForUser forUser);
// The same after conversion; kWriteFailed also when memory for that runs out
// (ERROR_NOT_ENOUGH_MEMORY).
WriteResult StoreDevModeA(LPCWSTR printer, const DEVMODEA* devMode, ForPrinter forPrinter,
                          ForUser forUser);

}  // namespace kv
