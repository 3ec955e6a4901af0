// Pages and mapped files.
#pragma once

#include <minwinbase.h>

#define FILE_MAP_WRITE 0x0002
#define FILE_MAP_READ 0x0004
#define FILE_MAP_ALL_ACCESS 0x000F001F

extern "C" {
// Maps a whole file, PAGE_READONLY or PAGE_READWRITE, made `size` long when it is shorter (0: its
// own size); files have no names here. INVALID_HANDLE_VALUE: zeroed memory of that size,
// PAGE_READWRITE, with the names of synchapi.h; what exists keeps its own size.
HANDLE WINAPI CreateFileMappingW(HANDLE file, LPSECURITY_ATTRIBUTES attributes, DWORD protection,
                                 DWORD size_high, DWORD size_low, LPCWSTR name);
// Memory by name, for FILE_MAP_ALL_ACCESS; ERROR_FILE_NOT_FOUND when there is none.
HANDLE WINAPI OpenFileMappingW(DWORD access, BOOL inherit, LPCWSTR name);
// A view of the whole mapping, which outlives the mapping's handle.
LPVOID WINAPI MapViewOfFile(HANDLE mapping, DWORD access, DWORD offset_high, DWORD offset_low,
                            SIZE_T size);
BOOL WINAPI UnmapViewOfFile(LPCVOID view);
LPVOID WINAPI VirtualAlloc(LPVOID address, SIZE_T size, DWORD type, DWORD protection);
BOOL WINAPI VirtualFree(LPVOID address, SIZE_T size, DWORD type);
// The same for the pseudo handle of the calling process; others fail with
// ERROR_CALL_NOT_IMPLEMENTED.
LPVOID WINAPI VirtualAllocEx(HANDLE process, LPVOID address, SIZE_T size, DWORD type,
                             DWORD protection);
BOOL WINAPI VirtualFreeEx(HANDLE process, LPVOID address, SIZE_T size, DWORD type);
// Describes the pages from the one of `address` on that are alike; a mapping of the host stands for
// an allocation. Returns the size of the description; 0 with ERROR_INVALID_PARAMETER for an address
// beyond the process's, ERROR_BAD_LENGTH for a smaller `size`.
SIZE_T WINAPI VirtualQuery(LPCVOID address, PMEMORY_BASIC_INFORMATION information, SIZE_T size);
BOOL WINAPI VirtualProtect(LPVOID address, SIZE_T size, DWORD protection, PDWORD old_protection);
}
