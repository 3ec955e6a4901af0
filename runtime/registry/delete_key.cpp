#include "runtime/registry/delete_key.h"

#include "resources/string_ids.h"
#include "runtime/core/handles.h"
#include "runtime/core/last_error.h"
#include "runtime/core/messages.h"
#include "runtime/core/startup_context.h"
#include "runtime/registry/reg_key.h"
#include "runtime/text/text.h"
#include "runtime/text/wide_text.h"

namespace kv {
namespace {

constexpr int kPathCapacity = 512;
// A key that others delete at the same time is listed and then missing. One that is so for ever, as
// a link whose target is gone, cannot be deleted; nor one that is never empty when its turn comes.
constexpr int kMostTries = 100;

BOOL IsWindows9x() {
  return startupContext.platform.win9xKind != 0;
}

// What calls answer for a key that others deleted, and for those below it.
bool IsGone(LSTATUS status) {
  return status == ERROR_FILE_NOT_FOUND || status == ERROR_KEY_DELETED;
}

// On Windows 9x deleting a key takes its tree along, and is another call's work.
bool ReportWindows9x() {
  if (!IsWindows9x()) return false;
  ShowError(IDS_ROUTINE_FAILED, TEXT("MyDeleteKeyW"));
  return true;
}

enum class Deletion { kDone, kMissing, kNotCopied, kFailed };

// Reports a registry call, which leaves the last error alone.
Deletion ReportFailure(LPCWSTR call, LSTATUS status) {
  SetLastError(static_cast<DWORD>(status));
  ShowLastError(call);
  return Deletion::kFailed;
}

// What a deletion may take with a key.
struct Content {
  bool any;
  HKEY copy;  // else what this key holds as well; null: nothing
};

Deletion DeleteTree(HKEY parent, LPCWSTR path, Content content);

Deletion DeleteSubKey(HKEY key, LPCWSTR name, Content content) {
  if (content.any) return DeleteTree(key, name, content);
  UniqueKey copied;
  return content.copy != nullptr &&
                 RegOpenKeyExW(content.copy, name, 0, KEY_READ, copied.Receive()) == ERROR_SUCCESS
             ? DeleteTree(key, name, {false, copied.Get()})
             : Deletion::kNotCopied;
}

Deletion DeleteSubKeys(HKEY key, Content content) {
  WCHAR missingName[kPathCapacity] = {};
  for (int tries = 0; tries < kMostTries; ++tries) {
    WCHAR name[kPathCapacity];
    DWORD length = kPathCapacity;
    const LSTATUS status = RegEnumKeyExW(key, 0, name, &length, nullptr, nullptr, nullptr, nullptr);
    if (status == ERROR_NO_MORE_ITEMS || IsGone(status)) return Deletion::kDone;
    if (status != ERROR_SUCCESS) return ReportFailure(TEXT("RegEnumKeyExW"), status);
    const Deletion deletion = DeleteSubKey(key, name, content);
    if (deletion == Deletion::kNotCopied || deletion == Deletion::kFailed) return deletion;
    if (deletion == Deletion::kDone || WideView(name) != missingName) tries = 0;
    CopyStringW(missingName, name);
  }
  return ReportFailure(TEXT("RegOpenKeyExW"), ERROR_FILE_NOT_FOUND);
}

// Whether the deletion may take all values of the key, each as it is.
bool HoldsValues(Content content, HKEY key) {
  if (content.any) return true;
  RegKey theirs, ours;
  if (!theirs.OpenKey(KEY_READ, key, TEXT(""))) return false;
  if (content.copy == nullptr) return theirs.valueCount() == 0;
  if (!ours.OpenKey(KEY_READ, content.copy, TEXT(""))) return false;
  const BYTE* data;
  DWORD type, size, count = 0;
  for (LPCWSTR name = theirs.FirstValue(&data, &type, &size); name != nullptr;
       name = theirs.NextValue(&data, &type, &size)) {
    if (!ours.HasValue(name, type, data, size)) return false;
    ++count;
  }
  return count == theirs.valueCount();
}

Deletion DeleteTree(HKEY parent, LPCWSTR path, Content content) {
  for (int tries = 0; tries < kMostTries; ++tries) {
    UniqueKey key;
    LSTATUS status = RegOpenKeyExW(parent, path, 0, KEY_READ | KEY_WRITE, key.Receive());
    if (IsGone(status)) return Deletion::kMissing;
    if (status != ERROR_SUCCESS) return ReportFailure(TEXT("RegOpenKeyExW"), status);
    const Deletion below = DeleteSubKeys(key.Get(), content);
    if (below != Deletion::kDone) return below;
    if (!HoldsValues(content, key.Get())) return Deletion::kNotCopied;
    key.Reset();
    status = RegDeleteKeyW(parent, path);
    if (status == ERROR_SUCCESS || IsGone(status)) return Deletion::kDone;
    // It is refused for lack of rights, or because others have made a sub-key meanwhile.
    RegKey left;
    if (!left.OpenKey(KEY_READ, parent, path) || left.subKeyCount() == 0) break;
  }
  return Deletion::kFailed;
}

}  // namespace

BOOL MyDeleteKeyW(HKEY parent, LPCWSTR path) {
  if (View(path).empty()) return FailWith(ERROR_INVALID_PARAMETER);
  return !ReportWindows9x() && DeleteTree(parent, path, {true, nullptr}) != Deletion::kFailed;
}

BOOL MyDeleteKeyA(HKEY parent, LPCSTR path) {
  if (path == nullptr || path[0] == 0) return FailWith(ERROR_INVALID_PARAMETER);
  if (IsWindows9x()) return RegDeleteKeyA(parent, path) == ERROR_SUCCESS;
  // A path that was cut would name another key.
  WCHAR wide[kPathCapacity];
  if (MultiByteToWideChar(CP_ACP, 0, path, -1, wide, kPathCapacity) == 0) return FALSE;
  return MyDeleteKeyW(parent, wide);
}

CopiedKey DeleteCopiedKey(HKEY parent, LPCWSTR path, HKEY copy) {
  if (View(path).empty()) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return CopiedKey::kFailed;
  }
  if (ReportWindows9x()) return CopiedKey::kFailed;
  switch (DeleteTree(parent, path, {false, copy})) {
    case Deletion::kDone:
    case Deletion::kMissing:
      return CopiedKey::kDeleted;
    case Deletion::kNotCopied:
      return CopiedKey::kNotWhollyCopied;
    default:
      return CopiedKey::kFailed;
  }
}

}  // namespace kv
