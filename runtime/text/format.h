// printf-style formatting into buffers of fixed capacity, by the platform's rules: in a wide format
// %s is a wide string and %hs a narrow one.
#pragma once

#include "runtime/core/win.h"

namespace kv {

// Formats into `out` of `capacity` characters (bytes for the narrow form). The result is always
// terminated and cut to fit; returns TRUE when it fitted whole. A wide result that is cut keeps no
// half of a character of two units. A capacity of 0 does nothing. No argument may lie in `out`.
BOOL FormatTextV(LPWSTR out, size_t capacity, LPCWSTR format, va_list arguments);
BOOL FormatText(LPWSTR out, size_t capacity, LPCWSTR format, ...);
BOOL FormatTextA(LPSTR out, size_t capacity, LPCSTR format, ...);

// The same for an array, whose capacity the compiler knows.
template <size_t kCapacity, class... Arguments>
BOOL FormatText(WCHAR (&out)[kCapacity], LPCWSTR format, Arguments... arguments) {
  return FormatText(out, kCapacity, format, arguments...);
}

// Formats behind the text that stands in `out`, by the same rules; FALSE also when there is no
// terminator within `capacity`.
BOOL AppendText(LPWSTR out, size_t capacity, LPCWSTR format, ...);

}  // namespace kv
