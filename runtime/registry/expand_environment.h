// Replacing references to environment variables ("%TEMP%").
#pragma once

#include <memory>

#include "runtime/core/win.h"

namespace kv {

// The expansion of `text`; references to unknown variables stay. Null when the system cannot expand
// it, with its last error, and after the report "MyExpandEnvironmentStrings" when memory runs out.
std::unique_ptr<WCHAR[]> MyExpandEnvironmentStrings(LPCWSTR text);

// Replaces the text in `buffer` of `capacity` characters by its expansion, cut to fit. TRUE when
// the result is not empty; FALSE, with the buffer unchanged, when it could not be expanded, and
// when there is nothing in it.
BOOL ExpandInPlace(LPWSTR buffer, int capacity);

}  // namespace kv
