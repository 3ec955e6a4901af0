// The registry keys in which the user's papers are kept, and the lock between processes on them.
//
// Results are the system's error codes, ERROR_SUCCESS for success; the last error means nothing.
#pragma once

#include "runtime/core/handles.h"
#include "runtime/ipc/shared_access_lock.h"
#include "runtime/papers/paper_table.h"

namespace kv {

class CCustomPapersAccessManager : public CSharedAccessLock {
 public:
  CCustomPapersAccessManager();
  ~CCustomPapersAccessManager() override = default;
};

// Characters of a name that an entry keeps.
constexpr int kLongestPaperName = 63;

// What one key of the store holds.
struct StoredPaper {
  WCHAR keyName[256];  // the longest name that a key can have
  // The name is that of the key, cut; the id is 0 where there is none.
  PaperEntry entry;
  // What lacks a width or a height is no paper.
  BOOL IsPaper() const { return entry.width != 0 && entry.height != 0; }
};

// The store for the life of the object, which holds the lock on it. A lock that this process cannot
// make, as one without rights to that of another, keeps it from writing, not from reading.
class PaperStore {
 public:
  PaperStore();
  PaperStore(const PaperStore&) = delete;
  PaperStore& operator=(const PaperStore&) = delete;

  // ERROR_FILE_NOT_FOUND when nobody has made the store yet. For a lock that is not to be had
  // within a second, ERROR_TIMEOUT unless the system has a reason.
  DWORD OpenForReading();
  DWORD OpenForWriting();
  // The same, but a missing store is made.
  DWORD MakeForWriting();
  // Makes a reader a writer.
  DWORD EnterAsWriter();

  // How many keys there are.
  DWORD Count(DWORD& count) const;
  // Calls `take(const StoredPaper&)`, which returns an error code, for each key in the order of the
  // registry; ends with the first code that is not ERROR_SUCCESS.
  template <class Take>
  DWORD ForEach(Take take) const {
    StoredPaper paper;
    for (DWORD index = 0;; ++index) {
      DWORD error = Read(index, paper);
      if (error == ERROR_NO_MORE_ITEMS) return ERROR_SUCCESS;
      if (error == ERROR_SUCCESS) error = take(paper);
      if (error != ERROR_SUCCESS) return error;
    }
  }

  // Writes the paper but for its name, whole or not at all; a missing key is made.
  DWORD Write(LPCWSTR keyName, const PaperEntry& paper);
  DWORD WriteId(LPCWSTR keyName, WORD id);
  // Deletes a key with everything below it; ERROR_SUCCESS also when there is none.
  DWORD Delete(LPCWSTR keyName);

 private:
  DWORD EnterLock(BOOL exclusive);
  DWORD Open(REGSAM access);
  // ERROR_NO_MORE_ITEMS behind the last key. One that vanishes meanwhile is no paper.
  DWORD Read(DWORD index, StoredPaper& paper) const;

  CCustomPapersAccessManager lock_;
  DWORD lockError_;
  UniqueKey key_;
};

}  // namespace kv
