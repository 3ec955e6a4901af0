// What other machines of the network offer (mpr).
#pragma once

#include <minwinbase.h>

#define RESOURCE_GLOBALNET 0x00000002
#define RESOURCETYPE_ANY 0x00000000
#define RESOURCETYPE_DISK 0x00000001
#define RESOURCETYPE_PRINT 0x00000002
#define RESOURCEUSAGE_CONTAINER 0x00000002

typedef struct _NETRESOURCEW {
  DWORD dwScope;
  DWORD dwType;
  DWORD dwDisplayType;
  DWORD dwUsage;
  LPWSTR lpLocalName;
  LPWSTR lpRemoteName;
  LPWSTR lpComment;
  LPWSTR lpProvider;
} NETRESOURCEW, *LPNETRESOURCEW;
static_assert(sizeof(NETRESOURCEW) == (sizeof(void*) == 4 ? 32 : 48));

// Functions that return an error code and leave the last error alone.
extern "C" {
// RESOURCE_GLOBALNET, RESOURCETYPE_ANY, usage 0, and a resource whose lpRemoteName is a server
// ("\\NAME"): what the server shares. ERROR_CALL_NOT_IMPLEMENTED for anything else,
// ERROR_BAD_NETPATH when there is no such server.
DWORD WINAPI WNetOpenEnumW(DWORD scope, DWORD type, DWORD usage, LPNETRESOURCEW resource,
                           LPHANDLE enumeration);
// The next resources, as many as fit (`count` must be -1 and gets their number): structures at the
// beginning of the buffer, texts at its end. ERROR_NO_MORE_ITEMS at the end; ERROR_MORE_DATA, with
// the number of bytes in `size`, when not even one fits.
DWORD WINAPI WNetEnumResourceW(HANDLE enumeration, LPDWORD count, LPVOID buffer, LPDWORD size);
DWORD WINAPI WNetCloseEnum(HANDLE enumeration);
}
