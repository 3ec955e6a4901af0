#include "runtime/printing/devmode_store.h"

#include "runtime/core/startup_context.h"
#include "runtime/printing/connection_name.h"
#include "runtime/printing/print_servers_key.h"

namespace kv {
namespace {

constexpr WCHAR kDefaultDevMode[] = TEXT("Default DevMode");

// Writes one valid device mode to several keys and remembers whether it was new to one of them.
class CopyWriter {
 public:
  explicit CopyWriter(const DEVMODEW* devMode)
      : devMode_(devMode), size_(static_cast<DWORD>(DevModeSize(PublicPartOf(devMode)))) {}

  void Write(RegKey& key, LPCWSTR value) {
    const BYTE* stored = nullptr;
    DWORD storedSize = 0;
    if (key.GetBinary(value, &stored, &storedSize) && storedSize == size_ &&
        DevModesEqual(reinterpret_cast<const DEVMODEW*>(stored), devMode_)) {
      return;
    }
    if (key.SetBinary(value, devMode_, size_)) written_ = true;
  }
  WriteResult result() const { return written_ ? kWritten : kUnchanged; }

 private:
  const DEVMODEW* devMode_;
  DWORD size_;
  bool written_ = false;
};

WriteResult Refuse(DWORD error) {
  SetLastError(error);
  return kWriteFailed;
}

bool IsWindows9x() {
  return startupContext.platform.win9xKind != 0;
}

void StoreForUser(LPCWSTR printer, CopyWriter& writer) {
  if (IsConnectionName(printer)) {
    WCHAR name[MAX_PATH];
    RegKey key;
    if (MakeKeyName(printer, name) &&
        key.Create(HKEY_CURRENT_USER, TEXT("Printers\\Connections\\%s"),
                   static_cast<LPCWSTR>(name))) {
      writer.Write(key, TEXT("DevMode"));
    }
  }
  for (const LPCWSTR path : {TEXT("Printers\\DevModePerUser"), TEXT("Printers\\DevModes2")}) {
    RegKey key;
    if (key.Create(HKEY_CURRENT_USER, path)) writer.Write(key, printer);
  }
}

void StoreForConnection(LPCWSTR printer, CopyWriter& writer) {
  CPrintServersKey servers(KeyMode::kRead);
  WCHAR path[MAX_PATH];
  RegKey key;
  if (servers.IsOpen() && CPrintServersKey::MakePrinterPath(printer, path) &&
      key.OpenKey(KEY_READ | KEY_WRITE, servers.handle(), path)) {
    writer.Write(key, kDefaultDevMode);
  }
}

void StoreForLocalPrinter(LPCWSTR printer, CopyWriter& writer) {
  constexpr LPCWSTR kPaths[] = {
      TEXT("Software\\Microsoft\\Windows NT\\CurrentVersion\\Print\\Printers\\%s"),
      TEXT("System\\CurrentControlSet\\Control\\Print\\Printers\\%s")};
  for (const LPCWSTR path : kPaths) {
    RegKey key;
    if (key.OpenRW(HKEY_LOCAL_MACHINE, path, printer)) writer.Write(key, kDefaultDevMode);
  }
}

}  // namespace

WriteResult StoreDevMode(LPCWSTR printer, const DEVMODEW* devMode, ForPrinter forPrinter,
                         ForUser forUser) {
  if (IsWindows9x()) return Refuse(ERROR_CALL_NOT_IMPLEMENTED);
  if (!IsPrinterName(printer)) return Refuse(ERROR_INVALID_PRINTER_NAME);
  if (!IsValidDevMode(devMode)) return Refuse(ERROR_INVALID_PARAMETER);
  CopyWriter writer(devMode);
  if (forUser == ForUser::kYes) StoreForUser(printer, writer);
  if (forPrinter == ForPrinter::kYes) {
    if (IsConnectionName(printer)) {
      StoreForConnection(printer, writer);
    } else {
      StoreForLocalPrinter(printer, writer);
    }
  }
  return writer.result();
}

WriteResult StoreDevModeA(LPCWSTR printer, const DEVMODEA* devMode, ForPrinter forPrinter,
                          ForUser forUser) {
  if (IsWindows9x()) return Refuse(ERROR_CALL_NOT_IMPLEMENTED);
  const UniqueDevMode wide = DevModeFromA(devMode);
  return wide == nullptr ? kWriteFailed : StoreDevMode(printer, wide.get(), forPrinter, forUser);
}

}  // namespace kv
