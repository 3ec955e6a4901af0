// Making, copying, emptying and removing directories.
//
// Operations on trees stop at the first failure and leave what was done so far; what others have
// deleted meanwhile is no failure. Paths hold at most MAX_PATH (260) characters with the
// terminator; a longer one is a failure (ERROR_FILENAME_EXCED_RANGE). Failures leave the system's
// last error.
#pragma once

#include "runtime/core/flags.h"
#include "runtime/core/win.h"

namespace kv {

// TRUE when the directory was made or is there already; else FALSE, with the box 12101 unless quiet
// (ERROR_ALREADY_EXISTS when a file has the name).
BOOL CreateOneDirectory(LPCWSTR path, Quiet quiet);
// Makes the directory and all that are missing on the way to it; an empty path is TRUE. The root of
// the path, "C:\" or "\\server\share", must be there. FALSE, unreported, for a path that cannot be
// expanded or made a full one, or that has no root (ERROR_BAD_PATHNAME); the first directory that
// cannot be made ends the work with FALSE (box 12101 unless quiet).
BOOL CreateDirectoryTree(LPCWSTR path, Expand expand, Quiet quiet);
// TRUE when the directory can be listed and holds nothing. FALSE for an empty path
// (ERROR_PATH_NOT_FOUND).
BOOL IsDirectoryEmpty(LPCWSTR directory);

// Copies the files of a directory, or those that match a pattern, into the existing directory
// `target`, replacing files there as CopyFileW does; with kYes also the directories below, through
// links too. Returns the number of files copied. -1 for an empty source or target
// (ERROR_PATH_NOT_FOUND), when nothing matches, and after the box 12100 or "FindNextFile" when a
// copy or the listing fails. A directory that would be copied into itself (ERROR_BAD_PATHNAME) is
// such a failure, and so is a file copied onto itself.
int CopyDirectory(LPCWSTR source, LPCWSTR target, Recurse recurse);

// Deletes a directory with all it holds; with FilesOnly::kYes only the files directly in it. FALSE
// when it cannot be listed or, after the box 12105 unless quiet, a file cannot be deleted; quietly,
// the other files are deleted all the same. Quiet goes for the directory itself: the boxes of those
// below it are shown. Files only and quiet gives TRUE even when files were left; an empty directory
// that the system does not remove stays. Of links to directories, `directory` itself included, only
// the link goes, never what it leads to; with files only, those behind `directory` go. An empty
// path (ERROR_PATH_NOT_FOUND) and the root of a drive or share (ERROR_ACCESS_DENIED) are refused: a
// whole drive is no tree.
enum class FilesOnly : bool { kNo, kYes };
BOOL DeleteTree(LPCWSTR directory, FilesOnly filesOnly, Quiet quiet);

// Gives everyone full access to a file, or to a directory and all it holds, but for links and what
// they lead to. FALSE on the Windows 9x family, where nothing has a security descriptor
// (ERROR_CALL_NOT_IMPLEMENTED), for the paths that DeleteTree refuses, and at the first failure.
BOOL ResetSecurityTree(LPCWSTR path);

}  // namespace kv
