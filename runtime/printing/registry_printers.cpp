#include "runtime/printing/registry_printers.h"

#include <algorithm>

#include "runtime/core/startup_context.h"
#include "runtime/files/paths.h"
#include "runtime/printing/connection_name.h"

namespace kv {
namespace {

constexpr DWORD kLocalAndConnected = PRINTER_ENUM_LOCAL | PRINTER_ENUM_CONNECTIONS;

// FALSE for a text that is missing, empty or too long.
BOOL ReadText(const RegKey& key, LPCWSTR name, WCHAR (&text)[MAX_PATH]) {
  return key.ReadString(name, text, MAX_PATH, Expand::kNo) != 0;
}

WideView WithoutBackslashes(LPCWSTR server) {
  const WideView view = View(server);
  return view.substr(std::min(view.find_first_not_of(TEXT('\\')), view.size()));
}

}  // namespace

BOOL RegistryPrinters::Load() {
  const PlatformFacts& facts = startupContext.platform;
  if (facts.ntKind == 0 || facts.ntKind >= kWindowsVista) return FALSE;
  RegKey print;
  if (!print.Open(HKEY_LOCAL_MACHINE, TEXT("System\\CurrentControlSet\\Control\\Print"))) {
    return FALSE;
  }
  constexpr WCHAR kDrivers[] = TEXT("Environments\\%s\\Drivers\\Version-%d");
  drivers2_.Open(print.handle(), kDrivers, startupContext.printEnvironment, 2);
  if (facts.ntKind >= kWindows2000) {
    drivers3_.Open(print.handle(), kDrivers, startupContext.printEnvironment, 3);
  }
  return printers_.Open(print.handle(), TEXT("Printers")) && LoadNames();
}

BOOL RegistryPrinters::LoadNames() {
  return records_.Fetch([](BYTE* buffer, DWORD size, DWORD* needed, DWORD* count) {
    return EnumPrintersW(kLocalAndConnected, nullptr, 4, buffer, size, needed, count);
  }) && Count() != 0;
}

BOOL RegistryPrinters::OpenPrinter(const PRINTER_INFO_4W& printer, RegKey& key) {
  if ((printer.Attributes & PRINTER_ATTRIBUTE_NETWORK) != 0) {
    ConnectionName parts;
    WCHAR path[MAX_PATH];
    return !View(printer.pServerName).empty() && SplitConnectionName(printer.pPrinterName, parts) &&
           FormatText(path, TEXT("%s\\Printers\\%s"),
                      WithoutBackslashes(printer.pServerName).data(),
                      static_cast<LPCWSTR>(parts.printer)) &&
           key.OpenKey(KEY_READ, servers_.handle(), path);
  }
  // Without a name that would be the key of all printers.
  return (printer.Attributes & PRINTER_ATTRIBUTE_LOCAL) != 0 &&
         IsPrinterName(printer.pPrinterName) &&
         key.OpenKey(KEY_READ, printers_.handle(), printer.pPrinterName);
}

// A driver of version 3 hides an older one of the same name, whether or not its file is known.
BOOL RegistryPrinters::ReadDriverTitle() {
  RegKey driver;
  const bool is3 = drivers3_.IsOpen() && driver.OpenKey(KEY_READ, drivers3_.handle(), driver_);
  const bool isOpen =
      is3 || (drivers2_.IsOpen() && driver.OpenKey(KEY_READ, drivers2_.handle(), driver_));
  WCHAR file[MAX_PATH];
  if (!isOpen || !ReadText(driver, TEXT("Driver"), file)) return FALSE;
  GetBaseName(file, driverTitle_);
  return TRUE;
}

BOOL RegistryPrinters::Read(DWORD index, PrinterTexts& texts) {
  const PRINTER_INFO_4W& printer = records_[index];
  RegKey key;
  if (!OpenPrinter(printer, key) || !ReadText(key, TEXT("Printer Driver"), driver_) ||
      !ReadDriverTitle() || !ReadText(key, TEXT("Port"), port_)) {
    return FALSE;
  }
  WideView server;
  if (!View(printer.pServerName).empty()) {
    server = WithoutBackslashes(printer.pServerName);
  } else {
    server = ServerPartOf(port_);
  }
  const bool isShared = ReadText(key, TEXT("Share Name"), share_);
  texts = {Required(printer.pPrinterName),          driver_, driverTitle_, port_, server,
           isShared ? WideView(share_) : WideView()};
  return TRUE;
}

}  // namespace kv
