// What print monitors implement.
#pragma once

#include <winspool.h>

typedef struct _COMMTIMEOUTS COMMTIMEOUTS, *LPCOMMTIMEOUTS;

typedef struct _MONITOR {
  BOOL(WINAPI* pfnEnumPorts)
  (LPWSTR server, DWORD level, LPBYTE ports, DWORD size, LPDWORD needed, LPDWORD returned);
  BOOL(WINAPI* pfnOpenPort)(LPWSTR port, PHANDLE handle);
  BOOL(WINAPI* pfnOpenPortEx)
  (LPWSTR port, LPWSTR printer, PHANDLE handle, struct _MONITOR* monitor);
  BOOL(WINAPI* pfnStartDocPort)
  (HANDLE port, LPWSTR printer, DWORD job, DWORD level, LPBYTE document);
  BOOL(WINAPI* pfnWritePort)(HANDLE port, LPBYTE data, DWORD size, LPDWORD written);
  BOOL(WINAPI* pfnReadPort)(HANDLE port, LPBYTE buffer, DWORD size, LPDWORD read);
  BOOL(WINAPI* pfnEndDocPort)(HANDLE port);
  BOOL(WINAPI* pfnClosePort)(HANDLE port);
  BOOL(WINAPI* pfnAddPort)(LPWSTR server, HWND owner, LPWSTR monitor);
  BOOL(WINAPI* pfnAddPortEx)(LPWSTR server, DWORD level, LPBYTE info, LPWSTR monitor);
  BOOL(WINAPI* pfnConfigurePort)(LPWSTR server, HWND owner, LPWSTR port);
  BOOL(WINAPI* pfnDeletePort)(LPWSTR server, HWND owner, LPWSTR port);
  BOOL(WINAPI* pfnGetPrinterDataFromPort)
  (HANDLE port, DWORD control, LPWSTR value, LPWSTR in, DWORD in_size, LPWSTR out, DWORD out_size,
   LPDWORD returned);
  BOOL(WINAPI* pfnSetPortTimeOuts)(HANDLE port, LPCOMMTIMEOUTS timeouts, DWORD reserved);
  BOOL(WINAPI* pfnXcvOpenPort)(LPCWSTR object, ACCESS_MASK access, PHANDLE handle);
  DWORD(WINAPI* pfnXcvDataPort)
  (HANDLE handle, LPCWSTR name, PBYTE in, DWORD in_size, PBYTE out, DWORD out_size, PDWORD needed);
  BOOL(WINAPI* pfnXcvClosePort)(HANDLE handle);
} MONITOR, *LPMONITOR;
static_assert(sizeof(MONITOR) == 17 * sizeof(void*));

typedef struct _MONITOREX {
  DWORD dwMonitorSize;
  MONITOR Monitor;
} MONITOREX, *LPMONITOREX;
static_assert(sizeof(MONITOREX) == 18 * sizeof(void*));

// What a monitor's module exports.
extern "C" {
LPMONITOREX WINAPI InitializePrintMonitor(LPWSTR registry_root);
BOOL WINAPI InitializeMonitorEx(LPWSTR registry_root, LPMONITOR monitor);
}
