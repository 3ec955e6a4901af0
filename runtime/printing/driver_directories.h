// Where the spooler keeps the files of printer drivers.
#pragma once

#include "runtime/core/win.h"

namespace kv {

// The path of `file` in this machine's directory of printer drivers for `environment`, or without a
// file the directory itself. A file that is a link is returned as it is; one with a drive or a
// server stands alone. Returns the first character of the result. 0, with an empty path: the
// spooler's last error, ERROR_PATH_NOT_FOUND when it names no directory, and
// ERROR_FILENAME_EXCED_RANGE for a path of more than 259 characters, which is never cut. The file's
// name may be `path`.
WCHAR GetDriverDirectory(LPCWSTR environment, LPCWSTR file, WCHAR (&path)[MAX_PATH]);
// For the environment of the product, and for that of the system itself.
WCHAR GetProductDriverDirectory(LPCWSTR file, WCHAR (&path)[MAX_PATH]);
WCHAR GetNativeDriverDirectory(LPCWSTR file, WCHAR (&path)[MAX_PATH]);

// The same in the share that a server (its name without backslashes) offers to machines like this
// one; nothing is asked of the server. 0, with an empty path: ERROR_INVALID_ENVIRONMENT where there
// is no such share (WOW64 on other processors than AMD64), ERROR_INVALID_PARAMETER without a
// server, ERROR_FILENAME_EXCED_RANGE as above.
WCHAR GetServerDriverShare(LPCWSTR server, LPCWSTR file, WCHAR (&path)[MAX_PATH]);

}  // namespace kv
