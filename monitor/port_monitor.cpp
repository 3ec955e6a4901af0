#include "monitor/port_monitor.h"

#include <string.h>

#include <new>

#include "runtime/core/last_error.h"
#include "runtime/core/messages.h"
#include "runtime/core/startup_context.h"
#include "runtime/printing/printer_handle.h"
#include "runtime/text/wide_text.h"

namespace kv {
namespace {

constexpr MONITOR kOperations = {
    EnumPorts,      // pfnEnumPorts
    OpenPort,       // pfnOpenPort
    nullptr,        // pfnOpenPortEx: this is a port monitor, not a language monitor
    StartDocPort,   // pfnStartDocPort
    WritePort,      // pfnWritePort
    ReadPort,       // pfnReadPort
    EndDocPort,     // pfnEndDocPort
    ClosePort,      // pfnClosePort
    AddPort,        // pfnAddPort
    AddPortEx,      // pfnAddPortEx
    ConfigurePort,  // pfnConfigurePort
    DeletePort,     // pfnDeletePort
    nullptr,        // pfnGetPrinterDataFromPort
    nullptr,        // pfnSetPortTimeOuts
    nullptr,        // pfnXcvOpenPort
    nullptr,        // pfnXcvDataPort
    nullptr,        // pfnXcvClosePort
};
static_assert(sizeof(MONITOR) == 17 * sizeof(void*));
static_assert(sizeof(MONITOREX) == 18 * sizeof(void*));

MONITOREX monitorEx = {sizeof(MONITOREX), kOperations};

DWORD SizeWithTerminator(LPCWSTR text) {
  return static_cast<DWORD>((View(text).size() + 1) * sizeof(WCHAR));
}

// Copies `text` so that it ends where `end` points; returns where it begins.
LPWSTR PackBefore(LPBYTE end, LPCWSTR text) {
  const DWORD size = SizeWithTerminator(text);
  return static_cast<LPWSTR>(memcpy(end - size, text, size));
}

}  // namespace

BOOL WINAPI EnumPorts(LPWSTR, DWORD level, LPBYTE ports, DWORD size, LPDWORD needed,
                      LPDWORD returned) {
  const DWORD portNameSize = SizeWithTerminator(startupContext.portName);
  const DWORD productNameSize = SizeWithTerminator(startupContext.productName);
  DWORD bytes = 0;
  switch (level) {
    case 1:
      bytes = sizeof(PORT_INFO_1W) + portNameSize;
      break;
    case 2:
      bytes = sizeof(PORT_INFO_2W) + portNameSize + 2 * productNameSize;
      break;
    default:
      return FailWith(ERROR_INVALID_LEVEL);
  }
  *needed = bytes;
  *returned = 0;
  if (bytes > size) return FailWith(ERROR_INSUFFICIENT_BUFFER);
  const LPBYTE end = ports + size;
  if (level == 1) {
    reinterpret_cast<PORT_INFO_1W*>(ports)->pName = PackBefore(end, startupContext.portName);
  } else {
    const auto port = reinterpret_cast<PORT_INFO_2W*>(ports);
    *port = {};
    port->pPortName = PackBefore(end, startupContext.portName);
    port->pMonitorName =
        PackBefore(reinterpret_cast<LPBYTE>(port->pPortName), startupContext.productName);
    port->pDescription =
        PackBefore(reinterpret_cast<LPBYTE>(port->pMonitorName), startupContext.productName);
    port->fPortType = PORT_TYPE_WRITE;
  }
  *returned = 1;
  return TRUE;
}

BOOL WINAPI OpenPort(LPWSTR, PHANDLE port) {
  PortInfo* const info = new (std::nothrow) PortInfo();
  if (info == nullptr) return ReportNoMemory(TEXT("new PortInfo failed"));
  *port = info;
  return TRUE;
}

BOOL WINAPI StartDocPort(HANDLE port, LPWSTR printerName, DWORD jobId, DWORD, LPBYTE) {
  PortInfo& info = *static_cast<PortInfo*>(port);
  info = {};
  if (!OpenPrinterHandle(printerName, &info.hPrinter, nullptr)) return FALSE;
  info.jobId = jobId;
  return TRUE;
}

BOOL WINAPI WritePort(HANDLE, LPBYTE, DWORD size, LPDWORD written) {
  *written = size;
  return TRUE;
}

BOOL WINAPI ReadPort(HANDLE, LPBYTE, DWORD, LPDWORD read) {
  *read = 0;
  return FALSE;
}

BOOL WINAPI EndDocPort(HANDLE port) {
  PortInfo& info = *static_cast<PortInfo*>(port);
  if (info.hPrinter != nullptr) {
    ClosePrinter(info.hPrinter);
    info.hPrinter = nullptr;
  }
  return TRUE;
}

BOOL WINAPI ClosePort(HANDLE port) {
  delete static_cast<PortInfo*>(port);
  return TRUE;
}

BOOL WINAPI AddPort(LPWSTR, HWND, LPWSTR) {
  return TRUE;
}
BOOL WINAPI AddPortEx(LPWSTR, DWORD, LPBYTE, LPWSTR) {
  return TRUE;
}
BOOL WINAPI ConfigurePort(LPWSTR, HWND, LPWSTR) {
  return TRUE;
}
BOOL WINAPI DeletePort(LPWSTR, HWND, LPWSTR) {
  return TRUE;
}

}  // namespace kv

LPMONITOREX WINAPI InitializePrintMonitor(LPWSTR) {
  // The size counts the whole record, its own field included.
  kv::monitorEx.dwMonitorSize = sizeof(MONITOREX);
  return &kv::monitorEx;
}

BOOL WINAPI InitializeMonitorEx(LPWSTR, LPMONITOR monitor) {
  *monitor = kv::kOperations;
  return TRUE;
}
