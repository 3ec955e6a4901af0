// Deleting and replacing files at the next restart of the system.
#pragma once

#include "runtime/registry/profile.h"
#include "runtime/registry/reg_key.h"

namespace kv {

// On the Windows NT family through MoveFileExW and the system's list of pending renames, on the 9x
// family through the section "[rename]" of wininit.ini. Nothing is ever reported; every failure is
// FALSE with the system's last error, or the one that is named here. The list that the First… and
// Next… calls read is a snapshot; RemovePendingRename writes it back whole, over what others
// changed meanwhile.
class CDeferredFileOps {
 public:
  CDeferredFileOps();
  virtual ~CDeferredFileOps() = default;
  CDeferredFileOps(const CDeferredFileOps&) = delete;
  CDeferredFileOps& operator=(const CDeferredFileOps&) = delete;

  // An empty path (null, "") is refused with ERROR_INVALID_PARAMETER: a missing target would delete
  // the source. On the 9x family both fail with ERROR_INVALID_NAME when the Windows directory,
  // where wininit.ini lies, cannot be found out, and DeleteOnRestart with ERROR_NO_MORE_ITEMS when
  // it has 32766 unfinished lines.
  BOOL DeleteOnRestart(LPCWSTR path);
  // `target` becomes what `source` is now, which goes. On the 9x family the directory of a missing
  // target is made; what is there already is left alone until then.
  BOOL ReplaceOnRestart(LPCWSTR source, LPCWSTR target);

  // The pairs of the pending list, without the system's path prefixes; a null target means that the
  // source is deleted. A pair that is nothing but prefixes is passed over. The texts lie in the
  // object, until the next call of FirstPendingRename or RemovePendingRename, whose arguments they
  // may be. `listBytes` is the size of the whole list with its final terminator. FALSE, without a
  // last error, at the end of the list, when there is none, and on the 9x family.
  BOOL FirstPendingRename(LPCWSTR& source, LPCWSTR& target, DWORD* listBytes = nullptr);
  BOOL NextPendingRename(LPCWSTR& source, LPCWSTR& target);
  // Removes the first pair of this source and this target (null or empty: a deletion), A to Z
  // without regard to case. FALSE when there is none, and without memory. TRUE also when the list
  // could be read but not written, which leaves the system's as it was.
  BOOL RemovePendingRename(LPCWSTR source, LPCWSTR target);

 private:
  BOOL DeleteThroughWininit(LPCWSTR path);
  BOOL ReplaceThroughWininit(LPCWSTR source, LPCWSTR target);
  BOOL FindFreeKey(WCHAR (&key)[16]);
  // The next pair as it is stored, from the cursor on; FALSE at the end of the list.
  BOOL ReadPair(LPCWSTR& source, LPCWSTR& target);
  void CutPair(LPWSTR pair);

  CPrivateProfile wininit_;
  RegKey sessionManager_;  // its value buffer keeps the list after the key is closed
  LPWSTR listStart_ = nullptr;
  LPWSTR listCursor_ = nullptr;
  DWORD listSize_ = 0;  // bytes, with the final terminator
};

}  // namespace kv
