// The process's surroundings.
#pragma once

#include <minwinbase.h>

extern "C" {
DWORD WINAPI GetCurrentDirectoryW(DWORD capacity, LPWSTR buffer);
BOOL WINAPI SetCurrentDirectoryW(LPCWSTR path);
// Writes `source` with its references to environment variables ("%NAME%") replaced, references to
// unknown ones as they stand, into a buffer of `capacity` characters. Returns the characters needed
// with the terminator; when they are more than `capacity`, the buffer's content is undefined. 0:
// ERROR_INVALID_PARAMETER (no source).
DWORD WINAPI ExpandEnvironmentStringsW(LPCWSTR source, LPWSTR buffer, DWORD capacity);
}
