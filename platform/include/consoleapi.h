// The console.
#pragma once

#include <winnt.h>

#define STD_INPUT_HANDLE ((DWORD)-10)
#define STD_OUTPUT_HANDLE ((DWORD)-11)
#define STD_ERROR_HANDLE ((DWORD)-12)

extern "C" {
HANDLE WINAPI GetStdHandle(DWORD which);
BOOL WINAPI GetConsoleMode(HANDLE console, LPDWORD mode);
BOOL WINAPI WriteConsoleW(HANDLE console, const void* text, DWORD length, LPDWORD written,
                          LPVOID reserved);
LPWSTR WINAPI GetCommandLineW();
}
