// Where the system keeps things.
#pragma once

#include "runtime/core/win.h"

namespace kv {

// The path of `fileName` in the system directory; just the name when the system directory cannot be
// had.
void GetSystemFilePath(LPCWSTR fileName, WCHAR (&path)[MAX_PATH]);

}  // namespace kv
