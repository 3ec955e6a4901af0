// The registry.
#pragma once

#include <minwinbase.h>
#include <winnt.h>

#define HKEY_CLASSES_ROOT ((HKEY)(ULONG_PTR)((LONG)0x80000000))
#define HKEY_CURRENT_USER ((HKEY)(ULONG_PTR)((LONG)0x80000001))
#define HKEY_LOCAL_MACHINE ((HKEY)(ULONG_PTR)((LONG)0x80000002))
#define HKEY_USERS ((HKEY)(ULONG_PTR)((LONG)0x80000003))

extern "C" {
LSTATUS WINAPI RegOpenKeyExW(HKEY key, LPCWSTR sub_key, DWORD options, REGSAM access, PHKEY result);
LSTATUS WINAPI RegOpenKeyW(HKEY key, LPCWSTR sub_key, PHKEY result);
LSTATUS WINAPI RegCreateKeyExW(HKEY key, LPCWSTR sub_key, DWORD reserved, LPWSTR class_name,
                               DWORD options, REGSAM access, LPSECURITY_ATTRIBUTES security,
                               PHKEY result, LPDWORD disposition);
LSTATUS WINAPI RegCloseKey(HKEY key);
LSTATUS WINAPI RegDeleteKeyW(HKEY key, LPCWSTR sub_key);
LSTATUS WINAPI RegDeleteKeyA(HKEY key, LPCSTR sub_key);
LSTATUS WINAPI RegFlushKey(HKEY key);
// Hang a hive file below HKEY_USERS or HKEY_LOCAL_MACHINE, for all processes, and take it out
// again; both need SeRestorePrivilege. A file that does not exist becomes an empty hive; one that
// is loaded, as a name in use, gives ERROR_SHARING_VIOLATION, and what is no hive ERROR_BADDB. A
// hive whose keys this process has open, or that the system loaded, is not unloaded
// (ERROR_ACCESS_DENIED).
LSTATUS WINAPI RegLoadKeyW(HKEY key, LPCWSTR sub_key, LPCWSTR file);
LSTATUS WINAPI RegUnLoadKeyW(HKEY key, LPCWSTR sub_key);
LSTATUS WINAPI RegConnectRegistryW(LPCWSTR machine, HKEY key, PHKEY result);
LSTATUS WINAPI RegQueryInfoKeyW(HKEY key, LPWSTR class_name, LPDWORD class_size, LPDWORD reserved,
                                LPDWORD sub_keys, LPDWORD max_sub_key, LPDWORD max_class,
                                LPDWORD values, LPDWORD max_value_name, LPDWORD max_value,
                                LPDWORD security_size, PFILETIME last_write);
LSTATUS WINAPI RegEnumKeyExW(HKEY key, DWORD index, LPWSTR name, LPDWORD name_size,
                             LPDWORD reserved, LPWSTR class_name, LPDWORD class_size,
                             PFILETIME last_write);
LSTATUS WINAPI RegEnumValueW(HKEY key, DWORD index, LPWSTR name, LPDWORD name_size,
                             LPDWORD reserved, LPDWORD type, LPBYTE data, LPDWORD size);
LSTATUS WINAPI RegQueryValueExW(HKEY key, LPCWSTR name, LPDWORD reserved, LPDWORD type, LPBYTE data,
                                LPDWORD size);
LSTATUS WINAPI RegSetValueExW(HKEY key, LPCWSTR name, DWORD reserved, DWORD type, const BYTE* data,
                              DWORD size);
LSTATUS WINAPI RegDeleteValueW(HKEY key, LPCWSTR name);
LSTATUS WINAPI RegGetKeySecurity(HKEY key, SECURITY_INFORMATION parts,
                                 PSECURITY_DESCRIPTOR descriptor, LPDWORD size);
LSTATUS WINAPI RegSetKeySecurity(HKEY key, SECURITY_INFORMATION parts,
                                 PSECURITY_DESCRIPTOR descriptor);
}
