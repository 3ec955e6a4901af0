#include "runtime/core/version_record.h"

#include "runtime/core/handles.h"
#include "runtime/core/version_details.h"
#include "runtime/files/special_folders.h"
#include "runtime/text/wide_text.h"

namespace kv {

BOOL ReadVersionRecord(VersionRecord& record) {
  const auto plain = reinterpret_cast<OSVERSIONINFOW*>(&record.info);
  record.info.dwOSVersionInfoSize = sizeof(OSVERSIONINFOEXW);
  record.extended = GetVersionExW(plain) != FALSE;
  if (!record.extended) {
    record.info = {};
    record.info.dwOSVersionInfoSize = sizeof(OSVERSIONINFOW);
    if (!GetVersionExW(plain)) return FALSE;
  }
  WCHAR path[MAX_PATH];
  GetSystemFilePath(TEXT("user32.dll"), path);
  VersionDetails user32 = {};
  // Without the system directory the name alone would be a file of the current one.
  if (View(path).find('\\') != WideView::npos) GetFileVersionDetails(path, user32);
  if (user32.productMajor != 0 || user32.productMinor != 0) {
    record.info.dwMajorVersion = user32.productMajor;
    record.info.dwMinorVersion = user32.productMinor;
  }
  return TRUE;
}

void ReadProductType(WCHAR (&text)[257]) {
  constexpr DWORD kProductTypeBytes = 512;
  for (WCHAR& c : text) c = 0;
  UniqueKey key;
  if (RegOpenKeyW(HKEY_LOCAL_MACHINE, TEXT("System\\CurrentControlSet\\Control\\ProductOptions"),
                  key.Receive()) != ERROR_SUCCESS) {
    return;
  }
  DWORD size = kProductTypeBytes;
  if (RegQueryValueExW(key.Get(), TEXT("ProductType"), nullptr, nullptr,
                       reinterpret_cast<BYTE*>(text), &size) != ERROR_SUCCESS) {
    text[0] = 0;
  }
}

}  // namespace kv
