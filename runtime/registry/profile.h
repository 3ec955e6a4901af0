// Initialisation files: the system's win.ini and files by name.
//
// Names of sections and keys are compared without regard to case. Reads fail to null, 0 or the
// default; writes return the system's BOOL and leave its last error. Pointers handed out are good
// until the next call on the same object.
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

  // Lists the keys of a section and hands out the first; null when there is none or memory runs
  // out.
  LPCWSTR FirstKey(LPCWSTR section);
  // The next one, null at the end.
  LPCWSTR NextKey();

  UINT GetInt(LPCWSTR section, LPCWSTR key, INT otherwise) const;
  // The value, or `otherwise` when there is none or it is empty.
  LPCWSTR GetString(LPCWSTR section, LPCWSTR key, LPCWSTR otherwise);
  // Reads into `buffer` of `capacity` characters; returns the length.
  DWORD GetString(LPCWSTR section, LPCWSTR key, LPWSTR buffer, DWORD capacity) const;

 private:
  CGlobalBlock keyList_;
  LPCWSTR cursor_ = nullptr;
  std::unique_ptr<WCHAR[]> value_;
};

// A file by name; without a directory it lies in the Windows directory.
class CPrivateProfile {
 public:
  CPrivateProfile();
  explicit CPrivateProfile(LPCWSTR fileName);
  virtual ~CPrivateProfile() = default;
  CPrivateProfile(const CPrivateProfile&) = delete;
  CPrivateProfile& operator=(const CPrivateProfile&) = delete;

  LPCWSTR FirstKey(LPCWSTR section);
  LPCWSTR NextKey();

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
  // Formats into 512 characters; FALSE, and nothing is written, when the text is longer.
  BOOL WriteFormatted(LPCWSTR section, LPCWSTR key, LPCWSTR format, ...) const;
  // `data` as GetSection gives it.
  BOOL WriteSection(LPCWSTR section, LPCWSTR data) const;
  BOOL DeleteSection(LPCWSTR section) const;
  BOOL DeleteKey(LPCWSTR section, LPCWSTR key) const;
  // Lets the system write its cached copy of the file.
  BOOL Flush() const;

  // Gives the first key of that name in an ANSI file another name, which may stand in the section
  // already and must not be longer. The line keeps its length: blanks, which readers skip, take the
  // place of what the new name is shorter. FALSE, and the file is as it was, when there is no such
  // key or the file cannot be written.
  BOOL RenameKey(LPCWSTR section, LPCWSTR key, LPCWSTR newKey) const;

 private:
  WCHAR fileName_[MAX_PATH] = {};
  CGlobalBlock keyList_;
  LPCWSTR cursor_ = nullptr;
  std::unique_ptr<WCHAR[]> value_;
};

}  // namespace kv
