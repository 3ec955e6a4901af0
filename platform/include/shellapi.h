// shell32.
#pragma once

#include <winreg.h>

#define SEE_MASK_NOCLOSEPROCESS 0x00000040
#define SEE_MASK_FLAG_NO_UI 0x00000400
#define SE_ERR_ACCESSDENIED 5
#define SE_ERR_NOASSOC 31

typedef struct _SHELLEXECUTEINFOW {
  DWORD cbSize;
  ULONG fMask;
  HWND hwnd;
  LPCWSTR lpVerb;
  LPCWSTR lpFile;
  LPCWSTR lpParameters;
  LPCWSTR lpDirectory;
  int nShow;
  HINSTANCE hInstApp;
  void* lpIDList;
  LPCWSTR lpClass;
  HKEY hkeyClass;
  DWORD dwHotKey;
  union {
    HANDLE hIcon;
    HANDLE hMonitor;
  };
  HANDLE hProcess;
} SHELLEXECUTEINFOW, *LPSHELLEXECUTEINFOW;
static_assert(sizeof(SHELLEXECUTEINFOW) == (sizeof(void*) == 4 ? 60 : 112));

extern "C" {
// Opens a program (found as by CreateProcessW), a document with the program that the registry's
// classes name for its extension, a directory or an address. Verbs: "open" (null, empty) and, for
// programs, "runas", which asks the user for the powers of an administrator (ERROR_CANCELLED).
// Errors: what CreateProcessW gives, ERROR_NO_ASSOCIATION for documents and verbs without a
// program. With SEE_MASK_NOCLOSEPROCESS the caller closes the process's handle, which is null where
// none was started. A directory to start in is not there (ERROR_CALL_NOT_IMPLEMENTED).
BOOL WINAPI ShellExecuteExW(LPSHELLEXECUTEINFOW info);
// The same; the result is above 32 on success.
HINSTANCE WINAPI ShellExecuteW(HWND window, LPCWSTR verb, LPCWSTR file, LPCWSTR parameters,
                               LPCWSTR directory, INT show);
// Freed by the caller with LocalFree. An empty line stands for the program's path alone.
LPWSTR* WINAPI CommandLineToArgvW(LPCWSTR command_line, int* count);
}
