// Processes and threads.
#pragma once

#include <minwinbase.h>

#define CREATE_SUSPENDED 0x00000004
#define IDLE_PRIORITY_CLASS 0x00000040
#define PROCESS_QUERY_INFORMATION 0x0400
#define THREAD_PRIORITY_IDLE (-15)
#define STARTF_USESHOWWINDOW 0x00000001
// The exit code of what has not ended.
#define STILL_ACTIVE ((DWORD)0x00000103)

typedef DWORD(WINAPI* LPTHREAD_START_ROUTINE)(LPVOID parameter);

typedef struct _STARTUPINFOW {
  DWORD cb;
  LPWSTR lpReserved;
  LPWSTR lpDesktop;
  LPWSTR lpTitle;
  DWORD dwX;
  DWORD dwY;
  DWORD dwXSize;
  DWORD dwYSize;
  DWORD dwXCountChars;
  DWORD dwYCountChars;
  DWORD dwFillAttribute;
  DWORD dwFlags;
  WORD wShowWindow;
  WORD cbReserved2;
  LPBYTE lpReserved2;
  HANDLE hStdInput;
  HANDLE hStdOutput;
  HANDLE hStdError;
} STARTUPINFOW, *LPSTARTUPINFOW;
static_assert(sizeof(STARTUPINFOW) == (sizeof(void*) == 4 ? 68 : 104));

typedef struct _PROCESS_INFORMATION {
  HANDLE hProcess;
  HANDLE hThread;
  DWORD dwProcessId;
  DWORD dwThreadId;
} PROCESS_INFORMATION, *LPPROCESS_INFORMATION;
static_assert(sizeof(PROCESS_INFORMATION) == (sizeof(void*) == 4 ? 16 : 24));

extern "C" {
// Without flags: starts a program that the host can run, by name or path at the front of the
// command line, with or without ".exe" and quotes; the child sees the same machine, command line,
// current directory and streams. ERROR_FILE_NOT_FOUND, ERROR_PATH_NOT_FOUND, ERROR_ACCESS_DENIED,
// ERROR_BAD_EXE_FORMAT. CREATE_SUSPENDED | IDLE_PRIORITY_CLASS: a batch script (a path that ends in
// ".bat", on Windows 9x behind "command.com /c"), which runs in a process of its own once it is
// resumed, and for which nobody can wait. The start-up information is not looked at.
BOOL WINAPI CreateProcessW(LPCWSTR application, LPWSTR command_line,
                           LPSECURITY_ATTRIBUTES process_attributes,
                           LPSECURITY_ATTRIBUTES thread_attributes, BOOL inherit_handles,
                           DWORD flags, LPVOID environment, LPCWSTR directory,
                           LPSTARTUPINFOW startup, LPPROCESS_INFORMATION information);
// The same for a program in the name of a token's user; needs SeImpersonatePrivilege, and of the
// token the rights to query, duplicate and assign.
BOOL WINAPI CreateProcessWithTokenW(HANDLE token, DWORD logon_flags, LPCWSTR application,
                                    LPWSTR command_line, DWORD flags, LPVOID environment,
                                    LPCWSTR directory, LPSTARTUPINFOW startup,
                                    LPPROCESS_INFORMATION information);
// A process of this machine, for PROCESS_QUERY_INFORMATION; ERROR_INVALID_PARAMETER when there is
// none of that id.
HANDLE WINAPI OpenProcess(DWORD access, BOOL inherit, DWORD id);
// Of a process that this one has started; STILL_ACTIVE while it runs.
BOOL WINAPI GetExitCodeProcess(HANDLE process, LPDWORD exit_code);
// A thread of this process that runs `routine`, whose result is its exit code; no flags.
HANDLE WINAPI CreateThread(LPSECURITY_ATTRIBUTES attributes, SIZE_T stack_size,
                           LPTHREAD_START_ROUTINE routine, LPVOID parameter, DWORD flags,
                           LPDWORD id);
BOOL WINAPI GetExitCodeThread(HANDLE thread, LPDWORD exit_code);
BOOL WINAPI SetThreadPriority(HANDLE thread, int priority);
DWORD WINAPI ResumeThread(HANDLE thread);
// A batch script that has not been resumed; it never runs then.
BOOL WINAPI TerminateProcess(HANDLE process, UINT exit_code);
HANDLE WINAPI GetCurrentProcess();
DWORD WINAPI GetCurrentProcessId();
HANDLE WINAPI GetCurrentThread();
DWORD WINAPI GetCurrentThreadId();
BOOL WINAPI FlushInstructionCache(HANDLE process, LPCVOID address, SIZE_T size);
BOOL WINAPI OpenProcessToken(HANDLE process, DWORD access, PHANDLE token);
BOOL WINAPI OpenThreadToken(HANDLE thread, DWORD access, BOOL open_as_self, PHANDLE token);
BOOL WINAPI IsWow64Process(HANDLE process, PBOOL wow64);
BOOL WINAPI Wow64DisableWow64FsRedirection(PVOID* old_value);
BOOL WINAPI Wow64RevertWow64FsRedirection(PVOID old_value);
}
