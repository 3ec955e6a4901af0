#include "runtime/registry/deferred_file_ops.h"

#include <string.h>

#include <optional>

#include "runtime/core/handles.h"
#include "runtime/core/last_error.h"
#include "runtime/core/startup_context.h"
#include "runtime/files/directories.h"
#include "runtime/files/file_actions.h"
#include "runtime/files/paths.h"
#include "runtime/registry/stable_text.h"
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

// Empty when the Windows directory cannot be found out: its name alone would be a file in the root
// of the current drive.
struct WininitPath {
  WCHAR path[MAX_PATH] = {};
  WininitPath() {
    WCHAR windows[MAX_PATH];
    const UINT length = GetWindowsDirectoryW(windows, MAX_PATH);
    if (length == 0 || length >= MAX_PATH) return;
    if (!PathJoin(windows, TEXT("wininit.ini"), path, MAX_PATH)) path[0] = 0;
  }
};

// An empty file that was made here, for as long as the object lives; none where something is there
// already.
class Placeholder {
 public:
  explicit Placeholder(LPCWSTR path) : path_(path), made_(Make()) {
    if (made_ || GetLastError() != ERROR_PATH_NOT_FOUND) return;
    WCHAR directory[MAX_PATH];
    GetDirectory(path, directory);
    made_ = CreateDirectoryTree(directory, Expand::kNo, Quiet::kYes) && Make();
  }
  ~Placeholder() {
    if (made_) RemoveFile(path_, Quiet::kYes);
  }
  Placeholder(const Placeholder&) = delete;
  Placeholder& operator=(const Placeholder&) = delete;

 private:
  bool Make() {
    const UniqueFile file(
        CreateFileW(path_, GENERIC_WRITE, 0, nullptr, CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr));
    return static_cast<bool>(file);
  }

  LPCWSTR path_;
  bool made_;
};

bool SameText(LPCWSTR a, LPCWSTR b) {
  return EqualAsciiNoCase(View(a), View(b));
}

}  // namespace

CDeferredFileOps::CDeferredFileOps() : wininit_(WininitPath().path) {}

BOOL CDeferredFileOps::DeleteOnRestart(LPCWSTR path) {
  if (View(path).empty()) return FailWith(ERROR_INVALID_PARAMETER);
  return Is9x() ? DeleteThroughWininit(path)
                : MoveFileExW(path, nullptr, MOVEFILE_DELAY_UNTIL_REBOOT);
}

BOOL CDeferredFileOps::ReplaceOnRestart(LPCWSTR source, LPCWSTR target) {
  if (View(source).empty() || View(target).empty()) return FailWith(ERROR_INVALID_PARAMETER);
  return Is9x()
             ? ReplaceThroughWininit(source, target)
             : MoveFileExW(source, target, MOVEFILE_REPLACE_EXISTING | MOVEFILE_DELAY_UNTIL_REBOOT);
}

BOOL CDeferredFileOps::DeleteThroughWininit(LPCWSTR path) {
  if (wininit_.GetString(kRenameSection, kDeleteKey) == nullptr) {
    return wininit_.WriteString(kRenameSection, kDeleteKey, path);
  }
  WCHAR key[16], buffer[MAX_PATH];
  if (!FindFreeKey(key)) return FailWith(ERROR_NO_MORE_ITEMS);
  if (!wininit_.WriteString(kRenameSection, key, ShortPath(path, buffer))) return FALSE;
  wininit_.Flush();
  // The section needs one more line of the same key, which the interface cannot write.
  if (wininit_.RenameKey(kRenameSection, key, kDeleteKey)) return TRUE;
  const DWORD error = GetLastError();
  wininit_.DeleteKey(kRenameSection, key);
  return FailWith(error);
}

BOOL CDeferredFileOps::FindFreeKey(WCHAR (&key)[16]) {
  for (int number = 1; number <= kLastDeleteNumber; ++number) {
    FormatText(key, TEXT("%s%d"), kDeleteKey, number);
    if (wininit_.GetString(kRenameSection, key) == nullptr) return TRUE;
  }
  return FALSE;
}

BOOL CDeferredFileOps::ReplaceThroughWininit(LPCWSTR source, LPCWSTR target) {
  if (!wininit_.HasFile()) return FALSE;
  WCHAR sourceBuffer[MAX_PATH], targetBuffer[MAX_PATH];
  const LPCWSTR shortSource = ShortPath(source, sourceBuffer);
  // Only a file that exists has a short form.
  std::optional<Placeholder> placeholder(target);
  const LPCWSTR shortTarget = ShortPath(target, targetBuffer);
  placeholder.reset();
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
  BOOL found = ReadPair(source, target);
  while (found && source == nullptr && target == nullptr) found = ReadPair(source, target);
  return found;
}

BOOL CDeferredFileOps::ReadPair(LPCWSTR& source, LPCWSTR& target) {
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
  return TRUE;
}

BOOL CDeferredFileOps::RemovePendingRename(LPCWSTR source, LPCWSTR target) {
  // They may be what the list has handed out, which is read again.
  const StableText wantedSource(source, true), wantedTarget(target, true);
  LPCWSTR foundSource, foundTarget;
  if (!wantedSource || !wantedTarget || !FirstPendingRename(foundSource, foundTarget)) return FALSE;
  LPWSTR pair;
  listCursor_ = listStart_;
  do {
    pair = listCursor_;
    if (!ReadPair(foundSource, foundTarget)) return FALSE;
  } while ((foundSource == nullptr && foundTarget == nullptr) ||
           !SameText(foundSource, wantedSource.Get()) ||
           !SameText(foundTarget, wantedTarget.Get()));
  CutPair(pair);
  // Writing goes through a key of its own: opening the snapshot's key again would use its buffer.
  RegKey key;
  if (key.OpenRW(HKEY_LOCAL_MACHINE, kSessionManager))
    key.SetMultiString(kPendingRenames, listStart_, listSize_);
  return TRUE;
}

// The pair ends at the cursor.
void CDeferredFileOps::CutPair(LPWSTR pair) {
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
}

}  // namespace kv
