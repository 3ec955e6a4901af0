#include "platform/kernel/file_actions.h"

#include <errno.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>

#include "platform/kernel/api_call.h"
#include "platform/kernel/disk_space.h"
#include "platform/kernel/files.h"
#include "platform/kernel/host_error.h"
#include "platform/kernel/result.h"
#include "platform/kernel/system_version.h"

namespace platform {
namespace {

namespace fs = std::filesystem;

DWORD CopyContent(File& from, File& to) {
  std::vector<BYTE> buffer(64 * 1024);
  for (;;) {
    DWORD size = 0;
    DWORD error = from.Read(buffer.data(), static_cast<DWORD>(buffer.size()), size);
    if (error == ERROR_SUCCESS && size == 0) return ERROR_SUCCESS;
    if (error == ERROR_SUCCESS) error = to.WriteAll(buffer.data(), size);
    if (error != ERROR_SUCCESS) return error;
  }
}

// The copy has the original's attributes and its time of modification.
void CopyProperties(const File& from, const File& to) {
  struct stat status;
  if (fstat(from.descriptor(), &status) != 0) return;
  const DWORD attributes = AttributesOfMode(status.st_mode) | FILE_ATTRIBUTE_ARCHIVE;
  fchmod(to.descriptor(), ModeWithAttributes(status.st_mode & 0777, attributes));
  const timespec times[] = {status.st_atim, status.st_mtim};
  futimens(to.descriptor(), times);
}

DWORD CopyHostFile(WideView from_path, WideView to_path, bool fail_if_exists) {
  std::shared_ptr<File> from, to;
  bool existed = false;
  DWORD error = File::Open(from_path, {GENERIC_READ, kShareAll, OPEN_EXISTING, 0}, from, existed);
  if (error != ERROR_SUCCESS) return error;
  const ResolvedPath target = ResolvePath(to_path);
  if (target.Exists() && target.host == from->host_path()) return ERROR_SHARING_VIOLATION;
  const DWORD disposition = fail_if_exists ? CREATE_NEW : CREATE_ALWAYS;
  error = File::Open(to_path, {GENERIC_WRITE, 0, disposition, 0}, to, existed);
  if (error != ERROR_SUCCESS) return error;
  error = CopyContent(*from, *to);
  if (error == ERROR_SUCCESS) {
    CopyProperties(*from, *to);
  } else if (!existed) {
    unlink(to->host_path().c_str());
  }
  return error;
}

// Whether something may be moved over what is there.
DWORD CheckReplacement(const fs::path& target, bool source_is_directory, DWORD flags) {
  if ((flags & MOVEFILE_REPLACE_EXISTING) == 0) return ERROR_ALREADY_EXISTS;
  const DWORD attributes = HostAttributes(target);
  constexpr DWORD kProtected = FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_READONLY;
  if (source_is_directory || (attributes & kProtected) != 0) return ERROR_ACCESS_DENIED;
  SharedDescriptor claim;
  // Whoever has it open, it is denied rather than shared wrongly.
  return claim.Open(target, DELETE, kShareAll) == ERROR_SUCCESS ? ERROR_SUCCESS
                                                                : ERROR_ACCESS_DENIED;
}

DWORD CopyAndDelete(WideView from, const fs::path& from_host, WideView to) {
  const DWORD error = CopyHostFile(from, to, false);
  if (error != ERROR_SUCCESS) return error;
  return unlink(from_host.c_str()) == 0 ? ERROR_SUCCESS : ErrorOfErrno(errno);
}

// As the system's own names begin in the list.
WideString ObjectName(WideView path) {
  return TEXT("\\??\\") + FullPath(path);
}

constexpr WCHAR kSessionManager[] = TEXT("System\\CurrentControlSet\\Control\\Session Manager");
constexpr WCHAR kPendingMoves[] = TEXT("PendingFileRenameOperations");

// The list's strings as they stand, without the terminator of the whole.
LSTATUS ReadPendingMoves(HKEY key, WideString& list) {
  DWORD size = 0;
  LSTATUS status = RegQueryValueExW(key, kPendingMoves, nullptr, nullptr, nullptr, &size);
  if (status == ERROR_FILE_NOT_FOUND) return ERROR_SUCCESS;
  if (status != ERROR_SUCCESS) return status;
  list.resize(size / sizeof(WCHAR));
  status = RegQueryValueExW(key, kPendingMoves, nullptr, nullptr,
                            reinterpret_cast<BYTE*>(list.data()), &size);
  if (!list.empty() && list.back() == 0) list.pop_back();
  return status;
}

}  // namespace

DWORD DeleteHostFile(const fs::path& host) {
  const DWORD attributes = NameAttributes(host);
  if (attributes != INVALID_FILE_ATTRIBUTES &&
      (attributes & (FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_READONLY)) != 0) {
    return ERROR_ACCESS_DENIED;
  }
  const bool is_link =
      attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0;
  if (is_link) return unlink(host.c_str()) == 0 ? ERROR_SUCCESS : ErrorOfErrno(errno);
  SharedDescriptor claim;
  const DWORD error = claim.Open(host, DELETE, kShareAll);
  if (error != ERROR_SUCCESS) return error;
  struct stat status;
  const bool known = fstat(claim.get(), &status) == 0;
  if (unlink(host.c_str()) != 0) return ErrorOfErrno(errno);
  if (known) Machine::Current().Part<DiskSpace>().Change(static_cast<uint64_t>(status.st_size), 0);
  return ERROR_SUCCESS;
}

DWORD MoveHostFile(WideView from, WideView to, DWORD flags) {
  const ResolvedPath source = ResolvePath(from);
  if (!source.Exists()) return source.error;
  const ResolvedPath target = ResolvePath(to);
  if (source.is_device || target.is_device) return ERROR_ACCESS_DENIED;
  if (!target.Exists() && !target.CanBeCreated()) return target.error;
  const bool is_directory = fs::is_directory(source.host);
  SharedDescriptor claim;
  if (!is_directory) {
    const DWORD error = claim.Open(source.host, SharedDescriptor::kRename, kShareAll);
    if (error != ERROR_SUCCESS) return error;
  }
  // The new name is written as the caller writes it, also where only its case changes.
  fs::path place = target.host;
  const bool same = target.Exists() && target.host == source.host;
  if (same) place.replace_filename(ToUtf8(BaseName(FullPath(to))));
  if (target.Exists() && !same) {
    const DWORD error = CheckReplacement(target.host, is_directory, flags);
    if (error != ERROR_SUCCESS) return error;
  }
  if (std::rename(source.host.c_str(), place.c_str()) == 0) return ERROR_SUCCESS;
  if (errno != EXDEV) return ErrorOfErrno(errno);
  const bool may_copy = (flags & MOVEFILE_COPY_ALLOWED) != 0 && !is_directory;
  return may_copy ? CopyAndDelete(from, source.host, to) : ERROR_NOT_SAME_DEVICE;
}

DWORD MoveAtNextStart(WideView from, LPCWSTR to, bool replace) {
  HKEY key = nullptr;
  LSTATUS status = RegCreateKeyExW(HKEY_LOCAL_MACHINE, kSessionManager, 0, nullptr, 0,
                                   KEY_QUERY_VALUE | KEY_SET_VALUE, nullptr, &key, nullptr);
  if (status != ERROR_SUCCESS) return static_cast<DWORD>(status);
  WideString list;
  status = ReadPendingMoves(key, list);
  if (status == ERROR_SUCCESS) {
    list += ObjectName(from);
    list.push_back(0);
    // A mark before the target lets it replace what is there then.
    if (to != nullptr) list += (replace ? TEXT("!") : TEXT("")) + ObjectName(to);
    list.append(2, WCHAR{0});
    status = RegSetValueExW(key, kPendingMoves, 0, REG_MULTI_SZ,
                            reinterpret_cast<const BYTE*>(list.data()),
                            static_cast<DWORD>(list.size() * sizeof(WCHAR)));
  }
  RegCloseKey(key);
  return static_cast<DWORD>(status);
}

}  // namespace platform

using namespace platform;

BOOL WINAPI CopyFileW(LPCWSTR from, LPCWSTR to, BOOL fail_if_exists) {
  KV_API(CopyFileW, ERROR_ACCESS_DENIED, FALSE, from, to, fail_if_exists);
  return Finish(CopyHostFile(View(from), View(to), fail_if_exists != FALSE));
}

// The name is free at once, as the system has done it since Windows 10; who still has the file
// open and lets it be deleted goes on using it.
BOOL WINAPI DeleteFileW(LPCWSTR path) {
  KV_API(DeleteFileW, ERROR_ACCESS_DENIED, FALSE, path);
  const ResolvedPath resolved = ResolvePath(View(path));
  if (!resolved.Exists()) return Finish(resolved.error);
  if (resolved.is_device) return Finish(ERROR_ACCESS_DENIED);
  return Finish(DeleteHostFile(resolved.host));
}

BOOL WINAPI MoveFileW(LPCWSTR from, LPCWSTR to) {
  KV_API(MoveFileW, ERROR_ACCESS_DENIED, FALSE, from, to);
  return Finish(MoveHostFile(View(from), View(to), MOVEFILE_COPY_ALLOWED));
}

BOOL WINAPI MoveFileExW(LPCWSTR from, LPCWSTR to, DWORD flags) {
  KV_API(MoveFileExW, ERROR_ACCESS_DENIED, FALSE, from, to, flags);
  constexpr DWORD kKnown =
      MOVEFILE_REPLACE_EXISTING | MOVEFILE_COPY_ALLOWED | MOVEFILE_DELAY_UNTIL_REBOOT;
  const bool is_nt = InstalledVersion().platform == VER_PLATFORM_WIN32_NT;
  if (!is_nt || (flags & ~kKnown) != 0) return Finish(ERROR_CALL_NOT_IMPLEMENTED);
  const bool delayed = (flags & MOVEFILE_DELAY_UNTIL_REBOOT) != 0;
  if (delayed && (flags & MOVEFILE_COPY_ALLOWED) != 0) return Finish(ERROR_INVALID_PARAMETER);
  if (delayed) {
    return Finish(MoveAtNextStart(View(from), to, (flags & MOVEFILE_REPLACE_EXISTING) != 0));
  }
  if (to == nullptr) return Finish(ERROR_INVALID_PARAMETER);
  return Finish(MoveHostFile(View(from), to, flags));
}
