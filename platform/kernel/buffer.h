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

// Copies as much of `text` as fits, with a terminator, and returns its length without it; a
// capacity below 1 leaves the buffer as it is. Characters throughout.
inline int CopyCut(WideView text, LPWSTR buffer, int capacity) {
  if (buffer == nullptr || capacity < 1) return 0;
  const size_t length = text.copy(buffer, static_cast<size_t>(capacity) - 1);
  buffer[length] = 0;
  return static_cast<int>(length);
}

}  // namespace platform
