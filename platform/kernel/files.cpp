#include "platform/kernel/files.h"

#include <errno.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdint>
#include <utility>

#include "platform/kernel/api_call.h"
#include "platform/kernel/buffer.h"
#include "platform/kernel/host_error.h"
#include "platform/kernel/installation.h"

namespace platform {
namespace {

// An opening is written down as shared locks on single bytes far behind any content: one byte for
// each use, one for each use denied to others. The locks belong to the open file description, so
// the host forgets them with the process.
constexpr off_t kLockBytes = INT64_MAX - 255;
constexpr off_t kUses = kLockBytes;
constexpr off_t kDenials = kLockBytes + 16;
constexpr off_t kImageByte = kLockBytes + 32;

struct Use {
  DWORD access;
  DWORD share;
  off_t index;
};
constexpr Use kAllUses[] = {{FILE_READ_DATA, FILE_SHARE_READ, 0},
                            {FILE_WRITE_DATA, FILE_SHARE_WRITE, 1},
                            {DELETE, FILE_SHARE_DELETE, 2}};

constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
constexpr DWORD kKnownFlags =
    0xFFFF | FILE_FLAG_WRITE_THROUGH | FILE_FLAG_RANDOM_ACCESS | FILE_FLAG_SEQUENTIAL_SCAN;
// What another process may do to a path between two looks at it.
constexpr int kMostRaces = 16;

void Mark(int descriptor, off_t at) {
  struct flock lock = {};
  lock.l_type = F_RDLCK;
  lock.l_start = at;
  lock.l_len = 1;
  // File systems without locks have no sharing either.
  fcntl(descriptor, F_OFD_SETLK, &lock);
}

bool MarkedByOther(int descriptor, off_t at) {
  struct flock lock = {};
  lock.l_type = F_WRLCK;
  lock.l_start = at;
  lock.l_len = 1;
  return fcntl(descriptor, F_OFD_GETLK, &lock) == 0 && lock.l_type != F_UNLCK;
}

DWORD SpecificAccess(DWORD access) {
  if ((access & (GENERIC_READ | GENERIC_ALL)) != 0) access |= FILE_READ_DATA;
  if ((access & (GENERIC_WRITE | GENERIC_ALL)) != 0) access |= FILE_WRITE_DATA;
  if ((access & GENERIC_ALL) != 0) access |= DELETE;
  return access & (FILE_READ_DATA | FILE_WRITE_DATA | DELETE);
}

bool IsReadOnly(const struct stat& status) {
  return S_ISREG(status.st_mode) && (status.st_mode & S_IWUSR) == 0;
}

// The error for opening what is already there.
DWORD CheckExisting(const std::filesystem::path& host, const File::Opening& opening, DWORD access) {
  struct stat status;
  if (stat(host.c_str(), &status) != 0) return ErrorOfErrno(errno);
  if (S_ISDIR(status.st_mode)) {
    return opening.disposition == CREATE_NEW ? ERROR_FILE_EXISTS : ERROR_ACCESS_DENIED;
  }
  if (opening.disposition == CREATE_NEW) return ERROR_FILE_EXISTS;
  const bool replaces =
      opening.disposition == CREATE_ALWAYS || opening.disposition == TRUNCATE_EXISTING;
  if (IsReadOnly(status) && ((access & FILE_WRITE_DATA) != 0 || replaces)) {
    return ERROR_ACCESS_DENIED;
  }
  return ERROR_SUCCESS;
}

DWORD CheckOpening(const File::Opening& opening, DWORD access) {
  if (opening.disposition < CREATE_NEW || opening.disposition > TRUNCATE_EXISTING) {
    return ERROR_INVALID_PARAMETER;
  }
  if (opening.disposition == TRUNCATE_EXISTING && (access & FILE_WRITE_DATA) == 0) {
    return ERROR_INVALID_PARAMETER;
  }
  return (opening.flags & ~kKnownFlags) != 0 ? ERROR_CALL_NOT_IMPLEMENTED : ERROR_SUCCESS;
}

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
  fchmod(to.descriptor(), status.st_mode & 0777);
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

}  // namespace

SharedDescriptor::~SharedDescriptor() {
  if (descriptor_ >= 0) close(descriptor_);
}

SharedDescriptor::SharedDescriptor(SharedDescriptor&& other) noexcept
    : descriptor_(std::exchange(other.descriptor_, -1)) {}

SharedDescriptor& SharedDescriptor::operator=(SharedDescriptor&& other) noexcept {
  std::swap(descriptor_, other.descriptor_);
  return *this;
}

DWORD SharedDescriptor::Open(const std::filesystem::path& host, DWORD access, DWORD share,
                             int host_flags) {
  const int mode = (access & FILE_WRITE_DATA) != 0 ? O_RDWR : O_RDONLY;
  const int descriptor = open(host.c_str(), mode | O_CLOEXEC | O_NOCTTY | host_flags, 0666);
  if (descriptor < 0) return ErrorOfErrno(errno);
  SharedDescriptor opened;
  opened.descriptor_ = descriptor;
  const DWORD error = opened.Claim(access, share);
  if (error == ERROR_SUCCESS) std::swap(descriptor_, opened.descriptor_);
  return error;
}

// Every opening first writes itself down and then looks for what speaks against it; of two that
// exclude each other at least one sees the other.
DWORD SharedDescriptor::Claim(DWORD access, DWORD share) const {
  if (access == 0) return ERROR_SUCCESS;
  if ((access & kImage) != 0) Mark(descriptor_, kImageByte);
  for (const Use& use : kAllUses) {
    if ((access & use.access) != 0) Mark(descriptor_, kUses + use.index);
    if ((share & use.share) == 0) Mark(descriptor_, kDenials + use.index);
  }
  if ((access & DELETE) != 0 && MarkedByOther(descriptor_, kImageByte)) return ERROR_ACCESS_DENIED;
  for (const Use& use : kAllUses) {
    const bool uses = (access & use.access) != 0;
    const bool denies = (share & use.share) == 0;
    if ((uses && MarkedByOther(descriptor_, kDenials + use.index)) ||
        (denies && MarkedByOther(descriptor_, kUses + use.index))) {
      return ERROR_SHARING_VIOLATION;
    }
  }
  return ERROR_SUCCESS;
}

DWORD File::Open(WideView path, const Opening& opening, std::shared_ptr<File>& file,
                 bool& existed) {
  const DWORD access = SpecificAccess(opening.access);
  DWORD error = CheckOpening(opening, access);
  if (error != ERROR_SUCCESS) return error;

  auto opened = std::make_shared<File>();
  opened->access_ = access;
  const bool may_create = opening.disposition == CREATE_NEW ||
                          opening.disposition == CREATE_ALWAYS ||
                          opening.disposition == OPEN_ALWAYS;
  for (int attempt = 0; attempt < kMostRaces; ++attempt) {
    const ResolvedPath resolved = ResolvePath(path);
    existed = resolved.Exists();
    opened->host_path_ = resolved.host;
    if (existed) {
      error = resolved.is_device ? ERROR_SUCCESS : CheckExisting(resolved.host, opening, access);
    } else if (!resolved.CanBeCreated() || !may_create) {
      error = resolved.error;
    }
    if (error != ERROR_SUCCESS && !(existed && error == ERROR_FILE_NOT_FOUND)) return error;
    if (!existed && path.back() == '\\') return ERROR_INVALID_NAME;

    // Everybody may use a device at the same time.
    const DWORD share = resolved.is_device ? kShareAll : opening.share;
    error = opened->shared_.Open(resolved.host, access, share, existed ? 0 : O_CREAT | O_EXCL);
    const bool overtaken = existed ? error == ERROR_FILE_NOT_FOUND : error == ERROR_FILE_EXISTS;
    if (!overtaken) break;
    error = ERROR_SUCCESS;
  }
  if (error != ERROR_SUCCESS) return error;
  const bool empties =
      opening.disposition == CREATE_ALWAYS || opening.disposition == TRUNCATE_EXISTING;
  if (existed && empties && truncate(opened->host_path_.c_str(), 0) != 0 && errno != EINVAL) {
    return ErrorOfErrno(errno);
  }
  if (!existed && (opening.flags & FILE_ATTRIBUTE_READONLY) != 0) {
    fchmod(opened->descriptor(), 0444);
  }
  file = std::move(opened);
  return ERROR_SUCCESS;
}

DWORD File::Read(void* buffer, DWORD size, DWORD& done) {
  done = 0;
  if ((access_ & FILE_READ_DATA) == 0) return ERROR_ACCESS_DENIED;
  const ssize_t result = read(descriptor(), buffer, size);
  if (result < 0) return errno == EFAULT ? ERROR_NOACCESS : ErrorOfErrno(errno);
  done = static_cast<DWORD>(result);
  return ERROR_SUCCESS;
}

DWORD File::Write(const void* data, DWORD size, DWORD& done) {
  done = 0;
  if ((access_ & FILE_WRITE_DATA) == 0) return ERROR_ACCESS_DENIED;
  const ssize_t result = write(descriptor(), data, size);
  if (result < 0) return errno == EFAULT ? ERROR_NOACCESS : ErrorOfErrno(errno);
  done = static_cast<DWORD>(result);
  return ERROR_SUCCESS;
}

DWORD File::WriteAll(const void* data, size_t size) {
  const BYTE* next = static_cast<const BYTE*>(data);
  while (size > 0) {
    DWORD done = 0;
    const DWORD chunk = static_cast<DWORD>(std::min<size_t>(size, 1 << 30));
    const DWORD error = Write(next, chunk, done);
    if (error != ERROR_SUCCESS) return error;
    next += done;
    size -= done;
  }
  return ERROR_SUCCESS;
}

DWORD File::Size(uint64_t& size) const {
  struct stat status;
  if (fstat(descriptor(), &status) != 0) return ErrorOfErrno(errno);
  size = static_cast<uint64_t>(status.st_size);
  return ERROR_SUCCESS;
}

DWORD HostAttributes(const std::filesystem::path& host) {
  struct stat status;
  if (stat(host.c_str(), &status) != 0) return INVALID_FILE_ATTRIBUTES;
  if (S_ISDIR(status.st_mode)) return FILE_ATTRIBUTE_DIRECTORY;
  return FILE_ATTRIBUTE_ARCHIVE | (IsReadOnly(status) ? FILE_ATTRIBUTE_READONLY : 0);
}

DWORD DeleteHostFile(const std::filesystem::path& host) {
  const DWORD attributes = HostAttributes(host);
  if (attributes != INVALID_FILE_ATTRIBUTES &&
      (attributes & (FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_READONLY)) != 0) {
    return ERROR_ACCESS_DENIED;
  }
  SharedDescriptor claim;
  const DWORD error = claim.Open(host, DELETE, kShareAll);
  if (error != ERROR_SUCCESS) return error;
  return unlink(host.c_str()) == 0 ? ERROR_SUCCESS : ErrorOfErrno(errno);
}

DWORD ReadHostFile(int descriptor, size_t limit, std::vector<BYTE>& content) {
  struct stat status;
  if (fstat(descriptor, &status) != 0) return ErrorOfErrno(errno);
  if (static_cast<uint64_t>(status.st_size) > limit) return ERROR_NOT_ENOUGH_MEMORY;
  content.resize(static_cast<size_t>(status.st_size));
  size_t done = 0;
  while (done < content.size()) {
    const ssize_t size =
        pread(descriptor, content.data() + done, content.size() - done, static_cast<off_t>(done));
    if (size < 0) return ErrorOfErrno(errno);
    if (size == 0) break;
    done += static_cast<size_t>(size);
  }
  content.resize(done);
  return ERROR_SUCCESS;
}

}  // namespace platform

using platform::ByteStream;
using platform::File;
using platform::ObjectOf;
using platform::ResolvedPath;
using platform::ResolvePath;
using platform::View;

namespace {

// The usual end of a function that answers with a BOOL.
BOOL Finish(DWORD error) {
  if (error == ERROR_SUCCESS) return TRUE;
  SetLastError(error);
  return FALSE;
}

}  // namespace

DWORD WINAPI GetFileAttributesW(LPCWSTR path) {
  KV_API(GetFileAttributesW, ERROR_ACCESS_DENIED, INVALID_FILE_ATTRIBUTES, path);
  const ResolvedPath resolved = ResolvePath(View(path));
  if (resolved.Exists()) return platform::HostAttributes(resolved.host);
  SetLastError(resolved.error);
  return INVALID_FILE_ATTRIBUTES;
}

HANDLE WINAPI CreateFileW(LPCWSTR path, DWORD access, DWORD share, LPSECURITY_ATTRIBUTES attributes,
                          DWORD disposition, DWORD flags, HANDLE model) {
  KV_API(CreateFileW, ERROR_ACCESS_DENIED, INVALID_HANDLE_VALUE, path, access, share, attributes,
         disposition, flags, model);
  if (model != nullptr) {
    SetLastError(ERROR_CALL_NOT_IMPLEMENTED);
    return INVALID_HANDLE_VALUE;
  }
  std::shared_ptr<File> file;
  bool existed = false;
  const DWORD error = File::Open(View(path), {access, share, disposition, flags}, file, existed);
  if (error != ERROR_SUCCESS) {
    SetLastError(error);
    return INVALID_HANDLE_VALUE;
  }
  const bool reports_existing = disposition == CREATE_ALWAYS || disposition == OPEN_ALWAYS;
  SetLastError(existed && reports_existing ? ERROR_ALREADY_EXISTS : ERROR_SUCCESS);
  return platform::OpenHandle(std::move(file));
}

BOOL WINAPI ReadFile(HANDLE file, LPVOID buffer, DWORD size, LPDWORD read,
                     LPOVERLAPPED overlapped) {
  KV_API(ReadFile, ERROR_READ_FAULT, FALSE, file, buffer, size, read, overlapped);
  if (overlapped != nullptr) return Finish(ERROR_CALL_NOT_IMPLEMENTED);
  if (read == nullptr) return Finish(ERROR_INVALID_PARAMETER);
  *read = 0;
  const auto stream = ObjectOf<ByteStream>(file);
  return Finish(stream == nullptr ? ERROR_INVALID_HANDLE : stream->Read(buffer, size, *read));
}

BOOL WINAPI WriteFile(HANDLE file, LPCVOID data, DWORD size, LPDWORD written,
                      LPOVERLAPPED overlapped) {
  KV_API(WriteFile, ERROR_WRITE_FAULT, FALSE, file, data, size, written, overlapped);
  if (overlapped != nullptr) return Finish(ERROR_CALL_NOT_IMPLEMENTED);
  if (written == nullptr) return Finish(ERROR_INVALID_PARAMETER);
  *written = 0;
  const auto stream = ObjectOf<ByteStream>(file);
  return Finish(stream == nullptr ? ERROR_INVALID_HANDLE : stream->Write(data, size, *written));
}

BOOL WINAPI GetFileSizeEx(HANDLE file, PLARGE_INTEGER size) {
  KV_API(GetFileSizeEx, ERROR_INVALID_HANDLE, FALSE, file, size);
  const auto object = ObjectOf<File>(file);
  if (object == nullptr) return Finish(ERROR_INVALID_HANDLE);
  uint64_t bytes = 0;
  const DWORD error = object->Size(bytes);
  size->QuadPart = static_cast<LONGLONG>(bytes);
  return Finish(error);
}

BOOL WINAPI CopyFileW(LPCWSTR from, LPCWSTR to, BOOL fail_if_exists) {
  KV_API(CopyFileW, ERROR_ACCESS_DENIED, FALSE, from, to, fail_if_exists);
  return Finish(platform::CopyHostFile(View(from), View(to), fail_if_exists != FALSE));
}

BOOL WINAPI DeleteFileW(LPCWSTR path) {
  KV_API(DeleteFileW, ERROR_ACCESS_DENIED, FALSE, path);
  const ResolvedPath resolved = ResolvePath(View(path));
  if (!resolved.Exists()) return Finish(resolved.error);
  if (resolved.is_device) return Finish(ERROR_ACCESS_DENIED);
  return Finish(platform::DeleteHostFile(resolved.host));
}

BOOL WINAPI CreateDirectoryW(LPCWSTR path, LPSECURITY_ATTRIBUTES attributes) {
  KV_API(CreateDirectoryW, ERROR_ACCESS_DENIED, FALSE, path, attributes);
  // A directory must leave room for a file name of the old kind.
  constexpr size_t kLongestDirectory = MAX_PATH - 12;
  const platform::WideView name = View(path);
  if (!name.starts_with(TEXT("\\\\?\\")) && name.size() >= kLongestDirectory) {
    return Finish(ERROR_FILENAME_EXCED_RANGE);
  }
  const ResolvedPath resolved = ResolvePath(name);
  if (resolved.Exists()) return Finish(ERROR_ALREADY_EXISTS);
  if (!resolved.CanBeCreated()) return Finish(resolved.error);
  if (mkdir(resolved.host.c_str(), 0777) == 0) return TRUE;
  return Finish(errno == EEXIST ? ERROR_ALREADY_EXISTS : platform::ErrorOfErrno(errno));
}

DWORD WINAPI GetTempPathW(DWORD capacity, LPWSTR buffer) {
  KV_API(GetTempPathW, ERROR_NOT_ENOUGH_MEMORY, 0, capacity, buffer);
  return platform::CopyOut(platform::TempDirectory() + TEXT("\\"), buffer, capacity);
}
