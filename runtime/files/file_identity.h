// Which file a path leads to, however it is written.
#pragma once

#include "runtime/core/win.h"

namespace kv {

// Whether an error of the system says that there is no file of that name.
bool MeansMissing(DWORD error);
// Whether the system says so of the path.
bool IsMissing(LPCWSTR path);

// A file or directory, known by the number that its file system gives it, so that other spellings,
// short names and links count as the same; where files have no numbers, by its full path.
class FileIdentity {
 public:
  // FALSE, with the system's last error, when the path leads nowhere or cannot be asked about.
  BOOL Read(LPCWSTR path);
  // Never equal before both were read.
  bool operator==(const FileIdentity& other) const;

 private:
  bool isKnown_ = false;
  DWORD volume_ = 0;
  ULONGLONG number_ = 0;  // 0: the file system has none
  WCHAR fullPath_[MAX_PATH] = {};
};

// TRUE when the paths lead to two files, or one of them to none. FALSE when both are the same file
// (ERROR_SHARING_VIOLATION) and when that cannot be told (the system's last error): the one must
// then not be deleted or overwritten for the other's sake.
BOOL AreDifferentFiles(LPCWSTR a, LPCWSTR b);

}  // namespace kv
