// Names of temporary files.
#pragma once

#include "runtime/core/win.h"

namespace kv {

// Makes an empty file "~KVnnnn.tmp" in `directory` (null: the user's directory for temporary files)
// and gives its path. FALSE, with the system's last error, when that fails.
BOOL MakeTempName(LPCWSTR directory, WCHAR (&output)[MAX_PATH]);

}  // namespace kv
