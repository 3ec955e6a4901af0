// The process's surroundings.
#pragma once

#include <minwinbase.h>

extern "C" {
DWORD WINAPI GetCurrentDirectoryW(DWORD capacity, LPWSTR buffer);
BOOL WINAPI SetCurrentDirectoryW(LPCWSTR path);
}
