// Copying what directories hold.
#include "resources/string_ids.h"
#include "runtime/core/messages.h"
#include "runtime/files/directories.h"
#include "runtime/files/directory_walk.h"
#include "runtime/files/file_identity.h"
#include "runtime/files/file_report.h"
#include "runtime/files/paths.h"
#include "runtime/text/wide_text.h"

namespace kv {
namespace {

// The directories on the way down to one that is copied, and the one that is copied into: none of
// them may be met again.
struct CopiedDirectory {
  const CopiedDirectory* outer;
  FileIdentity identity;

  bool IsMetAgain(const FileIdentity& other) const {
    return identity == other || (outer != nullptr && outer->IsMetAgain(other));
  }
};

// Copies what one listing of a directory finds, and shows the box of what fails.
class DirectoryCopy {
 public:
  DirectoryCopy(LPCWSTR directory, LPCWSTR target, const CopiedDirectory& outer)
      : directory_(directory), target_(target), outer_(outer) {}

  // The number of files copied; -1 on failure.
  int Run(LPCWSTR pattern, Recurse recurse) {
    const auto copyFile = [this] { return IsDirectoryEntry(entry_) || CopyListedFile(); };
    if (!IsComplete(Walk(pattern, entry_, copyFile), Quiet::kNo)) return -1;
    if (recurse == Recurse::kNo) return count_;
    const auto copyDirectory = [this] {
      return !IsDirectoryEntry(entry_) || CopyListedDirectory();
    };
    return IsComplete(Walk(pattern, entry_, copyDirectory), Quiet::kNo) ? count_ : -1;
  }

 private:
  bool CopyListedFile() {
    if (!Join()) return Fail();
    if (!CopyFileW(from_, to_, FALSE)) return IsMissing(from_) || Fail();
    ++count_;
    return true;
  }

  bool CopyListedDirectory() {
    if (!Join()) return Fail();
    CopiedDirectory copied{&outer_, {}};
    if (!copied.identity.Read(from_)) return MeansMissing(GetLastError()) || Fail();
    if (outer_.IsMetAgain(copied.identity)) {
      SetLastError(ERROR_BAD_PATHNAME);
      return Fail();
    }
    CreateDirectoryW(to_, nullptr);
    WCHAR pattern[MAX_PATH];
    if (!PathJoin(from_, kEverything, pattern, MAX_PATH)) return Fail();
    const int count = DirectoryCopy(from_, to_, copied).Run(pattern, Recurse::kYes);
    if (count < 0) return IsMissing(from_);
    count_ += count;
    return true;
  }

  // Forms both paths of the entry.
  bool Join() {
    const BOOL fits = PathJoin(target_, entry_.cFileName, to_, MAX_PATH);
    return PathJoin(directory_, entry_.cFileName, from_, MAX_PATH) && fits;
  }

  bool Fail() {
    ShowError(IDS_COPY_FAILED, entry_.cFileName, to_);
    return false;
  }

  const LPCWSTR directory_;
  const LPCWSTR target_;
  const CopiedDirectory& outer_;
  WCHAR from_[MAX_PATH], to_[MAX_PATH];
  WIN32_FIND_DATAW entry_;
  int count_ = 0;
};

}  // namespace

int CopyDirectory(LPCWSTR source, LPCWSTR target, Recurse recurse) {
  if (View(target).empty()) {
    SetLastError(ERROR_PATH_NOT_FOUND);
    return -1;
  }
  WCHAR pattern[MAX_PATH], directory[MAX_PATH];
  if (!MakeListPattern(source, pattern, directory)) return -1;
  CopiedDirectory into{nullptr, {}}, from{&into, {}};
  if (recurse == Recurse::kYes) {
    into.identity.Read(target);
    from.identity.Read(directory);
  }
  return DirectoryCopy(directory, target, from).Run(pattern, recurse);
}

}  // namespace kv
