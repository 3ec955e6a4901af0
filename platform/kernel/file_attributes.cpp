#include "platform/kernel/file_attributes.h"

#include <errno.h>
#include <fcntl.h>

#include "platform/kernel/api_call.h"
#include "platform/kernel/host_error.h"
#include "platform/kernel/path.h"
#include "platform/kernel/result.h"

namespace platform {
namespace {

constexpr DWORD kKeptAttributes = FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN |
                                  FILE_ATTRIBUTE_SYSTEM | FILE_ATTRIBUTE_ARCHIVE;
// What may be asked for without an effect of its own.
constexpr DWORD kOtherAttributes =
    FILE_ATTRIBUTE_NORMAL | FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_TEMPORARY;

// A bit means the attribute where the host could not mean something by it.
bool Carries(mode_t mode, mode_t bit, mode_t executable) {
  return (mode & bit) != 0 && (mode & executable) == 0;
}

FILETIME FileTime(const struct statx_timestamp& time) {
  constexpr int64_t kSecondsFrom1601To1970 = 11'644'473'600;
  const uint64_t ticks =
      static_cast<uint64_t>(time.tv_sec + kSecondsFrom1601To1970) * 10'000'000 + time.tv_nsec / 100;
  return {static_cast<DWORD>(ticks), static_cast<DWORD>(ticks >> 32)};
}

// As statx finds it.
bool ReadFacts(int directory, const char* path, int flags, DWORD attributes, FileFacts& facts) {
  struct statx status;
  constexpr unsigned kWanted = STATX_BASIC_STATS | STATX_BTIME;
  if (statx(directory, path, flags, kWanted, &status) != 0) return false;
  facts.attributes = attributes;
  facts.accessed = FileTime(status.stx_atime);
  facts.written = FileTime(status.stx_mtime);
  // Not every file system of the host knows when a file was made.
  facts.created = (status.stx_mask & STATX_BTIME) != 0 ? FileTime(status.stx_btime) : facts.written;
  facts.size = S_ISREG(status.stx_mode) ? status.stx_size : 0;
  facts.volume = status.stx_dev_major << 20 | status.stx_dev_minor;
  facts.index = status.stx_ino;
  facts.links = status.stx_nlink;
  return true;
}

DWORD SetAttributes(const ResolvedPath& path, DWORD attributes) {
  if (!path.Exists()) return path.error;
  struct stat status;
  if (lstat(path.host.c_str(), &status) != 0) return ErrorOfErrno(errno);
  if ((attributes & ~(kKeptAttributes | kOtherAttributes)) != 0) return ERROR_INVALID_PARAMETER;
  if (S_ISDIR(status.st_mode) || S_ISLNK(status.st_mode)) {
    return (attributes & kKeptAttributes) == 0 ? ERROR_SUCCESS : ERROR_CALL_NOT_IMPLEMENTED;
  }
  if (!S_ISREG(status.st_mode)) return ERROR_ACCESS_DENIED;
  const mode_t mode = ModeWithAttributes(status.st_mode & 07777, attributes);
  return chmod(path.host.c_str(), mode) == 0 ? ERROR_SUCCESS : ErrorOfErrno(errno);
}

}  // namespace

DWORD AttributesOfMode(mode_t mode) {
  if (S_ISDIR(mode)) return FILE_ATTRIBUTE_DIRECTORY;
  if (!S_ISREG(mode)) return FILE_ATTRIBUTE_NORMAL;
  DWORD attributes = 0;
  if ((mode & S_IWUSR) == 0) attributes |= FILE_ATTRIBUTE_READONLY;
  if (Carries(mode, S_ISVTX, S_IXOTH)) attributes |= FILE_ATTRIBUTE_HIDDEN;
  if (Carries(mode, S_ISGID, S_IXGRP)) attributes |= FILE_ATTRIBUTE_SYSTEM;
  if (!Carries(mode, S_ISUID, S_IXUSR)) attributes |= FILE_ATTRIBUTE_ARCHIVE;
  return attributes != 0 ? attributes : FILE_ATTRIBUTE_NORMAL;
}

mode_t ModeWithAttributes(mode_t mode, DWORD attributes) {
  mode &= ~static_cast<mode_t>(S_ISVTX | S_ISGID | S_ISUID | S_IWUSR);
  if ((attributes & FILE_ATTRIBUTE_READONLY) == 0) mode |= S_IWUSR;
  if ((attributes & FILE_ATTRIBUTE_HIDDEN) != 0) mode |= S_ISVTX;
  if ((attributes & FILE_ATTRIBUTE_SYSTEM) != 0) mode |= S_ISGID;
  // A program of the host keeps its right to run and is always due for the archive.
  if ((attributes & FILE_ATTRIBUTE_ARCHIVE) == 0 && (mode & S_IXUSR) == 0) mode |= S_ISUID;
  return mode;
}

bool ReadFileFacts(const std::filesystem::path& host, FileFacts& facts) {
  const DWORD attributes = NameAttributes(host);
  if (attributes == INVALID_FILE_ATTRIBUTES) return false;
  return ReadFacts(AT_FDCWD, host.c_str(), AT_SYMLINK_NOFOLLOW, attributes, facts);
}

bool ReadFileFacts(int descriptor, FileFacts& facts) {
  struct stat status;
  return fstat(descriptor, &status) == 0 &&
         ReadFacts(descriptor, "", AT_EMPTY_PATH, AttributesOfMode(status.st_mode), facts);
}

DWORD HostAttributes(const std::filesystem::path& host) {
  struct stat status;
  return stat(host.c_str(), &status) == 0 ? AttributesOfMode(status.st_mode)
                                          : INVALID_FILE_ATTRIBUTES;
}

DWORD NameAttributes(const std::filesystem::path& host) {
  const DWORD attributes = HostAttributes(host);
  struct stat status;
  const bool is_link = attributes != INVALID_FILE_ATTRIBUTES && lstat(host.c_str(), &status) == 0 &&
                       S_ISLNK(status.st_mode);
  if (!is_link) return attributes;
  const bool is_directory = (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
  return FILE_ATTRIBUTE_REPARSE_POINT |
         (is_directory ? FILE_ATTRIBUTE_DIRECTORY : FILE_ATTRIBUTE_ARCHIVE);
}

void MarkForArchive(int descriptor) {
  struct stat status;
  if (fstat(descriptor, &status) != 0 || !S_ISREG(status.st_mode)) return;
  if (Carries(status.st_mode, S_ISUID, S_IXUSR)) {
    fchmod(descriptor, status.st_mode & 07777 & ~static_cast<mode_t>(S_ISUID));
  }
}

}  // namespace platform

using namespace platform;

DWORD WINAPI GetFileAttributesW(LPCWSTR path) {
  KV_API(GetFileAttributesW, ERROR_ACCESS_DENIED, INVALID_FILE_ATTRIBUTES, path);
  const ResolvedPath resolved = ResolvePath(View(path));
  const DWORD attributes =
      resolved.Exists() ? NameAttributes(resolved.host) : INVALID_FILE_ATTRIBUTES;
  if (attributes == INVALID_FILE_ATTRIBUTES) {
    SetLastError(resolved.Exists() ? ERROR_FILE_NOT_FOUND : resolved.error);
  }
  return attributes;
}

BOOL WINAPI GetFileAttributesExW(LPCWSTR path, GET_FILEEX_INFO_LEVELS level, LPVOID information) {
  KV_API(GetFileAttributesExW, ERROR_ACCESS_DENIED, FALSE, path, level, information);
  if (level != GetFileExInfoStandard) return Finish(ERROR_INVALID_PARAMETER);
  const ResolvedPath resolved = ResolvePath(View(path));
  if (!resolved.Exists()) return Finish(resolved.error);
  FileFacts facts;
  if (!ReadFileFacts(resolved.host, facts)) return Finish(ERROR_FILE_NOT_FOUND);
  auto& data = *static_cast<WIN32_FILE_ATTRIBUTE_DATA*>(information);
  data = {facts.attributes,
          facts.created,
          facts.accessed,
          facts.written,
          static_cast<DWORD>(facts.size >> 32),
          static_cast<DWORD>(facts.size)};
  return TRUE;
}

BOOL WINAPI SetFileAttributesW(LPCWSTR path, DWORD attributes) {
  KV_API(SetFileAttributesW, ERROR_ACCESS_DENIED, FALSE, path, attributes);
  return Finish(SetAttributes(ResolvePath(View(path)), attributes));
}
