// The default printer: the entry "Device" in the profile section "Windows", "printer,driver,port".
#pragma once

#include "runtime/core/win.h"

namespace kv {

enum class CutAtComma : bool { kNo, kYes };

// The default printer's name, or the whole entry (at most 259 characters of it); returns its first
// character, 0 when there is no default printer.
WCHAR GetDefaultPrinterName(WCHAR (&name)[MAX_PATH], CutAtComma cut);
// Makes a printer the calling user's default and tells all windows. A text with a comma is a whole
// entry and written as it is; a name gets its driver field and its port. Returns the result of the
// broadcast: windows that do not answer within 100 ms make no difference, and neither does a
// profile that cannot be written. 0, with the default printer left alone and nobody told, when the
// printer's port cannot be found out, with the last error and the
// report of GetPrinterDetails, and for an entry of more than 779 characters
// (ERROR_INVALID_PARAMETER).
LRESULT SetDefaultPrinterName(LPCWSTR name);
// The same for the user whose key `userRoot` is, without telling anybody; what follows a comma does
// not count. Nothing happens when that user's list of devices does not have the printer, and for
// texts that are longer than above.
void SetDefaultPrinterForUser(HKEY userRoot, LPCWSTR name);
// For all users with a profile on the machine, whose registries are loaded meanwhile, then for the
// calling user by SetDefaultPrinterName.
void SetDefaultPrinterForAllUsers(LPCWSTR name);

// Undoes, when it goes out of scope, a change of the default printer's entry made meanwhile, letter
// case aside. Without a default printer at the start there is nothing to undo; one whose entry has
// more than 258 characters is set by its name.
class CDefaultPrinterGuard {
 public:
  CDefaultPrinterGuard();
  ~CDefaultPrinterGuard();
  CDefaultPrinterGuard(const CDefaultPrinterGuard&) = delete;
  CDefaultPrinterGuard& operator=(const CDefaultPrinterGuard&) = delete;

 private:
  WCHAR saved_[MAX_PATH];
};

}  // namespace kv
