#include "runtime/printing/monitor_installation.h"

#include <memory>
#include <new>

#include "resources/string_ids.h"
#include "runtime/core/error_text.h"
#include "runtime/core/messages.h"
#include "runtime/core/startup_context.h"
#include "runtime/files/file_actions.h"
#include "runtime/files/special_folders.h"
#include "runtime/printing/driver_directories.h"
#include "runtime/printing/service_control.h"
#include "runtime/registry/reg_key.h"
#include "runtime/text/wide_text.h"

namespace kv {
namespace {

void CopyMissingFile(LPCWSTR name) {
  WCHAR source[MAX_PATH], target[MAX_PATH];
  GetSystemFilePath(name, target);
  if (FileExists(target, Report::kNo)) return;
  if (GetProductDriverDirectory(name, source) != 0) {
    CopyFileTo(source, target, Overwrite::kYes, Quiet::kYes);
  }
}

BOOL AddProductMonitor() {
  MONITOR_INFO_2W monitor = {};
  monitor.pName = startupContext.portName;
  monitor.pEnvironment = const_cast<LPWSTR>(startupContext.printEnvironment);
  monitor.pDLLName = const_cast<LPWSTR>(startupContext.monitorFile);
  return AddMonitorW(nullptr, 2, reinterpret_cast<BYTE*>(&monitor));
}

}  // namespace

BOOL InstallPortMonitor() {
  CopyMissingFile(startupContext.monitorFile);
  CopyMissingFile(kResourceDllName);
  if (AddProductMonitor()) return TRUE;
  const DWORD error = GetLastError();
  if (error == ERROR_ALREADY_EXISTS || error == ERROR_PRINT_MONITOR_ALREADY_INSTALLED) return TRUE;
  if (RegisterMonitorDirectly()) return TRUE;
  WCHAR reason[kErrorTextCapacity];
  GetErrorSuffix(error, reason, kErrorTextCapacity);
  ShowError(IDS_MONITOR_NOT_INSTALLED, TEXT("AddMonitor"), reason, startupContext.productName);
  SetLastError(error);
  return FALSE;
}

BOOL RegisterMonitorDirectly() {
  {
    CServiceControl spooler(TEXT("spooler"), ServiceAccess::kFull);
    spooler.StopWithDependents();
    RegKey key;
    if (key.Create(HKEY_LOCAL_MACHINE, kMonitorKeyFormat,
                   static_cast<LPCWSTR>(startupContext.portName))) {
      key.SetSz(kMonitorFileValue, startupContext.monitorFile);
    }
    spooler.StartWithDependents();
  }
  return PortExists(startupContext.portName);
}

BOOL PortExists(LPCWSTR port) {
  DWORD size = 0, count = 0;
  if (EnumPortsW(nullptr, 2, nullptr, 0, &size, &count) ||
      GetLastError() != ERROR_INSUFFICIENT_BUFFER) {
    return FALSE;
  }
  const std::unique_ptr<BYTE[]> buffer(new (std::nothrow) BYTE[size]);
  if (buffer == nullptr || !EnumPortsW(nullptr, 2, buffer.get(), size, &size, &count)) return FALSE;
  const auto* const ports = reinterpret_cast<const PORT_INFO_2W*>(buffer.get());
  for (DWORD i = 0; i < count; ++i) {
    if (EqualNoCase(View(ports[i].pPortName), View(port))) return TRUE;
  }
  return FALSE;
}

}  // namespace kv
