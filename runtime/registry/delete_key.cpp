#include "runtime/registry/delete_key.h"

#include "resources/string_ids.h"
#include "runtime/core/handles.h"
#include "runtime/core/messages.h"
#include "runtime/core/startup_context.h"

namespace kv {
namespace {

constexpr int kPathCapacity = 512;

BOOL IsWindows9x() {
  return startupContext.platform.win9xKind != 0;
}

// Reports a registry call, which leaves the last error alone.
BOOL ReportFailure(LPCWSTR call, LSTATUS status) {
  SetLastError(static_cast<DWORD>(status));
  ShowLastError(call);
  return FALSE;
}

BOOL DeleteSubKeys(HKEY key) {
  for (;;) {
    WCHAR name[kPathCapacity];
    DWORD length = kPathCapacity;
    const LSTATUS status = RegEnumKeyExW(key, 0, name, &length, nullptr, nullptr, nullptr, nullptr);
    if (status == ERROR_NO_MORE_ITEMS) return TRUE;
    if (status != ERROR_SUCCESS) return ReportFailure(TEXT("RegEnumKeyExW"), status);
    if (!MyDeleteKeyW(key, name)) return FALSE;
  }
}

}  // namespace

BOOL MyDeleteKeyW(HKEY parent, LPCWSTR path) {
  if (IsWindows9x()) {
    ShowError(IDS_ROUTINE_FAILED, TEXT("MyDeleteKeyW"));
    return FALSE;
  }
  UniqueKey key;
  const LSTATUS status = RegOpenKeyExW(parent, path, 0, KEY_READ | KEY_WRITE, key.Receive());
  if (status == ERROR_FILE_NOT_FOUND) return TRUE;
  if (status != ERROR_SUCCESS) return ReportFailure(TEXT("RegOpenKeyExW"), status);
  if (!DeleteSubKeys(key.Get())) return FALSE;
  key.Reset();
  return RegDeleteKeyW(parent, path) == ERROR_SUCCESS;
}

BOOL MyDeleteKeyA(HKEY parent, LPCSTR path) {
  if (IsWindows9x()) return RegDeleteKeyA(parent, path) == ERROR_SUCCESS;
  // A path that was cut would name another key.
  WCHAR wide[kPathCapacity];
  if (MultiByteToWideChar(CP_ACP, 0, path, -1, wide, kPathCapacity) == 0) return FALSE;
  return MyDeleteKeyW(parent, wide);
}

}  // namespace kv
