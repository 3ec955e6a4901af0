// Taking paths apart, putting them together, and asking what lies there.
//
// Paths are UTF-16 and hold at most MAX_PATH (260) characters with the terminator unless a capacity
// is given.
#pragma once

#include "runtime/core/win.h"

namespace kv {

// Whether a function shows a message box when what it looks for is missing.
enum class Report : bool { kNo, kYes };

// The part behind the last backslash, or the whole path.
LPCWSTR GetFileName(LPCWSTR path);
// `directory` and `name` joined with one backslash, cut to capacity - 1 characters. A name with a
// drive ("Y:\y") or a server ("\\server") is taken alone.
void PathJoin(LPCWSTR directory, LPCWSTR name, LPWSTR output, int capacity);
// The path of `name` in the directory of the file that `module` was loaded from.
void PathBesideModule(HMODULE module, LPCWSTR name, WCHAR (&output)[MAX_PATH]);

// TRUE when the path names something that is not a directory; else FALSE, with the box 12106 when
// `report` asks for it.
BOOL FileExists(LPCWSTR path, Report report);

}  // namespace kv
