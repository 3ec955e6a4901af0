// kernel32, by subject.
#pragma once

#include <consoleapi.h>
#include <crt_format.h>
#include <errhandlingapi.h>
#include <fileapi.h>
#include <handleapi.h>
#include <heapapi.h>
#include <libloaderapi.h>
#include <memoryapi.h>
#include <namedpipeapi.h>
#include <processenv.h>
#include <processthreadsapi.h>
#include <securitybaseapi.h>
#include <synchapi.h>
#include <sysinfoapi.h>

#define MOVEFILE_REPLACE_EXISTING 0x00000001
#define MOVEFILE_COPY_ALLOWED 0x00000002
#define MOVEFILE_DELAY_UNTIL_REBOOT 0x00000004

#define FORMAT_MESSAGE_ALLOCATE_BUFFER 0x00000100
#define FORMAT_MESSAGE_IGNORE_INSERTS 0x00000200
#define FORMAT_MESSAGE_FROM_SYSTEM 0x00001000

extern "C" {
// Writes the system's text for the error `message`, which ends with a line break, into a buffer of
// `size` characters and returns its length without the terminator; with ALLOCATE_BUFFER into memory
// of its own, for LocalFree, whose address goes to where `buffer` points. 0 on failure:
// ERROR_MR_MID_NOT_FOUND, ERROR_INSUFFICIENT_BUFFER; ERROR_CALL_NOT_IMPLEMENTED for flags other
// than FROM_SYSTEM | IGNORE_INSERTS and languages other than the default.
DWORD WINAPI FormatMessageW(DWORD flags, LPCVOID source, DWORD message, DWORD language,
                            LPWSTR buffer, DWORD size, va_list* arguments);
// number * numerator / denominator, rounded, halves away from zero; -1 when it does not fit 32 bits
// or the denominator is 0.
int WINAPI MulDiv(int number, int numerator, int denominator);
// The name of an atom ("#n" below 0xC000), cut to fit `size` characters; returns its length without
// the terminator. 0 on failure: ERROR_INVALID_HANDLE, ERROR_MORE_DATA (size 0).
UINT WINAPI GlobalGetAtomNameW(ATOM atom, LPWSTR buffer, int size);

// Accounts and privileges of this machine; another system's name gives RPC_S_SERVER_UNAVAILABLE.
BOOL WINAPI GetUserNameW(LPWSTR buffer, LPDWORD size);
BOOL WINAPI LookupAccountNameW(LPCWSTR system, LPCWSTR account, PSID sid, LPDWORD sid_size,
                               LPWSTR domain, LPDWORD domain_size, PSID_NAME_USE use);
BOOL WINAPI LookupAccountSidW(LPCWSTR system, PSID sid, LPWSTR name, LPDWORD name_size,
                              LPWSTR domain, LPDWORD domain_size, PSID_NAME_USE use);
BOOL WINAPI LookupPrivilegeValueW(LPCWSTR system, LPCWSTR name, PLUID luid);

BOOL WINAPI MoveFileW(LPCWSTR from, LPCWSTR to);
// MOVEFILE_DELAY_UNTIL_REBOOT writes the move down for the system's next start; a null target then
// means deletion. Windows 9x does not have the function (ERROR_CALL_NOT_IMPLEMENTED).
BOOL WINAPI MoveFileExW(LPCWSTR from, LPCWSTR to, DWORD flags);

// Initialisation files. A file name without a directory is one of the Windows directory. A null
// section or key reads the names of all, each terminated, the list ended by an empty one; what does
// not fit is cut, and the result is capacity - 1 (capacity - 2 for lists). Values lose a pair of
// quotes around them. The functions without a file name use win.ini; on the NT family its sections
// "Windows", "Devices" and "PrinterPorts" are the user's registry keys of these names.
UINT WINAPI GetProfileIntW(LPCWSTR section, LPCWSTR key, INT otherwise);
DWORD WINAPI GetProfileStringW(LPCWSTR section, LPCWSTR key, LPCWSTR otherwise, LPWSTR buffer,
                               DWORD capacity);
BOOL WINAPI WriteProfileStringW(LPCWSTR section, LPCWSTR key, LPCWSTR value);
UINT WINAPI GetPrivateProfileIntW(LPCWSTR section, LPCWSTR key, INT otherwise, LPCWSTR file);
DWORD WINAPI GetPrivateProfileStringW(LPCWSTR section, LPCWSTR key, LPCWSTR otherwise,
                                      LPWSTR buffer, DWORD capacity, LPCWSTR file);
DWORD WINAPI GetPrivateProfileSectionW(LPCWSTR section, LPWSTR buffer, DWORD capacity,
                                       LPCWSTR file);
// A null value deletes the key, a null key the section. All three null: nothing waits to be
// written, and the result is FALSE.
BOOL WINAPI WritePrivateProfileStringW(LPCWSTR section, LPCWSTR key, LPCWSTR value, LPCWSTR file);
BOOL WINAPI WritePrivateProfileSectionW(LPCWSTR section, LPCWSTR data, LPCWSTR file);
}
