#include "tools/kvctl/port_registration.h"

#include "resources/string_ids.h"
#include "runtime/core/handles.h"
#include "runtime/core/startup_context.h"
#include "runtime/ipc/administrator.h"
#include "runtime/printing/monitor_installation.h"
#include "runtime/printing/printer_handle.h"
#include "runtime/printing/printer_info.h"
#include "runtime/printing/spooler_list.h"
#include "runtime/registry/reg_key.h"

namespace kvctl {
namespace {

WideString MonitorKey() {
  WCHAR path[MAX_PATH];
  kv::FormatText(path, kv::kMonitorKeyFormat, static_cast<LPCWSTR>(kv::startupContext.portName));
  return path;
}

bool ListLocalPrinters(std::vector<PortPrinter>& printers) {
  printers.clear();
  kv::SpoolerList<PRINTER_INFO_2W> all;
  if (!all.Fetch([](BYTE* buffer, DWORD size, DWORD* needed, DWORD* count) {
        return EnumPrintersW(PRINTER_ENUM_LOCAL, nullptr, 2, buffer, size, needed, count);
      })) {
    return false;
  }
  for (const PRINTER_INFO_2W& printer : all) {
    printers.push_back({WideString(kv::View(printer.pPrinterName)),
                        WideString(kv::View(printer.pPortName)),
                        WideString(kv::View(printer.pDriverName)), printer.cJobs});
  }
  return true;
}

// The error of `change`, which gets the printer opened with all rights and is true when it
// succeeds.
template <class Change>
DWORD WithPrinter(const WideString& name, Change change) {
  PRINTER_DEFAULTSW defaults = {nullptr, nullptr, PRINTER_ALL_ACCESS};
  kv::UniquePrinter printer;
  if (!kv::OpenPrinterHandle(name.c_str(), printer.Receive(), &defaults, FALSE)) {
    return GetLastError();
  }
  return change(printer.Get()) ? ERROR_SUCCESS : GetLastError();
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
  if (status == ERROR_SUCCESS || status == ERROR_FILE_NOT_FOUND) return ERROR_SUCCESS;
  kv::UniqueKey left;
  const LSTATUS found =
      RegOpenKeyExW(HKEY_LOCAL_MACHINE, MonitorKey().c_str(), 0, KEY_READ, left.Receive());
  return found == ERROR_FILE_NOT_FOUND ? ERROR_SUCCESS : static_cast<DWORD>(status);
}

bool ListPortPrinters(std::vector<PortPrinter>& printers) {
  const bool isKnown = ListLocalPrinters(printers);
  std::erase_if(printers, [](const PortPrinter& printer) {
    return !kv::EqualNoCase(printer.port, kv::startupContext.portName);
  });
  return isKnown;
}

bool FindLocalPrinter(const WideString& name, std::optional<PortPrinter>& printer) {
  printer.reset();
  std::vector<PortPrinter> printers;
  if (!ListLocalPrinters(printers)) return false;
  for (PortPrinter& other : printers) {
    if (kv::EqualNoCase(other.name, name)) printer = std::move(other);
  }
  return true;
}

DWORD DeleteLocalPrinter(const WideString& name) {
  return WithPrinter(name, [](HANDLE printer) { return DeletePrinter(printer); });
}

DWORD CancelJobs(const WideString& printer) {
  return WithPrinter(printer, [](HANDLE handle) {
    return SetPrinterW(handle, 0, nullptr, PRINTER_CONTROL_PURGE);
  });
}

DWORD ChangeDriver(const WideString& printer, const WideString& driver) {
  return WithPrinter(printer, [&](HANDLE handle) -> BOOL {
    const auto info = kv::GetPrinterInfo2(handle, kv::Quiet::kYes);
    if (info == nullptr) return FALSE;
    info->pDriverName = const_cast<LPWSTR>(driver.c_str());
    // Its settings are those of the old driver.
    info->pDevMode = nullptr;
    return SetPrinterW(handle, 2, reinterpret_cast<BYTE*>(info.get()), 0);
  });
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
