// Processes and threads.
#pragma once

#include <minwinbase.h>

extern "C" {
HANDLE WINAPI GetCurrentProcess();
DWORD WINAPI GetCurrentProcessId();
HANDLE WINAPI GetCurrentThread();
DWORD WINAPI GetCurrentThreadId();
BOOL WINAPI FlushInstructionCache(HANDLE process, LPCVOID address, SIZE_T size);
BOOL WINAPI IsWow64Process(HANDLE process, PBOOL wow64);
BOOL WINAPI Wow64DisableWow64FsRedirection(PVOID* old_value);
BOOL WINAPI Wow64RevertWow64FsRedirection(PVOID old_value);
}
