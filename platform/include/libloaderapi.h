// Modules and their resources.
#pragma once

#include <minwinbase.h>

#define MAKEINTRESOURCEW(id) ((LPWSTR)((ULONG_PTR)((WORD)(id))))
#define IS_INTRESOURCE(name) ((((ULONG_PTR)(name)) >> 16) == 0)

#define RT_ICON MAKEINTRESOURCEW(3)
#define RT_BITMAP MAKEINTRESOURCEW(2)
#define RT_STRING MAKEINTRESOURCEW(6)
#define RT_RCDATA MAKEINTRESOURCEW(10)
#define RT_GROUP_ICON MAKEINTRESOURCEW(14)
#define RT_VERSION MAKEINTRESOURCEW(16)

typedef BOOL(CALLBACK* ENUMRESNAMEPROCW)(HMODULE module, LPCWSTR type, LPWSTR name,
                                         LONG_PTR parameter);
typedef BOOL(CALLBACK* ENUMRESLANGPROCW)(HMODULE module, LPCWSTR type, LPCWSTR name, WORD language,
                                         LONG_PTR parameter);

extern "C" {
HMODULE WINAPI LoadLibraryW(LPCWSTR name);
BOOL WINAPI FreeLibrary(HMODULE module);
HMODULE WINAPI GetModuleHandleW(LPCWSTR name);
DWORD WINAPI GetModuleFileNameW(HMODULE module, LPWSTR buffer, DWORD capacity);
FARPROC WINAPI GetProcAddress(HMODULE module, LPCSTR name);
BOOL WINAPI SetDllDirectoryW(LPCWSTR directory);
DWORD WINAPI GetDllDirectoryW(DWORD capacity, LPWSTR buffer);

BOOL WINAPI EnumResourceNamesW(HMODULE module, LPCWSTR type, ENUMRESNAMEPROCW callback,
                               LONG_PTR parameter);
BOOL WINAPI EnumResourceLanguagesW(HMODULE module, LPCWSTR type, LPCWSTR name,
                                   ENUMRESLANGPROCW callback, LONG_PTR parameter);
HRSRC WINAPI FindResourceW(HMODULE module, LPCWSTR name, LPCWSTR type);
HRSRC WINAPI FindResourceExW(HMODULE module, LPCWSTR type, LPCWSTR name, WORD language);
HGLOBAL WINAPI LoadResource(HMODULE module, HRSRC resource);
LPVOID WINAPI LockResource(HGLOBAL data);
DWORD WINAPI SizeofResource(HMODULE module, HRSRC resource);
int WINAPI LoadStringW(HINSTANCE module, UINT id, LPWSTR buffer, int capacity);
}
