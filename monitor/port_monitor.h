// The port KVR8: a sink that takes every job. The spooler calls these operations from its own
// threads; each port handle has its own record, so nothing is locked.
#pragma once

#include "runtime/core/win.h"

namespace kv {

// What a port handle points at. Owned by the spooler's handle from OpenPort to ClosePort.
struct PortInfo {
  HANDLE hPrinter;  // open from StartDocPort to EndDocPort; plain, because ClosePort leaves an open
                    // one alone
  DWORD jobId;      // of the last StartDocPort that succeeded
};

// The signatures are those of the platform's MONITOR table. Arguments without a name are ignored.

// Describes the one port at level 1 or 2 in `ports` of `size` bytes; its strings lie at the end of
// the buffer. *needed gets the bytes needed, *returned the number of records. FALSE with
// ERROR_INVALID_LEVEL (both numbers untouched) or ERROR_INSUFFICIENT_BUFFER.
BOOL WINAPI EnumPorts(LPWSTR, DWORD level, LPBYTE ports, DWORD size, LPDWORD needed,
                      LPDWORD returned);
// A new port handle, whatever the port's name. FALSE, after the internal-error box, with
// ERROR_NOT_ENOUGH_MEMORY when memory runs out.
BOOL WINAPI OpenPort(LPWSTR, PHANDLE port);
// Opens the printer for the job. FALSE with OpenPrinterW's last error.
BOOL WINAPI StartDocPort(HANDLE port, LPWSTR printerName, DWORD jobId, DWORD, LPBYTE);
// Accepts `size` bytes without looking at them.
BOOL WINAPI WritePort(HANDLE, LPBYTE, DWORD size, LPDWORD written);
// There is never anything to read: FALSE, 0 bytes.
BOOL WINAPI ReadPort(HANDLE, LPBYTE, DWORD, LPDWORD read);
// Closes the job's printer.
BOOL WINAPI EndDocPort(HANDLE port);
// Frees the port handle.
BOOL WINAPI ClosePort(HANDLE port);
// The monitor has exactly one port: these succeed and change nothing.
BOOL WINAPI AddPort(LPWSTR, HWND, LPWSTR);
BOOL WINAPI AddPortEx(LPWSTR, DWORD, LPBYTE, LPWSTR);
BOOL WINAPI ConfigurePort(LPWSTR, HWND, LPWSTR);
BOOL WINAPI DeletePort(LPWSTR, HWND, LPWSTR);

}  // namespace kv

extern "C" {
// The table of operations, the same one at every call; the registry root is ignored.
LPMONITOREX WINAPI InitializePrintMonitor(LPWSTR);
// Copies the table into the caller's; TRUE.
BOOL WINAPI InitializeMonitorEx(LPWSTR, LPMONITOR monitor);
}
