// Asking for, copying and deleting single files.
//
// Paths hold at most MAX_PATH (260) characters with the terminator; a joined path that does not fit
// counts as missing or as a failure. Failures leave the system's last error.
#pragma once

#include "runtime/core/flags.h"
#include "runtime/core/win.h"

namespace kv {

// TRUE when the path names something that is not a directory; else FALSE, with the box 12106 when
// `report` asks for it.
BOOL FileExists(LPCWSTR path, Report report);
// The same for a name in a directory; FALSE for an empty name.
BOOL FileExistsIn(LPCWSTR directory, LPCWSTR name, Report report);
BOOL DirectoryExists(LPCWSTR path);

// The size in bytes; 0xFFFFFFFF when it cannot be read or does not fit.
DWORD GetFileSizeByName(LPCWSTR path);
// The size in bytes of a regular file; else FALSE, after the box 12106.
BOOL GetFileSizeChecked(LPCWSTR path, ULONGLONG& size);

// TRUE when the file does not exist or, once its attributes are normal, can be opened for writing.
BOOL CanWriteFile(LPCWSTR path);

// Deletes a file, read-only ones too. TRUE when it is gone or the path is empty; else FALSE, after
// the box 12105 unless quiet.
BOOL RemoveFile(LPCWSTR path, Quiet quiet);
BOOL RemoveFileIn(LPCWSTR directory, LPCWSTR name, Quiet quiet);

// Copies a file. Without `overwrite` an existing target is left as it is and counts as success;
// otherwise it is deleted before.
// FALSE after the box 12100, unless quiet.
BOOL CopyFileTo(LPCWSTR source, LPCWSTR target, Overwrite overwrite, Quiet quiet);
// Copies `name` from one directory to another, there called `newName` (null or empty: the same
// name). FALSE without a report when the source is not a file or the target directory does not
// exist.
BOOL CopyFileToDir(LPCWSTR sourceDirectory, LPCWSTR name, LPCWSTR targetDirectory, LPCWSTR newName,
                   Overwrite overwrite, Quiet quiet);

// Copies a file over `target` while a progress window of the class `className` shows the text
// `textNumber` of the language resource library, a format for the target's file name; the user may
// cancel. A copy that ends early is deleted. Without a class name (null, empty) there is no window.
// FALSE after a report, but for a cancelled copy.
BOOL CopyFileWithProgress(LPCWSTR source, LPCWSTR target, LPCWSTR className, UINT textNumber);

}  // namespace kv
