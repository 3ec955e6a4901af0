// Files that are put in place together, or not at all.
//
// A new file is copied beside its target (kStagedSuffix) and takes the target's name in one step,
// so that an interruption leaves the old file or the new one; of what is replaced a copy
// (kBackupSuffix) stays until Keep or Undo. Operations at the next restart that would undo the work
// are cancelled.
#pragma once

#include <vector>

#include "tools/kvctl/port_files.h"
#include "tools/kvctl/spooler_pause.h"

namespace kvctl {

class FileReplacements {
 public:
  // The spooler is stopped when a file is in use.
  explicit FileReplacements(SpoolerPause& pause) : pause_(pause) {}

  enum class Result {
    kSame,        // the target has these bytes already
    kNewerThere,  // both versions are known, the target's is higher, and it stays
    kPut,
    kAtRestart,  // the target is in use by somebody else; the system replaces it at its next start
    kFailed,     // with the system's last error; nothing has changed
  };
  Result Put(const WideString& source, const WideString& target);

  // Puts back what was there before the first Put; FALSE when something could not be put back.
  bool Undo();
  // Makes the work final. The backups that could not be deleted now.
  struct LeftBackup {
    WideString path;
    DWORD error;  // why the next start of the system does not delete it; ERROR_SUCCESS: it does
  };
  std::vector<LeftBackup> Keep();

 private:
  struct Replaced {
    WideString target;
    bool hadFile;
  };
  void CancelPending(const WideString& target);
  void ClearLeftovers(const WideString& target);
  Result Stage(const WideString& source, const WideString& target, bool hadFile);
  bool MoveOver(const WideString& from, const WideString& target);

  SpoolerPause& pause_;
  std::vector<Replaced> replaced_;
  std::vector<WideString> atRestart_;
  std::vector<WideString> oldBackups_;  // of earlier, interrupted work
  std::vector<WideString> cancelledDeletions_;
};

// Takes what would happen to the file and its backup at the next restart out of the system's list.
// Whether the file would have been deleted.
bool CancelOperationsAtRestart(const WideString& path);

}  // namespace kvctl
