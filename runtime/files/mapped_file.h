// Whole files mapped into memory.
#pragma once

#include "runtime/core/flags.h"
#include "runtime/core/win.h"

namespace kv {

// Maps one file at a time, of less than 4 GB. Sizes are bytes. Failures leave the failed call's
// last error. Used by one thread.
class CMappedFile {
 public:
  enum class Access : bool { kRead, kWrite };
  enum class CloseFile : bool { kNo, kYes };
  enum class Occurrences : bool { kFirst, kAll };

  CMappedFile() = default;
  ~CMappedFile();
  CMappedFile(const CMappedFile&) = delete;
  CMappedFile& operator=(const CMappedFile&) = delete;

  // Maps the file `path`, closing what was open. For writing, nobody else may have the file open,
  // and a `maximum` above its size makes it that long, filled with zeros; one below its size maps
  // only so many bytes; 0 takes the file's size (an empty file cannot be mapped). Returns the view;
  // null, closed and, unless quiet, after the failed call's report. A file of 4 GB or more fails as
  // its view does without room for it (MapViewOfFile, ERROR_NOT_ENOUGH_MEMORY).
  void* MapFile(LPCWSTR path, Access access, DWORD maximum, Quiet quiet);
  // The same for a file that the caller has open and closes. A size that cannot be read is not
  // reported, what fails later always is.
  void* MapHandle(HANDLE file, Access access, DWORD maximum);
  // Ends the mapping; `closeFile` also lets go of the file.
  void Close(CloseFile closeFile);
  // Ends the mapping and gives the file the length `length`. FALSE after the failed call's report.
  BOOL Resize(DWORD length);

  // Replaces the first or every occurrence of `find` in a file of ANSI text, which is cut at a zero
  // byte. A null or empty `replacement` removes the text. Returns the number of replacements; 0
  // also for a file that is empty, cannot be read or is 4 GB or longer, before or afterwards, and
  // after the report of a mapping that failed. When the file cannot be given its new length, which
  // is reported, zeros stand behind its text.
  static int ReplaceInFile(LPCWSTR path, LPCSTR find, LPCSTR replacement, Occurrences occurrences);

  // Null when nothing is mapped.
  void* view() const { return view_; }
  // The file's size when it was mapped, whatever the maximum, or the length that Resize gave it.
  DWORD size() const { return size_; }

 private:
  enum class Failure { kNone, kSize, kMapping, kView };
  BOOL OpenFile(LPCWSTR path, Access access, Quiet quiet);
  Failure MapOpenFile(Access access, DWORD maximum);
  // Takes back what the mapping made the file longer.
  void CutBack();
  static void ReportFailure(Failure failure);

  HANDLE file_ = INVALID_HANDLE_VALUE;
  BOOL ownsFile_ = FALSE;
  HANDLE mapping_ = nullptr;
  void* view_ = nullptr;
  DWORD size_ = 0;
};

}  // namespace kv
