// kernel32, by subject.
#pragma once

#include <crt_format.h>
#include <consoleapi.h>
#include <errhandlingapi.h>
#include <fileapi.h>
#include <handleapi.h>
#include <heapapi.h>
#include <libloaderapi.h>
#include <memoryapi.h>
#include <processenv.h>
#include <processthreadsapi.h>
#include <securitybaseapi.h>
#include <synchapi.h>
#include <sysinfoapi.h>

#define FORMAT_MESSAGE_IGNORE_INSERTS 0x00000200
#define FORMAT_MESSAGE_FROM_SYSTEM 0x00001000

extern "C" {
// Writes the system's text for the error `message`, which ends with a line break, into a buffer of
// `size` characters and returns its length without the terminator. 0 on failure:
// ERROR_MR_MID_NOT_FOUND, ERROR_INSUFFICIENT_BUFFER; ERROR_CALL_NOT_IMPLEMENTED for flags other
// than FROM_SYSTEM | IGNORE_INSERTS and languages other than the default.
DWORD WINAPI FormatMessageW(DWORD flags, LPCVOID source, DWORD message, DWORD language,
                            LPWSTR buffer, DWORD size, va_list* arguments);
// The name of an atom ("#n" below 0xC000), cut to fit `size` characters; returns its length without
// the terminator. 0 on failure: ERROR_INVALID_HANDLE, ERROR_MORE_DATA (size 0).
UINT WINAPI GlobalGetAtomNameW(ATOM atom, LPWSTR buffer, int size);
}
