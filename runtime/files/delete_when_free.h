// Deleting a file that is still in use.
#pragma once

#include "runtime/core/win.h"

namespace kv {

// Starts a hidden batch script at idle priority that tries to delete the file `path` (full, at most
// 259 characters) until it is gone, and then deletes itself. TRUE when the script runs; else FALSE
// with no script left, after the box of the file operation that failed; a script that could not be
// started is not reported.
BOOL DeleteWhenFree(LPCWSTR path);

}  // namespace kv
