#include "runtime/printing/monitor_installation.h"

#include <algorithm>

#include "resources/string_ids.h"
#include "runtime/core/error_text.h"
#include "runtime/core/messages.h"
#include "runtime/core/startup_context.h"
#include "runtime/files/file_actions.h"
#include "runtime/files/paths.h"
#include "runtime/printing/driver_directories.h"
#include "runtime/printing/service_control.h"
#include "runtime/printing/spooler_list.h"
#include "runtime/registry/reg_key.h"
#include "runtime/text/wide_text.h"

namespace kv {
namespace {

// The path of a file in the system directory; FALSE, with the last error, when there is none.
BOOL FindSystemPath(LPCWSTR name, WCHAR (&path)[MAX_PATH]) {
  WCHAR directory[MAX_PATH];
  const UINT length = GetSystemDirectoryW(directory, MAX_PATH);
  if (length == 0) return FALSE;
  return (length < MAX_PATH && PathJoin(directory, name, path, MAX_PATH)) ||
         FailWith(ERROR_FILENAME_EXCED_RANGE);
}

void CopyMissingFile(LPCWSTR name, LPCWSTR target) {
  WCHAR source[MAX_PATH];
  if (FileExists(target, Report::kNo)) return;
  if (GetProductDriverDirectory(name, source) != 0) {
    CopyFileTo(source, target, Overwrite::kYes, Quiet::kYes);
  }
}

BOOL CopyMissingFiles() {
  WCHAR monitor[MAX_PATH], resources[MAX_PATH];
  if (!FindSystemPath(startupContext.monitorFile, monitor) ||
      !FindSystemPath(kResourceDllName, resources)) {
    return FALSE;
  }
  CopyMissingFile(startupContext.monitorFile, monitor);
  CopyMissingFile(kResourceDllName, resources);
  return TRUE;
}

BOOL AddProductMonitor() {
  MONITOR_INFO_2W monitor = {};
  monitor.pName = startupContext.portName;
  monitor.pEnvironment = const_cast<LPWSTR>(startupContext.printEnvironment);
  monitor.pDLLName = const_cast<LPWSTR>(startupContext.monitorFile);
  return AddMonitorW(nullptr, 2, reinterpret_cast<BYTE*>(&monitor));
}

BOOL ReportFailure(LPCWSTR call, DWORD error) {
  WCHAR reason[kErrorTextCapacity];
  GetErrorSuffix(error, reason, kErrorTextCapacity);
  ShowError(IDS_MONITOR_NOT_INSTALLED, call, reason, startupContext.productName);
  return FailWith(error);
}

}  // namespace

BOOL InstallPortMonitor() {
  if (!CopyMissingFiles()) return ReportFailure(TEXT("GetSystemDirectory"), GetLastError());
  if (AddProductMonitor()) return TRUE;
  const DWORD error = GetLastError();
  if (error == ERROR_ALREADY_EXISTS || error == ERROR_PRINT_MONITOR_ALREADY_INSTALLED) return TRUE;
  return RegisterMonitorDirectly() || ReportFailure(TEXT("AddMonitor"), error);
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
  SpoolerList<PORT_INFO_2W> ports;
  if (!ports.Fetch([](BYTE* buffer, DWORD size, DWORD* needed, DWORD* count) {
        return EnumPortsW(nullptr, 2, buffer, size, needed, count);
      })) {
    return FALSE;
  }
  const bool isListed = std::any_of(ports.begin(), ports.end(), [=](const PORT_INFO_2W& listed) {
    return EqualNoCase(View(listed.pPortName), View(port));
  });
  return isListed || FailWith(ERROR_UNKNOWN_PORT);
}

}  // namespace kv
