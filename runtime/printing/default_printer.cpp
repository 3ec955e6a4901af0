#include "runtime/printing/default_printer.h"

#include "runtime/core/startup_context.h"
#include "runtime/printing/printer_details.h"
#include "runtime/registry/user_hives.h"
#include "runtime/text/format.h"
#include "runtime/text/text.h"
#include "runtime/text/wide_text.h"

namespace kv {
namespace {

constexpr WCHAR kWindowsSection[] = TEXT("Windows");
constexpr WCHAR kDeviceKey[] = TEXT("Device");
constexpr UINT kBroadcastTimeout = 100;  // ms

void EndAtComma(LPWSTR text) {
  const size_t comma = View(text).find(TEXT(','));
  if (comma != WideView::npos) text[comma] = 0;
}

// An entry for a printer's plain name.
template <size_t kCapacity>
void MakeEntry(LPCWSTR name, WCHAR (&entry)[kCapacity]) {
  WCHAR driver[MAX_PATH] = TEXT("WINSPOOL");
  WCHAR port[MAX_PATH];
  if (startupContext.platform.win9xKind != 0) GetPrinterDriverFileTitle(name, driver);
  GetPrinterPortName(name, port);
  FormatText(entry, TEXT("%s,%s,%s"), name, static_cast<LPCWSTR>(driver),
             static_cast<LPCWSTR>(port));
}

LRESULT Broadcast() {
  const LPCWSTR section = startupContext.platform.win9xKind != 0 ? kWindowsSection : nullptr;
  DWORD_PTR ignored = 0;
  return SendMessageTimeoutW(HWND_BROADCAST, WM_SETTINGCHANGE, 0, reinterpret_cast<LPARAM>(section),
                             SMTO_ABORTIFHUNG, kBroadcastTimeout, &ignored);
}

}  // namespace

WCHAR GetDefaultPrinterName(WCHAR (&name)[MAX_PATH], CutAtComma cut) {
  GetProfileStringW(kWindowsSection, kDeviceKey, TEXT(""), name, MAX_PATH);
  if (cut == CutAtComma::kYes) EndAtComma(name);
  return name[0];
}

LRESULT SetDefaultPrinterName(LPCWSTR name) {
  WCHAR entry[3 * MAX_PATH];
  if (View(name).find(TEXT(',')) != WideView::npos) {
    CopyStringW(entry, name);
  } else {
    MakeEntry(name, entry);
  }
  WriteProfileStringW(kWindowsSection, kDeviceKey, entry);
  return Broadcast();
}

void SetDefaultPrinterForUser(HKEY userRoot, LPCWSTR name) {
  RegKey devices, windows;
  if (!devices.Open(userRoot, TEXT("Software\\Microsoft\\Windows NT\\CurrentVersion\\Devices")) ||
      !windows.OpenRW(userRoot, TEXT("Software\\Microsoft\\Windows NT\\CurrentVersion\\Windows"))) {
    return;
  }
  WCHAR printer[MAX_PATH];
  CopyStringW(printer, name);
  EndAtComma(printer);
  const LPCWSTR device = devices.GetString(printer, TEXT(""));
  if (device[0] == 0) return;
  WCHAR entry[3 * MAX_PATH];
  FormatText(entry, TEXT("%s,%s"), static_cast<LPCWSTR>(printer), device);
  windows.SetSz(kDeviceKey, entry);
}

void SetDefaultPrinterForAllUsers(LPCWSTR name) {
  {
    UserHives users(UserHives::kLoadAndUnload);
    for (LPCWSTR sid = users.FirstSubKey(); sid != nullptr; sid = users.NextSubKey()) {
      if (IsSystemUserKey(sid)) continue;
      RegKey user;
      if (user.OpenKey(KEY_READ, users.handle(), sid)) {
        SetDefaultPrinterForUser(user.handle(), name);
      }
    }
  }
  SetDefaultPrinterName(name);
}

CDefaultPrinterGuard::CDefaultPrinterGuard() {
  GetDefaultPrinterName(saved_, CutAtComma::kNo);
}

CDefaultPrinterGuard::~CDefaultPrinterGuard() {
  if (saved_[0] == 0) return;
  WCHAR current[MAX_PATH];
  GetDefaultPrinterName(current, CutAtComma::kNo);
  if (!EqualNoCase(current, saved_)) SetDefaultPrinterName(saved_);
}

}  // namespace kv
