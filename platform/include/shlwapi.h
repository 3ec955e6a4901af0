// The version record of the shell's and the common controls' libraries.
#pragma once

#include <winnt.h>

typedef struct _DLLVERSIONINFO {
  DWORD cbSize;
  DWORD dwMajorVersion;
  DWORD dwMinorVersion;
  DWORD dwBuildNumber;
  DWORD dwPlatformID;
} DLLVERSIONINFO;
static_assert(sizeof(DLLVERSIONINFO) == 20);
typedef HRESULT(CALLBACK* DLLGETVERSIONPROC)(DLLVERSIONINFO* version);
