// Making directories.
#pragma once

#include "runtime/core/flags.h"
#include "runtime/core/win.h"

namespace kv {

// Whether references to environment variables in a path are replaced first.
enum class Expand : bool { kNo, kYes };

// TRUE when the directory was made or is there already; else FALSE, with the box 12101 unless
// quiet.
BOOL CreateOneDirectory(LPCWSTR path, Quiet quiet);
// Makes the directory and all that are missing on the way to it; an empty path is TRUE. The root of
// the path, "C:\" or "\\server\share", must be there. The first that cannot be made ends the work
// with FALSE.
BOOL CreateDirectoryTree(LPCWSTR path, Expand expand, Quiet quiet);

}  // namespace kv
