// The printer drivers that are installed for an environment.
#pragma once

#include "runtime/printing/spooler_list.h"

namespace kv {

// Loaded by its constructor; empty when the environment is null (ERROR_INVALID_PARAMETER), the
// spooler refuses or memory runs out (ERROR_NOT_ENOUGH_MEMORY), which the last error then tells.
// Names are compared without regard to case.
class CPrinterDriverList {
 public:
  explicit CPrinterDriverList(LPCWSTR environment);
  CPrinterDriverList(const CPrinterDriverList&) = delete;
  CPrinterDriverList& operator=(const CPrinterDriverList&) = delete;

  int Count() const { return static_cast<int>(drivers_.count()); }
  // The records lie in the list. Null for an index that is not one.
  const DRIVER_INFO_3W* GetAt(int index) const;
  // Null at the end.
  const DRIVER_INFO_3W* First();
  const DRIVER_INFO_3W* Next();
  // The driver's index; -1 when there is none of that name.
  int Find(LPCWSTR driver) const;
  // Whether there is one of that name and driver version (0: any).
  BOOL Find(DWORD version, LPCWSTR driver) const;

 private:
  int position_ = 0;
  SpoolerList<DRIVER_INFO_3W> drivers_;
};

}  // namespace kv
