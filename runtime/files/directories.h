// Making, copying, emptying and removing directories.
//
// Operations on trees stop at the first failure and leave what was done so far. Paths hold at most
// MAX_PATH (260) characters with the terminator; a longer one is a failure.
#pragma once

#include "runtime/core/flags.h"
#include "runtime/core/win.h"

namespace kv {

// TRUE when the directory was made or something of that name is there already; else FALSE, with the
// box 12101 unless quiet.
BOOL CreateOneDirectory(LPCWSTR path, Quiet quiet);
// Makes the directory and all that are missing on the way to it; an empty path is TRUE. The root of
// the path, "C:\" or "\\server\share", must be there. The first that cannot be made ends the work
// with FALSE (box 12101 unless quiet).
BOOL CreateDirectoryTree(LPCWSTR path, Expand expand, Quiet quiet);
// TRUE when the directory can be listed and holds nothing.
BOOL IsDirectoryEmpty(LPCWSTR directory);

// Copies the files of a directory, or those that match a pattern, into the existing directory
// `target`, replacing files there; with kYes also the directories below. Returns the number of
// files copied; -1 when nothing matches, a copy fails (box 12100) or the listing fails (box
// "FindNextFile").
int CopyDirectory(LPCWSTR source, LPCWSTR target, Recurse recurse);

// Deletes a directory with all it holds; with FilesOnly::kYes only the files directly in it. FALSE
// when it cannot be listed or, after the box 12105 unless quiet, a file cannot be deleted; quietly,
// the other files are deleted all the same. Files only and quiet gives TRUE even when files were
// left; an empty directory that the system does not remove stays.
enum class FilesOnly : bool { kNo, kYes };
BOOL DeleteTree(LPCWSTR directory, FilesOnly filesOnly, Quiet quiet);

// Gives everyone full access to a file, or to a directory and all it holds. FALSE on the Windows 9x
// family, where nothing has a security descriptor, and at the first failure.
BOOL ResetSecurityTree(LPCWSTR path);

}  // namespace kv
