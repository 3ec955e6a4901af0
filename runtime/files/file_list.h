// The listing of a directory.
#pragma once

#include <memory>

#include "runtime/core/win.h"

namespace kv {

// What CFileList::CopyTo does with files that exist in the target directory.
enum class CopyMode : int { kSkipExisting = 0, kAlways = 1, kSkipEqual = 2 };

// Files and directories of one directory, in the system's order unless sorted, without "." and
// "..". A snapshot: other processes may change the directory meanwhile; a file that they have
// deleted is no failure. What an operation is given may be a text of the list itself.
class CFileList {
 public:
  CFileList() = default;
  CFileList(const CFileList&) = delete;
  CFileList& operator=(const CFileList&) = delete;

  // Replaces the contents by what matches `pattern`; a directory stands for all it holds. Returns
  // the count; 0 also for a pattern that cannot be listed: an empty one (ERROR_PATH_NOT_FOUND), one
  // that does not fit (ERROR_FILENAME_EXCED_RANGE), one without a match (the system's last error).
  // -1, with an empty list, after the internal-error box when memory runs out.
  int Scan(LPCWSTR pattern, BOOL files, BOOL directories);
  // Adds what matches and is not in the list yet; only from the same directory. Returns the new
  // count; -1 when memory runs out, with a list that was not empty unchanged.
  int Add(LPCWSTR pattern, BOOL files, BOOL directories);
  void Clear();

  int count() const { return count_; }
  // The full path of the listed directory, with its closing backslash; empty when there is none.
  LPCWSTR directory() const { return directory_; }
  // The index of the entry of that name (A to Z without regard to case), or -1.
  int Find(LPCWSTR name) const;
  // Null for an index out of range or an entry without a name. The path lies in a buffer of the
  // list: it is good until the next GetPath. A path of more than 259 characters is null too.
  const WIN32_FIND_DATAW* GetEntry(int index) const;
  LPCWSTR GetName(int index) const;
  LPCWSTR GetPath(int index);
  // Both return the count afterwards.
  int RemoveAt(int index);
  int RemoveByName(LPCWSTR path);
  // The sum of the low 32 bits of the sizes, in bytes.
  ULONGLONG TotalSize() const;

  enum SortKey { kByName = 1, kByLastWrite = 2, kBySize = 3 };
  // Other keys change nothing.
  void Sort(int key, BOOL ascending);

  // Copies each entry into `targetDirectory`; the copies' attributes become normal. An existing
  // target is replaced by the complete copy: one that fails leaves it as it was. An entry whose
  // target is the entry itself is not copied. Returns the number copied.
  int CopyTo(LPCWSTR targetDirectory, CopyMode mode);
  // Deletes each entry, also read-only ones with `useLibraryDelete`, and clears the list. Returns
  // the number of those that are gone, whoever has deleted them.
  int DeleteAll(BOOL useLibraryDelete);
  // Copies each entry as CopyTo (kAlways) does and deletes what was copied, and nothing else;
  // clears the list. Returns the sum of both numbers.
  int MoveTo(LPCWSTR targetDirectory);

 private:
  using Entries = std::unique_ptr<WIN32_FIND_DATAW[]>;
  // The path of an entry; FALSE when it has none that fits.
  BOOL MakePath(int index, WCHAR (&path)[MAX_PATH]) const;
  BOOL CopyEntry(int index, LPCWSTR targetDirectory, CopyMode mode) const;

  int count_ = 0;
  Entries entries_;
  WCHAR directory_[MAX_PATH] = {};
  WCHAR pathBuffer_[MAX_PATH] = {};
};

// Whether a listed entry is "." or "..".
bool IsDotEntry(const WIN32_FIND_DATAW& entry);
// Whether a listed entry is a link to another directory or file, which is no part of the directory.
bool IsLinkEntry(const WIN32_FIND_DATAW& entry);
// What lists `source`: "*.*" in a directory, anything else is a pattern itself; and the full path,
// with its closing backslash, of the directory that it lists. FALSE for an empty source
// (ERROR_PATH_NOT_FOUND) and when one of them cannot be formed or does not fit
// (ERROR_FILENAME_EXCED_RANGE).
BOOL MakeListPattern(LPCWSTR source, WCHAR (&pattern)[MAX_PATH], WCHAR (&directory)[MAX_PATH]);

// The total size in bytes of the files that match; 0 after the internal-error box when memory runs
// out.
ULONGLONG GetFilesSize(LPCWSTR pattern);

// Deletes the files of `pattern` that were written longest ago, but for `keep` of them; at most
// `maximum` (negative: no limit). A negative `keep` keeps none. The file `spare` (null or empty:
// none), however its path is written, is never deleted. TRUE when as many as wanted are gone; FALSE
// also for an empty pattern (ERROR_PATH_NOT_FOUND) and after the internal-error box when memory
// runs out.
BOOL PruneOldFiles(LPCWSTR pattern, int keep, int maximum, LPCWSTR spare);

}  // namespace kv
