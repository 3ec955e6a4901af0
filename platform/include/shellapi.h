// shell32.
#pragma once

#include <winnt.h>

extern "C" {
// Freed by the caller with LocalFree.
LPWSTR* WINAPI CommandLineToArgvW(LPCWSTR command_line, int* count);
}
