// What the system says about itself.
#pragma once

#include <minwinbase.h>

typedef struct _SYSTEM_INFO {
  union {
    DWORD dwOemId;
    struct {
      WORD wProcessorArchitecture;
      WORD wReserved;
    };
  };
  DWORD dwPageSize;
  LPVOID lpMinimumApplicationAddress;
  LPVOID lpMaximumApplicationAddress;
  DWORD_PTR dwActiveProcessorMask;
  DWORD dwNumberOfProcessors;
  DWORD dwProcessorType;
  DWORD dwAllocationGranularity;
  WORD wProcessorLevel;
  WORD wProcessorRevision;
} SYSTEM_INFO, *LPSYSTEM_INFO;
static_assert(sizeof(SYSTEM_INFO) == (sizeof(void*) == 4 ? 36 : 48));

#define MAX_COMPUTERNAME_LENGTH 15
#define PROCESSOR_INTEL_PENTIUM 586
#define PROCESSOR_AMD_X8664 8664

typedef struct _OSVERSIONINFOW {
  DWORD dwOSVersionInfoSize;
  DWORD dwMajorVersion;
  DWORD dwMinorVersion;
  DWORD dwBuildNumber;
  DWORD dwPlatformId;
  WCHAR szCSDVersion[128];
} OSVERSIONINFOW, *LPOSVERSIONINFOW;
static_assert(sizeof(OSVERSIONINFOW) == 276);

typedef struct _OSVERSIONINFOEXW {
  DWORD dwOSVersionInfoSize;
  DWORD dwMajorVersion;
  DWORD dwMinorVersion;
  DWORD dwBuildNumber;
  DWORD dwPlatformId;
  WCHAR szCSDVersion[128];
  WORD wServicePackMajor;
  WORD wServicePackMinor;
  WORD wSuiteMask;
  BYTE wProductType;
  BYTE wReserved;
} OSVERSIONINFOEXW;
static_assert(sizeof(OSVERSIONINFOEXW) == 284);

extern "C" {
DWORD WINAPI GetVersion();
BOOL WINAPI GetVersionExW(LPOSVERSIONINFOW version);
void WINAPI GetSystemInfo(LPSYSTEM_INFO info);
void WINAPI GetNativeSystemInfo(LPSYSTEM_INFO info);
DWORD WINAPI GetTickCount();
void WINAPI GetSystemTimeAsFileTime(LPFILETIME time);
UINT WINAPI GetSystemDirectoryW(LPWSTR buffer, UINT capacity);
UINT WINAPI GetWindowsDirectoryW(LPWSTR buffer, UINT capacity);
BOOL WINAPI GetComputerNameW(LPWSTR buffer, LPDWORD size);
}
