// The thread's last error, which tells callers why a function failed.
#pragma once

#include "runtime/core/win.h"

namespace kv {

// FALSE, for the caller to return, with `error` as the last error.
inline BOOL FailWith(DWORD error) {
  SetLastError(error);
  return FALSE;
}

// Keeps the last error over what is done in its scope.
class LastErrorScope {
 public:
  LastErrorScope() = default;
  ~LastErrorScope() { SetLastError(error_); }
  LastErrorScope(const LastErrorScope&) = delete;
  LastErrorScope& operator=(const LastErrorScope&) = delete;

 private:
  const DWORD error_ = GetLastError();
};

}  // namespace kv
