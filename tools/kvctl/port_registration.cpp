#include "tools/kvctl/port_registration.h"

#include "resources/string_ids.h"
#include "runtime/core/handles.h"
#include "runtime/core/startup_context.h"
#include "runtime/ipc/administrator.h"
#include "runtime/printing/monitor_installation.h"
#include "runtime/printing/printer_handle.h"
#include "runtime/printing/spooler_list.h"
#include "runtime/registry/reg_key.h"

namespace kvctl {
namespace {

WideString MonitorKey() {
  WCHAR path[MAX_PATH];
  kv::FormatText(path, kv::kMonitorKeyFormat, static_cast<LPCWSTR>(kv::startupContext.portName));
  return path;
}

}  // namespace

WideString RegisteredMonitorFile() {
  kv::RegKey key;
  if (!key.OpenKey(KEY_READ, HKEY_LOCAL_MACHINE, MonitorKey().c_str())) return {};
  return key.GetString(kv::kMonitorFileValue, TEXT(""));
}

DWORD UnregisterMonitor() {
  const LPWSTR environment = const_cast<LPWSTR>(kv::startupContext.printEnvironment);
  DWORD error = ERROR_SUCCESS;
  if (!DeleteMonitorW(nullptr, environment, kv::startupContext.portName)) error = GetLastError();
  // A spooler that does not run, or has not loaded the monitor, goes by the registry next time.
  if (error == ERROR_UNKNOWN_PRINT_MONITOR || error == RPC_S_SERVER_UNAVAILABLE) {
    error = ERROR_SUCCESS;
  }
  if (error != ERROR_SUCCESS) return error;
  const LSTATUS status = RegDeleteKeyW(HKEY_LOCAL_MACHINE, MonitorKey().c_str());
  return status == ERROR_FILE_NOT_FOUND ? ERROR_SUCCESS : static_cast<DWORD>(status);
}

bool ListPortPrinters(std::vector<PortPrinter>& printers) {
  kv::SpoolerList<PRINTER_INFO_2W> all;
  if (!all.Fetch([](BYTE* buffer, DWORD size, DWORD* needed, DWORD* count) {
        return EnumPrintersW(PRINTER_ENUM_LOCAL, nullptr, 2, buffer, size, needed, count);
      })) {
    return false;
  }
  for (const PRINTER_INFO_2W& printer : all) {
    if (kv::EqualNoCase(kv::View(printer.pPortName), kv::startupContext.portName)) {
      printers.push_back(
          {WideString(kv::View(printer.pPrinterName)), WideString(kv::View(printer.pDriverName))});
    }
  }
  return true;
}

DWORD DeleteLocalPrinter(const WideString& name) {
  PRINTER_DEFAULTSW defaults = {nullptr, nullptr, PRINTER_ALL_ACCESS};
  kv::UniquePrinter printer;
  if (!kv::OpenPrinterHandle(name.c_str(), printer.Receive(), &defaults, FALSE)) {
    return GetLastError();
  }
  return DeletePrinter(printer.Get()) ? ERROR_SUCCESS : GetLastError();
}

ExitStatus CheckMayAdminister() {
  const kv::PlatformFacts& facts = kv::startupContext.platform;
  if (facts.win9xKind != 0) {
    PrintError(Text(IDS_CTL_INSTALL_WRONG_SYSTEM));
    return kFailed;
  }
  if (facts.wow64Arch != 0) {
    PrintError(Text(IDS_CTL_INSTALL_OTHER_PACKAGE));
    return kFailed;
  }
  if (kv::IsAdministrator() < 1) {
    PrintError(Text(IDS_CTL_INSTALL_NEEDS_RIGHTS));
    return kNeedsRights;
  }
  return kDone;
}

ExitStatus StatusOfError(DWORD error) {
  return error == ERROR_ACCESS_DENIED ? kNeedsRights : kFailed;
}

}  // namespace kvctl
