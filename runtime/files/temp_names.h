// Names for new files.
//
// Making a file that fails leaves an empty name and the failed call's last error,
// ERROR_PATH_NOT_FOUND for an empty directory, ERROR_FILENAME_EXCED_RANGE for a path that does not
// fit. What it is given may stand in the output.
#pragma once

#include "runtime/core/win.h"

namespace kv {

// Makes an empty temporary file (its name begins with "~KV" and ends with ".tmp") in `directory`,
// of at most 246 characters, or in the user's temporary directory when that is null. FALSE when
// that fails or the temporary directory cannot be found out.
BOOL MakeTempName(LPCWSTR directory, WCHAR (&output)[MAX_PATH]);
// The same with another extension ("bat" or ".bat"; an empty one gives a name without). FALSE, and
// no file is left, when the file cannot be made or given its name.
BOOL MakeTempNameWithExt(LPCWSTR directory, LPCWSTR extension, WCHAR (&output)[MAX_PATH]);
// Copies the file `path` to a new temporary file of the user with the same extension. FALSE, and no
// file is left, when there is no such name, and after the box of CopyFileTo when the copy fails.
BOOL CopyToTempName(LPCWSTR path, WCHAR (&output)[MAX_PATH]);

// Changes `path` of `capacity` characters into the name of a file that does not exist: "name.ext",
// "name_1.ext", "name_2.ext" and so on; where there is no room, characters at the end of the base
// name make way. FALSE, with the path unchanged, when there is no room even so
// (ERROR_FILENAME_EXCED_RANGE), for an empty path (ERROR_PATH_NOT_FOUND) and without memory
// (ERROR_NOT_ENOUGH_MEMORY).
BOOL MakeUniqueFileName(LPWSTR path, int capacity);

}  // namespace kv
