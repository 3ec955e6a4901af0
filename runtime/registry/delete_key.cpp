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

enum class Deletion { kDone, kMissing, kFailed };

Deletion DeleteTree(HKEY parent, LPCWSTR path);

BOOL DeleteSubKeys(HKEY key) {
  // A key that others delete at the same time is listed and then missing. One that is so for ever,
  // as a link whose target is gone, cannot be deleted.
  constexpr int kMissingLimit = 100;
  for (int missing = 0; missing < kMissingLimit;) {
    WCHAR name[kPathCapacity];
    DWORD length = kPathCapacity;
    const LSTATUS status = RegEnumKeyExW(key, 0, name, &length, nullptr, nullptr, nullptr, nullptr);
    if (status == ERROR_NO_MORE_ITEMS) return TRUE;
    if (status != ERROR_SUCCESS) return ReportFailure(TEXT("RegEnumKeyExW"), status);
    const Deletion deletion = DeleteTree(key, name);
    if (deletion == Deletion::kFailed) return FALSE;
    if (deletion == Deletion::kMissing) ++missing;
  }
  return ReportFailure(TEXT("RegOpenKeyExW"), ERROR_FILE_NOT_FOUND);
}

Deletion DeleteTree(HKEY parent, LPCWSTR path) {
  UniqueKey key;
  const LSTATUS status = RegOpenKeyExW(parent, path, 0, KEY_READ | KEY_WRITE, key.Receive());
  if (status == ERROR_FILE_NOT_FOUND) return Deletion::kMissing;
  if (status != ERROR_SUCCESS) {
    ReportFailure(TEXT("RegOpenKeyExW"), status);
    return Deletion::kFailed;
  }
  if (!DeleteSubKeys(key.Get())) return Deletion::kFailed;
  key.Reset();
  return RegDeleteKeyW(parent, path) == ERROR_SUCCESS ? Deletion::kDone : Deletion::kFailed;
}

}  // namespace

BOOL MyDeleteKeyW(HKEY parent, LPCWSTR path) {
  if (IsWindows9x()) {
    ShowError(IDS_ROUTINE_FAILED, TEXT("MyDeleteKeyW"));
    return FALSE;
  }
  return DeleteTree(parent, path) != Deletion::kFailed;
}

BOOL MyDeleteKeyA(HKEY parent, LPCSTR path) {
  if (IsWindows9x()) return RegDeleteKeyA(parent, path) == ERROR_SUCCESS;
  // A path that was cut would name another key.
  WCHAR wide[kPathCapacity];
  if (MultiByteToWideChar(CP_ACP, 0, path, -1, wide, kPathCapacity) == 0) return FALSE;
  return MyDeleteKeyW(parent, wide);
}

}  // namespace kv
