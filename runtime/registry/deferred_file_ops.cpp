#include "runtime/registry/deferred_file_ops.h"

#include <string.h>

#include "runtime/core/startup_context.h"
#include "runtime/files/file.h"
#include "runtime/files/file_actions.h"
#include "runtime/files/paths.h"
#include "runtime/text/format.h"
#include "runtime/text/wide_text.h"

namespace kv {
namespace {

constexpr WCHAR kSessionManager[] = TEXT("System\\CurrentControlSet\\Control\\Session Manager");
constexpr WCHAR kPendingRenames[] = TEXT("PendingFileRenameOperations");
constexpr WCHAR kRenameSection[] = TEXT("rename");
constexpr WCHAR kDeleteKey[] = TEXT("NUL");
constexpr int kLastDeleteNumber = 32766;

bool Is9x() {
  return startupContext.platform.win9xKind != 0;
}

struct WininitPath {
  WCHAR path[MAX_PATH];
  WininitPath() {
    WCHAR windows[MAX_PATH] = {};
    GetWindowsDirectoryW(windows, MAX_PATH);
    PathJoin(windows, TEXT("wininit.ini"), path, MAX_PATH);
  }
};

bool SameText(LPCWSTR a, LPCWSTR b) {
  return EqualAsciiNoCase(View(a), View(b));
}

}  // namespace

CDeferredFileOps::CDeferredFileOps() : wininit_(WininitPath().path) {}

BOOL CDeferredFileOps::DeleteOnRestart(LPCWSTR path) {
  return Is9x() ? DeleteThroughWininit(path)
                : MoveFileExW(path, nullptr, MOVEFILE_DELAY_UNTIL_REBOOT);
}

BOOL CDeferredFileOps::ReplaceOnRestart(LPCWSTR source, LPCWSTR target) {
  return Is9x()
             ? ReplaceThroughWininit(source, target)
             : MoveFileExW(source, target, MOVEFILE_REPLACE_EXISTING | MOVEFILE_DELAY_UNTIL_REBOOT);
}

BOOL CDeferredFileOps::DeleteThroughWininit(LPCWSTR path) {
  if (wininit_.GetString(kRenameSection, kDeleteKey) == nullptr) {
    return wininit_.WriteString(kRenameSection, kDeleteKey, path);
  }
  WCHAR key[16], buffer[MAX_PATH];
  if (!FindFreeKey(key)) return FALSE;
  if (!wininit_.WriteString(kRenameSection, key, ShortPath(path, buffer))) return FALSE;
  wininit_.Flush();
  // The section needs one more line of the same key, which the interface cannot write.
  if (wininit_.RenameKey(kRenameSection, key, kDeleteKey)) return TRUE;
  wininit_.DeleteKey(kRenameSection, key);
  return FALSE;
}

BOOL CDeferredFileOps::FindFreeKey(WCHAR (&key)[16]) {
  for (int number = 1; number <= kLastDeleteNumber; ++number) {
    FormatText(key, TEXT("%s%d"), kDeleteKey, number);
    if (wininit_.GetString(kRenameSection, key) == nullptr) return TRUE;
  }
  return FALSE;
}

BOOL CDeferredFileOps::ReplaceThroughWininit(LPCWSTR source, LPCWSTR target) {
  WCHAR sourceBuffer[MAX_PATH], targetBuffer[MAX_PATH];
  const LPCWSTR shortSource = ShortPath(source, sourceBuffer);
  // Only a file that exists has a short form.
  const bool missing = !FileExists(target, Report::kNo);
  if (missing) File().Create(target, Quiet::kYes);
  const LPCWSTR shortTarget = ShortPath(target, targetBuffer);
  if (missing) RemoveFile(target, Quiet::kYes);
  return wininit_.WriteString(kRenameSection, shortTarget, shortSource);
}

BOOL CDeferredFileOps::FirstPendingRename(LPCWSTR& source, LPCWSTR& target, DWORD* listBytes) {
  source = target = nullptr;
  listStart_ = listCursor_ = nullptr;
  if (Is9x() || !sessionManager_.Open(HKEY_LOCAL_MACHINE, kSessionManager)) return FALSE;
  DWORD size = 0;
  listStart_ = const_cast<LPWSTR>(sessionManager_.GetMultiString(kPendingRenames, &size));
  sessionManager_.Close();
  if (listStart_ == nullptr) return FALSE;
  listCursor_ = listStart_;
  listSize_ = size - size % sizeof(WCHAR);
  if (listBytes != nullptr) *listBytes = size;
  return NextPendingRename(source, target);
}

BOOL CDeferredFileOps::NextPendingRename(LPCWSTR& source, LPCWSTR& target) {
  source = target = nullptr;
  if (listCursor_ == nullptr) return FALSE;
  // The list is what somebody stored: no string is read beyond its bytes.
  const LPCWSTR end = listStart_ + listSize_ / sizeof(WCHAR);
  if (listCursor_ >= end || *listCursor_ == 0) return FALSE;
  LPCWSTR* const outs[] = {&source, &target};
  for (LPCWSTR* out : outs) {
    const WideView rest(listCursor_, end - listCursor_);
    const size_t length = rest.find(WCHAR(0));
    if (length == WideView::npos) return source != nullptr;
    const LPCWSTR text = StripLongPathPrefix(listCursor_);
    *out = *text == 0 ? nullptr : text;
    listCursor_ += length + 1;
  }
  return source != nullptr || target != nullptr;
}

BOOL CDeferredFileOps::RemovePendingRename(LPCWSTR source, LPCWSTR target) {
  LPCWSTR foundSource, foundTarget;
  LPWSTR pair = nullptr;
  BOOL more = FirstPendingRename(foundSource, foundTarget);
  for (pair = listStart_;
       more && !(SameText(foundSource, source) && SameText(foundTarget, target));) {
    pair = listCursor_;
    more = NextPendingRename(foundSource, foundTarget);
  }
  if (!more) return FALSE;
  const DWORD pairBytes = static_cast<DWORD>((listCursor_ - pair) * sizeof(WCHAR));
  const DWORD restBytes =
      listSize_ - static_cast<DWORD>((listCursor_ - listStart_) * sizeof(WCHAR));
  memmove(pair, listCursor_, restBytes);
  listSize_ -= pairBytes;
  listCursor_ = pair;
  if (restBytes == 0) {
    // Somebody stored the list without its final terminator, which the shorter one gets.
    *pair = 0;
    listSize_ += sizeof(WCHAR);
  }
  // Writing goes through a key of its own: opening the snapshot's key again would use its buffer.
  RegKey key;
  if (key.OpenRW(HKEY_LOCAL_MACHINE, kSessionManager))
    key.SetMultiString(kPendingRenames, listStart_, listSize_);
  return TRUE;
}

}  // namespace kv
