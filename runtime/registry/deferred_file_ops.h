// Deleting and replacing files at the next restart of the system.
#pragma once

#include "runtime/registry/profile.h"
#include "runtime/registry/reg_key.h"

namespace kv {

// On the Windows NT family through MoveFileExW and the system's list of pending renames, on the 9x
// family through the section "[rename]" of wininit.ini. Nothing is ever reported; every failure is
// FALSE. The list that the First… and Next… calls read is a snapshot; RemovePendingRename writes it
// back whole, over what others changed meanwhile.
class CDeferredFileOps {
 public:
  CDeferredFileOps();
  virtual ~CDeferredFileOps() = default;
  CDeferredFileOps(const CDeferredFileOps&) = delete;
  CDeferredFileOps& operator=(const CDeferredFileOps&) = delete;

  BOOL DeleteOnRestart(LPCWSTR path);
  // `target` becomes what `source` is now, which goes.
  BOOL ReplaceOnRestart(LPCWSTR source, LPCWSTR target);

  // The pairs of the pending list, without the system's path prefixes; a null target means that the
  // source is deleted. The texts lie in the object. `listBytes` is the size of the whole list with
  // its final terminator. FALSE at the end of the list, when there is none, and on the 9x family.
  BOOL FirstPendingRename(LPCWSTR& source, LPCWSTR& target, DWORD* listBytes = nullptr);
  BOOL NextPendingRename(LPCWSTR& source, LPCWSTR& target);
  // Removes the first pair of this source and this target (null or empty: a deletion), A to Z
  // without regard to case. FALSE when there is none.
  BOOL RemovePendingRename(LPCWSTR source, LPCWSTR target);

 private:
  BOOL DeleteThroughWininit(LPCWSTR path);
  BOOL ReplaceThroughWininit(LPCWSTR source, LPCWSTR target);
  BOOL FindFreeKey(WCHAR (&key)[16]);

  CPrivateProfile wininit_;
  RegKey sessionManager_;  // its value buffer keeps the list after the key is closed
  LPWSTR listStart_ = nullptr;
  LPWSTR listCursor_ = nullptr;
  DWORD listSize_ = 0;  // bytes, with the final terminator
};

}  // namespace kv
