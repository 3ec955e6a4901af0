// What a call that is refused leaves in the last error.
#pragma once

#include <windows.h>

namespace kv::test {

// ERROR_SUCCESS when the call answers anything but FALSE or null.
template <class Call>
DWORD ErrorOf(Call call) {
  SetLastError(0);
  return call() ? ERROR_SUCCESS : GetLastError();
}

}  // namespace kv::test
