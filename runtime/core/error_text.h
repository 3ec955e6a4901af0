// The system's own words for its error codes.
#pragma once

#include "runtime/core/win.h"

namespace kv {

constexpr int kErrorTextCapacity = 256;
// Buffers of this many characters or fewer are only emptied.
constexpr int kErrorTextMinimum = 80;

// The functions below empty `buffer` of `capacity` characters first, unless it is null, and leave
// it empty when it is too small (kErrorTextMinimum), the code is 0 or the system has no text for
// it. A text that does not fit is cut. What the last error is afterwards is not said.

// The system's text for `code` in the default language (FormatMessageW).
void GetSystemErrorText(DWORD code, LPWSTR buffer, int capacity);
void GetLastErrorText(LPWSTR buffer, int capacity);
// What is put behind a sentence that ends with the insert and a full stop: ".", an empty line and
// the system's text without its closing full stop and white space.
void GetErrorSuffix(DWORD code, LPWSTR buffer, int capacity);
void GetLastErrorSuffix(LPWSTR buffer, int capacity);

}  // namespace kv
