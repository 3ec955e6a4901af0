// The version record of the shell's and the common controls' libraries, and addresses of files.
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

extern "C" {
// The path of a "file:" address, its escapes undone; `size` is the capacity in characters and then
// the length without the terminator. E_INVALIDARG for other addresses, E_POINTER with the capacity
// needed when the path does not fit. Flags must be 0.
HRESULT WINAPI PathCreateFromUrlW(LPCWSTR url, LPWSTR path, LPDWORD size, DWORD flags);
}
