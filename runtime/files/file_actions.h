// Asking for, copying and deleting single files.
//
// Paths hold at most MAX_PATH (260) characters with the terminator; a joined path that does not
// fit, and a name in an empty directory (PathJoin), count as missing or as a failure. Failures
// leave the system's last error.
#pragma once

#include "runtime/core/flags.h"
#include "runtime/core/win.h"

namespace kv {

// TRUE when the path names something that is not a directory; else FALSE (ERROR_FILE_NOT_FOUND for
// a directory), with the box 12106 when `report` asks for it.
BOOL FileExists(LPCWSTR path, Report report);
// The same for a name in a directory; FALSE without a box for an empty name (ERROR_FILE_NOT_FOUND).
BOOL FileExistsIn(LPCWSTR directory, LPCWSTR name, Report report);
BOOL DirectoryExists(LPCWSTR path);

// The size in bytes; 0xFFFFFFFF when it cannot be read or does not fit (ERROR_FILE_TOO_LARGE).
DWORD GetFileSizeByName(LPCWSTR path);
// The size in bytes of a regular file; else FALSE, after the box 12106.
BOOL GetFileSizeChecked(LPCWSTR path, ULONGLONG& size);

// TRUE when the file does not exist or, once its attributes are normal, can be opened for writing.
// FALSE for an empty path (ERROR_PATH_NOT_FOUND), for a directory (ERROR_ACCESS_DENIED) and for a
// file that cannot, which keeps its attributes.
BOOL CanWriteFile(LPCWSTR path);

// Deletes a file, read-only ones too. TRUE when it is gone, whoever has deleted it, or the path is
// empty; else FALSE, after the box 12105 unless quiet, and the file keeps its attributes.
BOOL RemoveFile(LPCWSTR path, Quiet quiet);
BOOL RemoveFileIn(LPCWSTR directory, LPCWSTR name, Quiet quiet);

// Copies a file. Without `overwrite` an existing target is left as it is and counts as success;
// otherwise the complete copy replaces it, a read-only one too (FileReplacement): a copy that fails
// leaves the target of before. FALSE after the box 12100, and before it 12105 when an existing
// target cannot be removed, unless quiet. A file that is copied onto itself, however its path is
// written, stays, with FALSE (ERROR_SHARING_VIOLATION).
BOOL CopyFileTo(LPCWSTR source, LPCWSTR target, Overwrite overwrite, Quiet quiet);
// Copies `name` from one directory to another, there called `newName` (null or empty: the same
// name). FALSE without a report when the source is not a file or the target directory does not
// exist (ERROR_PATH_NOT_FOUND).
BOOL CopyFileToDir(LPCWSTR sourceDirectory, LPCWSTR name, LPCWSTR targetDirectory, LPCWSTR newName,
                   Overwrite overwrite, Quiet quiet);

// Copies a file over `target` while a progress window of the class `className` shows the text
// `textNumber` of the language resource library, a format for the target's file name; the user may
// cancel. A copy that ends early is deleted, and a target of before stays: the complete copy
// replaces it (FileReplacement) unless it is read-only, hidden or a system file. Without a class
// name (null, empty) there is no window, and CopyFileW does it all. FALSE after a report, but for a
// cancelled copy (ERROR_CANCELLED).
BOOL CopyFileWithProgress(LPCWSTR source, LPCWSTR target, LPCWSTR className, UINT textNumber);

}  // namespace kv
