// Names for new files. An operation that fails leaves an empty name.
#pragma once

#include "runtime/core/win.h"

namespace kv {

// Makes an empty temporary file (its name begins with "~KV" and ends with ".tmp") in `directory`,
// or in the user's temporary directory when that is null. FALSE, with the system's last error, when
// that fails.
BOOL MakeTempName(LPCWSTR directory, WCHAR (&output)[MAX_PATH]);
// The same with another extension ("bat" or ".bat"; an empty one gives a name without). FALSE, and
// no file is left, when the file cannot be made or given its name.
BOOL MakeTempNameWithExt(LPCWSTR directory, LPCWSTR extension, WCHAR (&output)[MAX_PATH]);
// Copies the file `path` to a new temporary file with the same extension. FALSE, after the box of
// the failed copy, when that fails; no file is left then.
BOOL CopyToTempName(LPCWSTR path, WCHAR (&output)[MAX_PATH]);

// Changes `path` of `capacity` characters into the name of a file that does not exist: "name.ext",
// "name_1.ext", "name_2.ext" and so on; where there is no room, characters at the end of the base
// name make way.
void MakeUniqueFileName(LPWSTR path, int capacity);

}  // namespace kv
