// How many products use a shared file, counted under the system's SharedDLLs key.
#pragma once

#include "runtime/registry/reg_key.h"

namespace kv {

// In a process below High integrity the key stays closed, and every count reads 0.
class SharedDllCounter : public RegKey {
 public:
  SharedDllCounter();

  // Count one user more or less of the file `path`, a full path; both return the count that then
  // stands in the registry. The last Release removes the count. Without rights or memory, and when
  // the present count cannot be read, it stays.
  DWORD AddRef(LPCWSTR path);
  DWORD Release(LPCWSTR path);

 private:
  // 0 for a value that is missing or no count; FALSE for one that cannot be read, so that nobody
  // takes it for the first.
  BOOL ReadCount(LPCWSTR path, DWORD& count) const;
};

}  // namespace kv
