// Initialisation files: the system's win.ini and files by name.
//
// Names of sections and keys are compared without regard to case. Reads fail to null, 0 or the
// default; writes return the system's BOOL and leave its last error, or with FALSE the one that is
// named with the function. Pointers handed out are good until the next call on the same object,
// whose arguments they may be. Without memory for the objects' own buffers FirstKey and the
// GetString that hands out a pointer find nothing and leave ERROR_NOT_ENOUGH_MEMORY.
#pragma once

#include <memory>

#include "runtime/core/win.h"
#include "runtime/files/global_block.h"

namespace kv {

constexpr DWORD kProfileValueCapacity = 512;  // characters; longer values are cut

// The system's win.ini.
class CProfile {
 public:
  CProfile();
  virtual ~CProfile() = default;
  CProfile(const CProfile&) = delete;
  CProfile& operator=(const CProfile&) = delete;

  // Lists the keys of a section (null: the names of all sections) and hands out the first; null,
  // without a report, when there is none or memory runs out. On the 9x family the list is cut at
  // 65535 characters, within a name perhaps.
  LPCWSTR FirstKey(LPCWSTR section);
  // The next one, null at the end.
  LPCWSTR NextKey();

  UINT GetInt(LPCWSTR section, LPCWSTR key, INT otherwise) const;
  // The value, or `otherwise` (which may be null) when there is none or it is empty.
  LPCWSTR GetString(LPCWSTR section, LPCWSTR key, LPCWSTR otherwise);
  // Reads into `buffer` of `capacity` characters, cut to fit; returns the length.
  DWORD GetString(LPCWSTR section, LPCWSTR key, LPWSTR buffer, DWORD capacity) const;

 private:
  CGlobalBlock keyList_;
  LPCWSTR cursor_ = nullptr;
  std::unique_ptr<WCHAR[]> value_;
};

// A file by name; without a directory it lies in the Windows directory. Without a name (none given,
// an empty one, or one of more than 259 characters) there is nothing to read, and every write
// fails; both leave ERROR_INVALID_NAME.
class CPrivateProfile {
 public:
  CPrivateProfile();
  explicit CPrivateProfile(LPCWSTR fileName);
  virtual ~CPrivateProfile() = default;
  CPrivateProfile(const CPrivateProfile&) = delete;
  CPrivateProfile& operator=(const CPrivateProfile&) = delete;

  // As CProfile's.
  LPCWSTR FirstKey(LPCWSTR section);
  LPCWSTR NextKey();

  // FALSE with ERROR_INVALID_NAME where the object has no file.
  BOOL HasFile() const;

  UINT GetInt(LPCWSTR section, LPCWSTR key, INT otherwise) const;
  // The value; null when it is missing or empty.
  LPCWSTR GetString(LPCWSTR section, LPCWSTR key);
  DWORD GetString(LPCWSTR section, LPCWSTR key, LPWSTR buffer, DWORD capacity) const;
  // The "key=value" strings of a section, each with its terminator, ended by an empty one. Null
  // when there is none, when it does not fit on the Windows 9x family, and after the internal-error
  // box when memory runs out.
  std::unique_ptr<WCHAR[]> GetSection(LPCWSTR section) const;

  BOOL WriteString(LPCWSTR section, LPCWSTR key, LPCWSTR text) const;
  BOOL WriteInt(LPCWSTR section, LPCWSTR key, int number) const;
  // Formats into 512 characters; FALSE with ERROR_INSUFFICIENT_BUFFER, and nothing is written, when
  // the text is longer.
  BOOL WriteFormatted(LPCWSTR section, LPCWSTR key, LPCWSTR format, ...) const;
  // `data` as GetSection gives it.
  BOOL WriteSection(LPCWSTR section, LPCWSTR data) const;
  BOOL DeleteSection(LPCWSTR section) const;
  BOOL DeleteKey(LPCWSTR section, LPCWSTR key) const;
  // Lets the system write its cached copy of the file; its answer is FALSE where it keeps none.
  BOOL Flush() const;

  // Gives the first key of that name in an ANSI file another name, which may stand in the section
  // already and must not be longer. The line keeps its length: blanks, which readers skip, take the
  // place of what the new name is shorter. FALSE, and the file is as it was: with
  // ERROR_FILE_NOT_FOUND when there is no such key, with ERROR_INVALID_PARAMETER for a new name
  // that is empty, longer or would make another kind of line, with ERROR_NO_UNICODE_TRANSLATION for
  // one that the code page lacks, and when the file cannot be written.
  BOOL RenameKey(LPCWSTR section, LPCWSTR key, LPCWSTR newKey) const;

 private:
  WCHAR fileName_[MAX_PATH] = {};
  CGlobalBlock keyList_;
  LPCWSTR cursor_ = nullptr;
  std::unique_ptr<WCHAR[]> value_;
};

}  // namespace kv
