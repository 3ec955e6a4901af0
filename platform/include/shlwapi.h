// The version record of the shell's and the common controls' libraries.
#pragma once

#include <shtypes.h>

typedef struct _DLLVERSIONINFO {
  DWORD cbSize;
  DWORD dwMajorVersion;
  DWORD dwMinorVersion;
  DWORD dwBuildNumber;
  DWORD dwPlatformID;
} DLLVERSIONINFO;
static_assert(sizeof(DLLVERSIONINFO) == 20);
typedef HRESULT(CALLBACK* DLLGETVERSIONPROC)(DLLVERSIONINFO* version);

extern "C" {
// Copies the name, cut to the capacity in characters, and frees what it holds.
HRESULT WINAPI StrRetToBufW(STRRET* name, PCUITEMID_CHILD item, LPWSTR text, UINT capacity);
}
