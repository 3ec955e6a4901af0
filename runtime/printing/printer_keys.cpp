#include "runtime/printing/printer_keys.h"

#include <cstring>

#include "runtime/core/last_error.h"
#include "runtime/printing/connection_name.h"
#include "runtime/printing/printer_settings.h"
#include "runtime/registry/settings.h"
#include "runtime/text/wide_text.h"

namespace kv {
namespace {

constexpr WCHAR kDestinations[] = TEXT("DestPrinters");
constexpr WCHAR kDevMode[] = TEXT("Devmode");
constexpr WCHAR kDuplexSupport[] = TEXT("DuplexSupport");
constexpr WCHAR kTray1[] = TEXT("Tray1");
constexpr WCHAR kTray2[] = TEXT("Tray2");

void OpenInMode(RegKey& key, HKEY root, LPCWSTR path, KeyMode mode) {
  if (mode == KeyMode::kRead) key.Open(root, TEXT("%s"), path);
  if (mode == KeyMode::kWrite) key.Create(root, TEXT("%s"), path);
}

}  // namespace

CPrinterSettingsKey::CPrinterSettingsKey(LPCWSTR printer, KeyMode mode, HKEY root) {
  WCHAR path[MAX_PATH];
  if (MakePrinterKeyPath(printer, PrinterKey::kOwn, path)) OpenInMode(*this, root, path, mode);
}

LPCWSTR CPrinterSettingsKey::GetServerPrinter() {
  const LPCWSTR printer = IsOpen() ? GetString(TEXT("ServerPrinter")) : nullptr;
  return View(printer).empty() ? nullptr : printer;
}

// What cannot be read may be there all the same.
BOOL MayHavePaperSize(LPCWSTR printer) {
  WCHAR path[MAX_PATH];
  if (!MakePrinterKeyPath(printer, PrinterKey::kDriverData, path)) return FALSE;
  UniqueKey key;
  LSTATUS status = RegOpenKeyExW(HKEY_CURRENT_USER, path, 0, KEY_READ, key.Receive());
  if (status == ERROR_SUCCESS) {
    status = RegQueryValueExW(key.Get(), TEXT("PaperSize"), nullptr, nullptr, nullptr, nullptr);
  }
  return status != ERROR_FILE_NOT_FOUND;
}

CDestPrinterKey::CDestPrinterKey(LPCWSTR printer, LPCWSTR destination, KeyMode mode, HKEY root) {
  WCHAR path[MAX_PATH], name[MAX_PATH];
  if (!MakePrinterKeyPath(printer, PrinterKey::kOwn, path) || !MakeKeyName(destination, name)) {
    return;
  }
  if (!AppendText(path, MAX_PATH, TEXT("\\%s%s%s"), kDestinations,
                  name[0] == 0 ? TEXT("") : TEXT("\\"), static_cast<LPCWSTR>(name))) {
    return;
  }
  OpenInMode(*this, root, path, mode);
}

SIZE CDestPrinterKey::GetMarginAdjust() {
  const LONG margin = static_cast<LONG>(GetDword(TEXT("AddMargin"), 0));
  return {margin, margin};
}

UniqueDevMode CDestPrinterKey::GetDevMode(DWORD* size) {
  const BYTE* data = nullptr;
  *size = 0;
  DWORD stored = 0;
  if (!GetBinary(kDevMode, &data, &stored) || stored == 0) return nullptr;
  UniqueDevMode devMode(static_cast<DEVMODEW*>(AllocateBlock(stored)));
  if (devMode == nullptr) return nullptr;
  std::memcpy(static_cast<void*>(devMode.get()), data, stored);
  *size = stored;
  return devMode;
}

BOOL CDestPrinterKey::SetDevMode(const DEVMODEW* devMode) {
  if (devMode == nullptr) {
    const LSTATUS status = RegDeleteValueW(handle(), kDevMode);
    Refresh();
    return status == ERROR_SUCCESS || status == ERROR_FILE_NOT_FOUND;
  }
  const size_t size = ReadableDevModeSize(devMode);
  if (size == 0) return FailWith(ERROR_INVALID_PARAMETER);
  return SetBinary(kDevMode, devMode, static_cast<DWORD>(size));
}

int CDestPrinterKey::GetDuplexSupport() {
  if (QueryValue(kDuplexSupport)) {
    return static_cast<int>(GetDword(kDuplexSupport, static_cast<DWORD>(kDuplexUnknown)));
  }
  const bool assumed =
      UserSettingsKey(KeyMode::kRead).GetDword(TEXT("AssumeHardwareDuplex"), 0) != 0;
  return assumed ? kDuplexHardware : kDuplexUnknown;
}

void CDestPrinterKey::GetTrays(WORD& first, WORD& second) {
  first = static_cast<WORD>(GetDword(kTray1, 0));
  second = static_cast<WORD>(GetDword(kTray2, 0));
}

BOOL CDestPrinterKey::SetTrays(WORD first, WORD second) {
  return SetDword(kTray1, first) && SetDword(kTray2, second);
}

}  // namespace kv
