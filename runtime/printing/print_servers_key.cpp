#include "runtime/printing/print_servers_key.h"

#include "runtime/core/startup_context.h"
#include "runtime/printing/connection_name.h"
#include "runtime/text/text.h"

namespace kv {
namespace {

// Null where there is no such key.
LPCWSTR ServersPath() {
  switch (startupContext.platform.ntKind) {
    case 0:
      return nullptr;
    case kNt4:
      return TEXT(
          "System\\CurrentControlSet\\Control\\Print\\Providers\\LanMan Print Services\\Servers");
    case kWindows2000:
    case kWindowsXp:
    case kServer2003:
      return TEXT("Software\\Microsoft\\Windows NT\\CurrentVersion\\Print\\Providers\\")
          TEXT("LanMan Print Services\\Servers");
    default:
      return TEXT("Software\\Microsoft\\Windows NT\\CurrentVersion\\Print\\Providers\\")
          TEXT("Client Side Rendering Print Provider\\Servers");
  }
}

}  // namespace

CPrintServersKey::CPrintServersKey(KeyMode mode) {
  const LPCWSTR path = ServersPath();
  if (path == nullptr) return;
  if (mode == KeyMode::kRead) Open(HKEY_LOCAL_MACHINE, path);
  if (mode == KeyMode::kWrite) OpenRW(HKEY_LOCAL_MACHINE, path);
}

BOOL CPrintServersKey::MakePrinterPath(LPCWSTR connection, WCHAR (&path)[MAX_PATH], BOOL* isGuid) {
  ConnectionName parts;
  WCHAR guid[MAX_PATH];
  const BOOL isPrinter = IsPrinterName(connection) && SplitConnectionName(connection, parts);
  const BOOL hasGuid =
      isPrinter && GetPrinterConnectionGuid(HKEY_CURRENT_USER, connection, guid, MAX_PATH);
  if (isGuid != nullptr) *isGuid = hasGuid;
  if (isPrinter && FormatText(path, TEXT("%s\\Printers\\%s"), static_cast<LPCWSTR>(parts.server),
                              static_cast<LPCWSTR>(hasGuid ? guid : parts.printer))) {
    return TRUE;
  }
  path[0] = 0;
  return FALSE;
}

BOOL CPrintServersKey::GetRemotePrinterShareName(LPCWSTR connection, LPWSTR output, int capacity) {
  WCHAR path[MAX_PATH];
  BOOL isGuid = FALSE;
  RegKey printer;
  const BOOL isOpen = IsOpen() && MakePrinterPath(connection, path, &isGuid) &&
                      printer.OpenKey(KEY_READ, handle(), path);
  CopyStringW(output, capacity, nullptr);
  if (!isOpen) return FALSE;
  if (!isGuid) return printer.ReadString(TEXT("Share Name"), output, capacity, Expand::kNo) != 0;
  RegKey directory;
  return directory.Open(printer.handle(), TEXT("DsSpooler")) &&
         directory.ReadString(TEXT("printShareName"), output, capacity, Expand::kNo) != 0;
}

BOOL GetPrinterConnectionGuid(HKEY userRoot, LPCWSTR connection, LPWSTR output, int capacity) {
  ConnectionName parts;
  RegKey key;
  const BOOL isOpen =
      startupContext.platform.ntKind >= kWindowsVista && SplitConnectionName(connection, parts) &&
      key.Open(userRoot, TEXT("Printers\\Connections\\,,%s,%s"), static_cast<LPCWSTR>(parts.server),
               static_cast<LPCWSTR>(parts.printer));
  CopyStringW(output, capacity, nullptr);
  return isOpen && key.ReadString(TEXT("GuidPrinter"), output, capacity, Expand::kNo) != 0;
}

}  // namespace kv
