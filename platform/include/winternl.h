// What ntdll knows about objects.
#pragma once

#include <winnt.h>

#define NTAPI WINAPI

typedef struct _UNICODE_STRING {
  USHORT Length;  // bytes, without a terminator
  USHORT MaximumLength;
  PWSTR Buffer;
} UNICODE_STRING;
static_assert(sizeof(UNICODE_STRING) == (sizeof(void*) == 4 ? 8 : 16));

typedef enum _OBJECT_INFORMATION_CLASS {
  ObjectBasicInformation,
  ObjectNameInformation
} OBJECT_INFORMATION_CLASS;

extern "C" {
// The name of an open registry key: a UNICODE_STRING in `information` of `size` bytes, its text
// with a terminator behind it; `needed`, when given, gets the bytes that takes. 0, or
// STATUS_INVALID_HANDLE (predefined keys have no object), STATUS_KEY_DELETED, for a buffer that is
// too small STATUS_INFO_LENGTH_MISMATCH (not even the UNICODE_STRING) or STATUS_BUFFER_OVERFLOW,
// STATUS_NOT_IMPLEMENTED for anything but names.
NTSTATUS NTAPI NtQueryObject(HANDLE handle, OBJECT_INFORMATION_CLASS what, PVOID information,
                             ULONG size, PULONG needed);
}
