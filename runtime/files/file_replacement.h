// Putting new content in the place of a file without losing the old one on the way.
#pragma once

#include "runtime/core/flags.h"
#include "runtime/core/win.h"

namespace kv {

// Takes the new content in a temporary file beside the target, which then takes the target's place
// in one step. Whatever fails before, the target stays as it was. The directory must have room for
// both, and a path of at most 246 characters.
class FileReplacement {
 public:
  FileReplacement() = default;
  // Deletes the temporary file unless it has taken the target's place.
  ~FileReplacement();
  FileReplacement(const FileReplacement&) = delete;
  FileReplacement& operator=(const FileReplacement&) = delete;

  // Makes the temporary file, empty, for an existing target. FALSE, with the system's last error,
  // when it cannot be made.
  BOOL Begin(LPCWSTR target);
  LPCWSTR temporary() const { return temporary_; }
  // Puts the temporary file, which is closed by now, in the target's place, a read-only one too.
  // FALSE, with the system's last error, when the target cannot be replaced.
  BOOL Commit();

 private:
  BOOL Exchange();
  BOOL ExchangeByNames();

  WCHAR target_[MAX_PATH] = {};
  WCHAR temporary_[MAX_PATH] = {};
};

// Copies `source` to `target` as CopyFileW does. With Overwrite::kYes an existing target, a
// read-only one too, is replaced by the complete copy; with kNo it stays (ERROR_FILE_EXISTS).
// FALSE, with the system's last error, when that fails, and when both are the same file
// (ERROR_SHARING_VIOLATION); the target is then as it was. `targetInTheWay` tells whether it failed
// because the target cannot be removed.
BOOL CopyOver(LPCWSTR source, LPCWSTR target, Overwrite overwrite, bool& targetInTheWay);

}  // namespace kv
