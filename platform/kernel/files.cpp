#include "platform/kernel/files.h"

#include <errno.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdint>
#include <utility>

#include "platform/kernel/api_call.h"
#include "platform/kernel/console.h"
#include "platform/kernel/disk_space.h"
#include "platform/kernel/host_error.h"
#include "platform/kernel/pipes.h"
#include "platform/kernel/result.h"

namespace platform {
namespace {

constexpr DWORD kKnownFlags = 0xFFFF | FILE_FLAG_WRITE_THROUGH | FILE_FLAG_RANDOM_ACCESS |
                              FILE_FLAG_SEQUENTIAL_SCAN | FILE_FLAG_BACKUP_SEMANTICS;
constexpr DWORD kKnownAccess =
    GENERIC_READ | GENERIC_WRITE | GENERIC_ALL | FILE_READ_DATA | FILE_WRITE_DATA | DELETE;
constexpr DWORD kHiddenAttributes = FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM;
// What another process may do to a path between two looks at it.
constexpr int kMostRaces = 16;

DWORD SpecificAccess(DWORD access) {
  if ((access & (GENERIC_READ | GENERIC_ALL)) != 0) access |= FILE_READ_DATA;
  if ((access & (GENERIC_WRITE | GENERIC_ALL)) != 0) access |= FILE_WRITE_DATA;
  if ((access & GENERIC_ALL) != 0) access |= DELETE;
  return access & (FILE_READ_DATA | FILE_WRITE_DATA | DELETE);
}

bool Empties(DWORD disposition) {
  return disposition == CREATE_ALWAYS || disposition == TRUNCATE_EXISTING;
}

bool MayCreate(DWORD disposition) {
  return disposition == CREATE_NEW || disposition == CREATE_ALWAYS || disposition == OPEN_ALWAYS;
}

// The error for opening what is already there.
DWORD CheckExisting(const std::filesystem::path& host, const File::Opening& opening, DWORD access) {
  const DWORD attributes = HostAttributes(host);
  if (attributes == INVALID_FILE_ATTRIBUTES) return ErrorOfErrno(errno);
  if (opening.disposition == CREATE_NEW) return ERROR_FILE_EXISTS;
  if ((attributes & FILE_ATTRIBUTE_DIRECTORY) != 0) {
    const bool is_asked_about = (opening.flags & FILE_FLAG_BACKUP_SEMANTICS) != 0;
    if (!is_asked_about) return ERROR_ACCESS_DENIED;
    const bool usual = access == 0 && opening.disposition == OPEN_EXISTING;
    return usual ? ERROR_SUCCESS : ERROR_CALL_NOT_IMPLEMENTED;
  }
  const bool changes = (access & FILE_WRITE_DATA) != 0 || Empties(opening.disposition);
  if ((attributes & FILE_ATTRIBUTE_READONLY) != 0 && changes) return ERROR_ACCESS_DENIED;
  // Who replaces a hidden file must say that it is one.
  const bool uncovers = (attributes & kHiddenAttributes & ~opening.flags) != 0;
  if (opening.disposition == CREATE_ALWAYS && uncovers) return ERROR_ACCESS_DENIED;
  return ERROR_SUCCESS;
}

DWORD CheckOpening(const File::Opening& opening, DWORD access) {
  if (opening.disposition < CREATE_NEW || opening.disposition > TRUNCATE_EXISTING) {
    return ERROR_INVALID_PARAMETER;
  }
  if (opening.disposition == TRUNCATE_EXISTING && (access & FILE_WRITE_DATA) == 0) {
    return ERROR_INVALID_PARAMETER;
  }
  if ((opening.share & ~kShareAll) != 0) return ERROR_INVALID_PARAMETER;
  const bool known = (opening.flags & ~kKnownFlags) == 0 && (opening.access & ~kKnownAccess) == 0;
  return known ? ERROR_SUCCESS : ERROR_CALL_NOT_IMPLEMENTED;
}

}  // namespace

// One try; ERROR_FILE_NOT_FOUND or ERROR_FILE_EXISTS where another process was faster.
DWORD File::OpenOnce(const ResolvedPath& path, const Opening& opening, bool existed) {
  host_path_ = path.host;
  // Everybody may use a device at the same time.
  const DWORD share = path.is_device ? kShareAll : opening.share;
  DWORD error = shared_.Open(path.host, access_, share, existed ? 0 : O_CREAT | O_EXCL);
  if (error != ERROR_SUCCESS || path.is_device) return error;
  if (existed && Empties(opening.disposition)) error = ResizeFile(shared_, 0);
  const bool is_new = !existed || opening.disposition == CREATE_ALWAYS;
  struct stat status;
  if (error == ERROR_SUCCESS && is_new && fstat(descriptor(), &status) == 0) {
    const DWORD attributes = opening.flags | FILE_ATTRIBUTE_ARCHIVE;
    fchmod(descriptor(), ModeWithAttributes(status.st_mode & 0777, attributes));
  }
  return error;
}

DWORD File::Open(WideView path, const Opening& opening, std::shared_ptr<File>& file,
                 bool& existed) {
  const DWORD access = SpecificAccess(opening.access);
  DWORD error = CheckOpening(opening, access);
  if (error != ERROR_SUCCESS) return error;

  auto opened = std::make_shared<File>();
  opened->access_ = access;
  for (int attempt = 0; attempt < kMostRaces; ++attempt) {
    const ResolvedPath resolved = ResolvePath(path);
    existed = resolved.Exists();
    error = ERROR_SUCCESS;
    if (existed) {
      if (!resolved.is_device) error = CheckExisting(resolved.host, opening, access);
    } else if (!resolved.CanBeCreated() || !MayCreate(opening.disposition)) {
      error = resolved.error;
    } else if (path.back() == '\\' || path.back() == '/') {
      error = ERROR_INVALID_NAME;
    }
    if (error == ERROR_SUCCESS) error = opened->OpenOnce(resolved, opening, existed);
    const bool overtaken = existed ? error == ERROR_FILE_NOT_FOUND
                                   : error == ERROR_FILE_EXISTS && MayCreate(opening.disposition);
    if (!overtaken) break;
  }
  if (error == ERROR_SUCCESS) file = std::move(opened);
  return error;
}

DWORD File::Read(void* buffer, DWORD size, DWORD& done) {
  done = 0;
  if ((access_ & FILE_READ_DATA) == 0) return ERROR_ACCESS_DENIED;
  const ssize_t result = read(descriptor(), buffer, size);
  if (result < 0) return errno == EFAULT ? ERROR_NOACCESS : ErrorOfErrno(errno);
  done = static_cast<DWORD>(result);
  return ERROR_SUCCESS;
}

// Takes the room that a write at the current position needs.
DWORD File::TakeSpace(DWORD size) const {
  DiskSpace& space = Machine::Current().Part<DiskSpace>();
  const off_t position = space.IsLimited() ? lseek(descriptor(), 0, SEEK_CUR) : -1;
  uint64_t now = 0;
  if (position < 0 || Size(now) != ERROR_SUCCESS) return ERROR_SUCCESS;
  return space.Change(now, std::max<uint64_t>(now, static_cast<uint64_t>(position) + size));
}

DWORD File::Write(const void* data, DWORD size, DWORD& done) {
  done = 0;
  if ((access_ & FILE_WRITE_DATA) == 0) return ERROR_ACCESS_DENIED;
  const DWORD error = TakeSpace(size);
  if (error != ERROR_SUCCESS) return error;
  const ssize_t result = write(descriptor(), data, size);
  if (result < 0) return errno == EFAULT ? ERROR_NOACCESS : ErrorOfErrno(errno);
  if (!std::exchange(marked_for_archive_, true)) MarkForArchive(descriptor());
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

DWORD File::Seek(int64_t distance, DWORD method, int64_t& position) {
  static_assert(FILE_BEGIN == SEEK_SET && FILE_CURRENT == SEEK_CUR && FILE_END == SEEK_END);
  if (method > FILE_END) return ERROR_INVALID_PARAMETER;
  const off_t result = lseek(descriptor(), distance, static_cast<int>(method));
  if (result < 0) return errno == EINVAL ? ERROR_NEGATIVE_SEEK : ErrorOfErrno(errno);
  position = result;
  return ERROR_SUCCESS;
}

DWORD File::SetEnd() {
  if ((access_ & FILE_WRITE_DATA) == 0) return ERROR_ACCESS_DENIED;
  int64_t position = 0;
  const DWORD error = Seek(0, FILE_CURRENT, position);
  return error != ERROR_SUCCESS ? error : ResizeFile(shared_, static_cast<uint64_t>(position));
}

HANDLE OpenPipeClient(WideView name, const File::Opening& opening) {
  const bool known = opening.access == (GENERIC_READ | GENERIC_WRITE) && opening.share == 0 &&
                     opening.disposition == OPEN_EXISTING && opening.flags == 0;
  std::shared_ptr<PipeClient> client;
  const DWORD error = known ? PipeClient::Open(name, client) : ERROR_CALL_NOT_IMPLEMENTED;
  return Finish(error) ? OpenHandle(std::move(client)) : INVALID_HANDLE_VALUE;
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

using namespace platform;

HANDLE WINAPI CreateFileW(LPCWSTR path, DWORD access, DWORD share, LPSECURITY_ATTRIBUTES attributes,
                          DWORD disposition, DWORD flags, HANDLE model) {
  KV_API(CreateFileW, ERROR_ACCESS_DENIED, INVALID_HANDLE_VALUE, path, access, share, attributes,
         disposition, flags, model);
  if (model != nullptr) {
    SetLastError(ERROR_CALL_NOT_IMPLEMENTED);
    return INVALID_HANDLE_VALUE;
  }
  if (PipePlace::IsPipeName(View(path))) {
    return OpenPipeClient(View(path), {access, share, disposition, flags});
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
  return OpenHandle(std::move(file));
}

BOOL WINAPI ReadFile(HANDLE file, LPVOID buffer, DWORD size, LPDWORD read,
                     LPOVERLAPPED overlapped) {
  KV_API(ReadFile, ERROR_READ_FAULT, FALSE, file, buffer, size, read, overlapped);
  if (overlapped != nullptr) return Finish(ERROR_CALL_NOT_IMPLEMENTED);
  if (read == nullptr) return Finish(ERROR_INVALID_PARAMETER);
  *read = 0;
  if (const int descriptor = StandardDescriptor(file); descriptor == STDIN_FILENO) {
    const ssize_t count = ::read(descriptor, buffer, size);
    if (count < 0) return Finish(ERROR_READ_FAULT);
    *read = static_cast<DWORD>(count);
    return TRUE;
  }
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

DWORD WINAPI GetFileSize(HANDLE file, LPDWORD size_high) {
  KV_API(GetFileSize, ERROR_INVALID_HANDLE, INVALID_FILE_SIZE, file, size_high);
  const auto object = ObjectOf<File>(file);
  uint64_t bytes = 0;
  const DWORD error = object == nullptr ? ERROR_INVALID_HANDLE : object->Size(bytes);
  if (error != ERROR_SUCCESS) {
    SetLastError(error);
    return INVALID_FILE_SIZE;
  }
  if (size_high != nullptr) *size_high = static_cast<DWORD>(bytes >> 32);
  // A size may look like the failure.
  if (static_cast<DWORD>(bytes) == INVALID_FILE_SIZE) SetLastError(ERROR_SUCCESS);
  return static_cast<DWORD>(bytes);
}

BOOL WINAPI GetFileInformationByHandle(HANDLE file, LPBY_HANDLE_FILE_INFORMATION information) {
  KV_API(GetFileInformationByHandle, ERROR_INVALID_HANDLE, FALSE, file, information);
  const auto object = ObjectOf<File>(file);
  FileFacts facts;
  if (object == nullptr || !ReadFileFacts(object->descriptor(), facts)) {
    return Finish(ERROR_INVALID_HANDLE);
  }
  *information = {facts.attributes,
                  facts.created,
                  facts.accessed,
                  facts.written,
                  facts.volume,
                  static_cast<DWORD>(facts.size >> 32),
                  static_cast<DWORD>(facts.size),
                  facts.links,
                  static_cast<DWORD>(facts.index >> 32),
                  static_cast<DWORD>(facts.index)};
  return TRUE;
}

DWORD WINAPI SetFilePointer(HANDLE file, LONG distance, PLONG distance_high, DWORD method) {
  KV_API(SetFilePointer, ERROR_NEGATIVE_SEEK, INVALID_SET_FILE_POINTER, file, distance,
         distance_high, method);
  const auto object = ObjectOf<File>(file);
  int64_t before = 0, position = 0;
  DWORD error = object == nullptr ? ERROR_INVALID_HANDLE : object->Seek(0, FILE_CURRENT, before);
  const int64_t whole = distance_high == nullptr
                            ? distance
                            : static_cast<int64_t>(static_cast<uint64_t>(*distance_high) << 32 |
                                                   static_cast<DWORD>(distance));
  if (error == ERROR_SUCCESS) error = object->Seek(whole, method, position);
  if (error == ERROR_SUCCESS && distance_high == nullptr && position > 0xFFFFFFFF) {
    object->Seek(before, FILE_BEGIN, before);
    error = ERROR_INVALID_PARAMETER;
  }
  if (error != ERROR_SUCCESS) {
    SetLastError(error);
    return INVALID_SET_FILE_POINTER;
  }
  if (distance_high != nullptr) *distance_high = static_cast<LONG>(position >> 32);
  if (static_cast<DWORD>(position) == INVALID_SET_FILE_POINTER) SetLastError(ERROR_SUCCESS);
  return static_cast<DWORD>(position);
}

BOOL WINAPI SetEndOfFile(HANDLE file) {
  KV_API(SetEndOfFile, ERROR_ACCESS_DENIED, FALSE, file);
  const auto object = ObjectOf<File>(file);
  return Finish(object == nullptr ? ERROR_INVALID_HANDLE : object->SetEnd());
}
