// Handing texts to callers who bring a buffer.
#pragma once

#include <algorithm>

#include "platform/kernel/text.h"

namespace platform {

// The rule of the directory functions. Copies `text` with its terminator and returns its length; a
// buffer that is too small stays as it is, and the capacity needed (with the terminator) comes
// back. Characters throughout.
inline DWORD CopyOut(WideView text, LPWSTR buffer, DWORD capacity) {
  if (capacity <= text.size()) return static_cast<DWORD>(text.size() + 1);
  *std::copy(text.begin(), text.end(), buffer) = 0;
  return static_cast<DWORD>(text.size());
}

}  // namespace platform
