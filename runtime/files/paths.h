// Taking paths apart and putting them together.
//
// Paths are UTF-16 and hold at most MAX_PATH (260) characters with the terminator unless a capacity
// is given. What a function reads may stand in the buffer that it fills. Nothing here shows a
// message box or, unless it says so, looks at the disk.
#pragma once

#include "runtime/core/win.h"

namespace kv {

// The part behind the last backslash, or the whole path.
LPCWSTR GetFileName(LPCWSTR path);
// The last "." of the file name, or its end when there is none; null for a null or empty path.
LPCWSTR FindExtension(LPCWSTR path);
// The file name without its extension; returns its length in characters. Empty, with 0, for a name
// that does not fit.
int GetBaseName(LPCWSTR path, WCHAR (&output)[MAX_PATH]);
// The directory of a path: the path itself when it names a directory on the disk, else the full
// path up to its last backslash ("X:\" keeps it). Empty when the full path has no backslash, cannot
// be formed or does not fit.
void GetDirectory(LPCWSTR path, WCHAR (&output)[MAX_PATH]);

// What ChangeExtension does with an extension that is there already.
enum class OldExtension { kLeave, kReplace, kKeep };
// Appends `extension` to `path` of `capacity` characters, with a "." in front unless it begins with
// one. A path that has an extension is left as it is, loses the old one first, or keeps both.
// FALSE (ERROR_FILENAME_EXCED_RANGE), and nothing is changed, when the result does not fit.
BOOL ChangeExtension(LPWSTR path, int capacity, LPCWSTR extension, OldExtension old);

// `directory` and `name` joined with one backslash, cut to capacity - 1 characters. A name with a
// drive ("Y:\y") or a server ("\\server") is taken alone and needs no directory. An empty
// directory, null too, is one that nobody knows: joining it would name a file in the root of the
// current drive. FALSE, with an empty output, for such a one (ERROR_PATH_NOT_FOUND), and when the
// result was cut (ERROR_FILENAME_EXCED_RANGE), which makes it another path: not to be used.
BOOL PathJoin(LPCWSTR directory, LPCWSTR name, LPWSTR output, int capacity);
// The path of `name` in the directory of the file that `module` was loaded from. FALSE, with an
// empty output, when that cannot be told (the system's last error) or the path does not fit
// (ERROR_FILENAME_EXCED_RANGE).
BOOL PathBesideModule(HMODULE module, LPCWSTR name, WCHAR (&output)[MAX_PATH]);
// The full path of `path` against the current directory. FALSE, with an empty output, when it
// cannot be formed (the system's last error) or has more than 259 characters
// (ERROR_FILENAME_EXCED_RANGE).
BOOL MakeFullPath(LPCWSTR path, WCHAR (&output)[MAX_PATH]);
// The last character of the root of a full path, the backslash of "C:\" or of
// "\\server\share\". Null (ERROR_BAD_PATHNAME) when there is none, or a server has no share.
LPWSTR EndOfRoot(LPWSTR fullPath);

// The short (8.3) form of a path on the disk, made in `buffer`; the path itself when it has none
// that fits.
LPCWSTR ShortPath(LPCWSTR path, WCHAR (&buffer)[MAX_PATH]);

// TRUE for a path that ends with a backslash or names a directory on the disk; FALSE for an empty
// one.
BOOL IsDirectory(LPCWSTR path);
// Behind a leading "\\?\UNC\", "!\??\", "\\?\" or "\??\" (tested in that order, A to Z without
// regard to case), else the path itself.
LPCWSTR StripLongPathPrefix(LPCWSTR path);
// TRUE when the path has at least 5 characters and ends with ".tmp" in any case.
BOOL IsTmpFile(LPCWSTR path);

}  // namespace kv
