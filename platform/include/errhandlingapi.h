// The calling thread's last error.
#pragma once

#include <winnt.h>

extern "C" {
DWORD WINAPI GetLastError();
void WINAPI SetLastError(DWORD code);
}
