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
constexpr size_t kEntryCapacity = 3 * MAX_PATH;

void EndAtComma(LPWSTR text) {
  const size_t comma = View(text).find(TEXT(','));
  if (comma != WideView::npos) text[comma] = 0;
}

// Sets the last error when the text was cut.
BOOL Fits(BOOL fits) {
  if (!fits) SetLastError(ERROR_INVALID_PARAMETER);
  return fits;
}

// An entry for a printer's plain name; without its port nobody could print to it.
BOOL MakeEntry(LPCWSTR name, WCHAR (&entry)[kEntryCapacity]) {
  WCHAR driver[MAX_PATH] = TEXT("WINSPOOL");
  WCHAR port[MAX_PATH];
  if (!GetPrinterPortName(name, port)) return FALSE;
  if (startupContext.platform.win9xKind != 0) GetPrinterDriverFileTitle(name, driver);
  return Fits(FormatText(entry, TEXT("%s,%s,%s"), name, static_cast<LPCWSTR>(driver),
                         static_cast<LPCWSTR>(port)));
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
  WCHAR entry[kEntryCapacity];
  const bool isEntry = View(name).find(TEXT(',')) != WideView::npos;
  if (isEntry ? !Fits(FormatText(entry, TEXT("%s"), name)) : !MakeEntry(name, entry)) return 0;
  WriteProfileStringW(kWindowsSection, kDeviceKey, entry);
  return Broadcast();
}

void SetDefaultPrinterForUser(HKEY userRoot, LPCWSTR name) {
  RegKey devices, windows;
  if (!devices.Open(userRoot, TEXT("Software\\Microsoft\\Windows NT\\CurrentVersion\\Devices")) ||
      !windows.OpenRW(userRoot, TEXT("Software\\Microsoft\\Windows NT\\CurrentVersion\\Windows"))) {
    return;
  }
  WCHAR printer[kEntryCapacity], entry[kEntryCapacity];
  if (name == nullptr || !FormatText(printer, TEXT("%s"), name)) return;
  EndAtComma(printer);
  // The value without a name is no device.
  const LPCWSTR device = printer[0] == 0 ? TEXT("") : devices.GetString(printer, TEXT(""));
  if (device[0] == 0) return;
  if (FormatText(entry, TEXT("%s,%s"), static_cast<LPCWSTR>(printer), device)) {
    windows.SetSz(kDeviceKey, entry);
  }
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
  if (EqualNoCase(current, saved_)) return;
  // An entry that was cut would lose the end of its ports; a name gets them anew.
  if (View(saved_).size() == MAX_PATH - 1) EndAtComma(saved_);
  SetDefaultPrinterName(saved_);
}

}  // namespace kv
