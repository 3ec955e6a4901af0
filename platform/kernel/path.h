// From paths of the machine to paths of the host and back.
//
// C: is the machine's drive_c directory, Z: the host's root; there are no other drives and no
// network. Names are found without regard to case: the exact name first, then the one on disk, last
// the one with that short name.
#pragma once

#include <filesystem>
#include <mutex>

#include "platform/kernel/machine.h"
#include "platform/kernel/text.h"

namespace platform {

// Before a path that is taken as it is.
inline constexpr WideView kVerbatimPrefix = TEXT("\\\\?\\");

// Where a path leads.
struct ResolvedPath {
  // ERROR_SUCCESS when it exists; ERROR_FILE_NOT_FOUND when only its last component is missing;
  // ERROR_PATH_NOT_FOUND, ERROR_INVALID_NAME, ERROR_BAD_NETPATH.
  DWORD error = ERROR_SUCCESS;
  // The place on the host, also of what does not exist; empty where nothing can exist.
  std::filesystem::path host;
  // The full path, with the names that exist in the case they have on disk.
  WideString windows;
  // The null device or another reserved name.
  bool is_device = false;

  bool Exists() const { return error == ERROR_SUCCESS; }
  bool CanBeCreated() const { return error == ERROR_FILE_NOT_FOUND && !is_device; }
};

ResolvedPath ResolvePath(WideView path);

// "C:\dir\name" for a path as programs write it: relative to the current directory, with forward
// slashes, "." and "..", trailing blanks and dots. A trailing backslash stays. Paths with the
// prefix
// "\\?\" are taken as they are.
WideString FullPath(WideView path);

// The machine's name of a host path: below C: where it lies on the machine's drive, else below Z:.
WideString WindowsPath(const std::filesystem::path& host);

// Whether a file can have this name.
bool IsValidComponent(WideView component);

// "name.ext" of a path.
WideView BaseName(WideView path);
// Everything up to the last backslash, without it; the root keeps its backslash.
WideView DirectoryOf(WideView path);

// The process's current directory on this machine.
class CurrentDirectory {
 public:
  explicit CurrentDirectory(Machine& machine);
  WideString Get() const;
  void Set(WideString full_path);

 private:
  mutable std::mutex mutex_;
  WideString path_;
};

}  // namespace platform
