// Kernel handles.
#pragma once

#include <winnt.h>

#define INVALID_HANDLE_VALUE ((HANDLE)(LONG_PTR)-1)
#define DUPLICATE_CLOSE_SOURCE 0x00000001
#define DUPLICATE_SAME_ACCESS 0x00000002

extern "C" {
BOOL WINAPI CloseHandle(HANDLE handle);
}
