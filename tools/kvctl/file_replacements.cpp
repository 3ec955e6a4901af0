#include "tools/kvctl/file_replacements.h"

#include "runtime/files/compare_files.h"
#include "runtime/files/file_actions.h"
#include "runtime/registry/deferred_file_ops.h"

namespace kvctl {
namespace {

bool CopyOver(const WideString& source, const WideString& target) {
  return kv::CopyFileTo(source.c_str(), target.c_str(), kv::Overwrite::kYes, kv::Quiet::kYes);
}

bool Remove(const WideString& path) {
  const DWORD error = GetLastError();
  const bool removed = kv::RemoveFile(path.c_str(), kv::Quiet::kYes);
  SetLastError(error);
  return removed;
}

}  // namespace

bool CancelOperationsAtRestart(const WideString& path) {
  kv::CDeferredFileOps pending;
  while (pending.RemovePendingRename((path + kStagedSuffix).c_str(), path.c_str())) {
  }
  while (pending.RemovePendingRename((path + kBackupSuffix).c_str(), nullptr)) {
  }
  bool wasDeleted = false;
  while (pending.RemovePendingRename(path.c_str(), nullptr)) wasDeleted = true;
  return wasDeleted;
}

void FileReplacements::CancelPending(const WideString& target) {
  if (CancelOperationsAtRestart(target)) cancelledDeletions_.push_back(target);
}

// What an interrupted installation has left of a file that stays as it is.
void FileReplacements::ClearLeftovers(const WideString& target) {
  Remove(target + kStagedSuffix);
  const WideString backup = target + kBackupSuffix;
  if (kv::FileExists(backup.c_str(), kv::Report::kNo)) oldBackups_.push_back(backup);
}

FileReplacements::Result FileReplacements::Put(const WideString& source, const WideString& target) {
  CancelPending(target);
  if (kv::CompareFiles(source.c_str(), target.c_str(), kv::CompareContents::kYes) == 1) {
    ClearLeftovers(target);
    return Result::kSame;
  }
  const std::optional<DWORD> ours = FileVersion(source), there = FileVersion(target);
  if (ours && there && *there > *ours) {
    ClearLeftovers(target);
    return Result::kNewerThere;
  }
  const bool hadFile = kv::FileExists(target.c_str(), kv::Report::kNo);
  const Result result = Stage(source, target, hadFile);
  if (result == Result::kFailed) Remove(target + kStagedSuffix);
  if (result != Result::kPut) Remove(target + kBackupSuffix);
  return result;
}

FileReplacements::Result FileReplacements::Stage(const WideString& source, const WideString& target,
                                                 bool hadFile) {
  const WideString staged = target + kStagedSuffix;
  if (!CopyOver(source, staged)) return Result::kFailed;
  if (hadFile && !CopyOver(target, target + kBackupSuffix)) return Result::kFailed;
  if (MoveOver(staged, target)) {
    replaced_.push_back({target, hadFile});
    return Result::kPut;
  }
  const DWORD error = GetLastError();
  if (hadFile && kv::CDeferredFileOps().ReplaceOnRestart(staged.c_str(), target.c_str())) {
    atRestart_.push_back(target);
    return Result::kAtRestart;
  }
  SetLastError(error);
  return Result::kFailed;
}

bool FileReplacements::MoveOver(const WideString& from, const WideString& target) {
  const auto move = [&] {
    return MoveFileExW(from.c_str(), target.c_str(), MOVEFILE_REPLACE_EXISTING) != FALSE;
  };
  if (move()) return true;
  if (!kv::FileExists(target.c_str(), kv::Report::kNo)) return false;
  pause_.Begin();
  return move();
}

bool FileReplacements::Undo() {
  bool complete = true;
  for (auto last = replaced_.rbegin(); last != replaced_.rend(); ++last) {
    const Replaced& file = *last;
    if (file.hadFile) {
      complete &= MoveOver(file.target + kBackupSuffix, file.target);
    } else if (!Remove(file.target)) {
      pause_.Begin();
      complete &= Remove(file.target);
    }
  }
  for (const WideString& target : atRestart_) {
    CancelOperationsAtRestart(target);
    Remove(target + kStagedSuffix);
  }
  for (const WideString& path : cancelledDeletions_) {
    kv::CDeferredFileOps().DeleteOnRestart(path.c_str());
  }
  replaced_.clear();
  atRestart_.clear();
  cancelledDeletions_.clear();
  return complete;
}

std::vector<FileReplacements::LeftBackup> FileReplacements::Keep() {
  std::vector<LeftBackup> left;
  for (const Replaced& file : replaced_) {
    if (file.hadFile) oldBackups_.push_back(file.target + kBackupSuffix);
  }
  for (const WideString& backup : oldBackups_) {
    if (Remove(backup)) continue;
    const bool goes = kv::CDeferredFileOps().DeleteOnRestart(backup.c_str());
    left.push_back({backup, goes ? DWORD{ERROR_SUCCESS} : GetLastError()});
  }
  replaced_.clear();
  atRestart_.clear();
  oldBackups_.clear();
  cancelledDeletions_.clear();
  return left;
}

}  // namespace kvctl
