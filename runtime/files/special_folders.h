// Where the system keeps things.
//
// The folders come from the registry; expansion replaces references to environment variables. What
// is missing, no text, or longer than 259 characters before or after the expansion gives an empty
// buffer and 0, without a report; else the result is the first character. Names may stand in the
// buffer that they fill.
#pragma once

#include <memory>

#include "runtime/core/win.h"
#include "runtime/registry/reg_key.h"

namespace kv {

// A folder by its name in the shell's list ("Programs", "Local AppData"): the user's with
// HKEY_CURRENT_USER, that of all users with HKEY_LOCAL_MACHINE.
WCHAR GetShellFolder(HKEY root, LPCWSTR name, WCHAR (&folder)[MAX_PATH], Expand expand);
WCHAR GetUserShellFolder(LPCWSTR name, WCHAR (&folder)[MAX_PATH], Expand expand);
// The program menu and the start-up folder of all users.
WCHAR GetCommonProgramsFolder(WCHAR (&folder)[MAX_PATH], Expand expand);
WCHAR GetCommonStartupFolder(WCHAR (&folder)[MAX_PATH], Expand expand);
WCHAR GetDefaultSpoolDirectory(WCHAR (&folder)[MAX_PATH], Expand expand);
// A text of the system's "CurrentVersion" key.
WCHAR GetCurrentVersionValue(LPCWSTR name, WCHAR (&text)[MAX_PATH], Expand expand);
// TRUE when `path` is, A to Z without regard to case, one of the shell folders of all users that
// are stored as REG_SZ.
BOOL IsShellFolderPath(LPCWSTR path);

// The path of `fileName` in the system directory. FALSE, with an empty path, when the system
// directory cannot be had (the system's last error) or the path does not fit
// (ERROR_FILENAME_EXCED_RANGE): the name alone would be that of a file in the current directory.
BOOL GetSystemFilePath(LPCWSTR fileName, WCHAR (&path)[MAX_PATH]);

// The search path of the machine, expanded when it is stored so, and ending with ";"; null when it
// is missing, empty, no text or cannot be expanded, and after the internal-error box when memory
// runs out.
std::unique_ptr<WCHAR[]> GetSystemPath();

}  // namespace kv
