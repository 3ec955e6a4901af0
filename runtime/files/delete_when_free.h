// Deleting a file that is still in use.
#pragma once

#include "runtime/core/win.h"

namespace kv {

// Starts a hidden batch script at idle priority that tries to delete the file `path` (at most 259
// characters) until it is gone, and then deletes itself. The file's attributes become normal, so
// that the shell can delete it. The script names the file by its short path where the shell would
// not read the path as it is meant (characters outside its code page, exclamation marks). FALSE
// with no script left and nothing deleted: when there is no such path either, or it has wildcards
// (ERROR_INVALID_NAME), for a directory (ERROR_ACCESS_DENIED), and after the box of the file
// operation that failed; a script that could not be started is not reported.
BOOL DeleteWhenFree(LPCWSTR path);

}  // namespace kv
