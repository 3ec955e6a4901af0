// Pages.
#pragma once

#include <minwinbase.h>

extern "C" {
LPVOID WINAPI VirtualAlloc(LPVOID address, SIZE_T size, DWORD type, DWORD protection);
BOOL WINAPI VirtualFree(LPVOID address, SIZE_T size, DWORD type);
BOOL WINAPI VirtualProtect(LPVOID address, SIZE_T size, DWORD protection, PDWORD old_protection);
}
