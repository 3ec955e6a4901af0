#include "platform/kernel/shared_object.h"

#include <errno.h>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <utility>

#include "platform/kernel/clock.h"
#include "platform/kernel/host_error.h"
#include "platform/services/sessions.h"

namespace platform {
namespace {

// The bytes of the file that stand for uses; the content is never locked.
constexpr off_t kLockBytes = INT32_MAX - 15;
constexpr off_t kOpening = kLockBytes;  // while somebody opens or gives up the object
constexpr off_t kInUse = kLockBytes + 1;
constexpr off_t kOwned = kLockBytes + 2;

constexpr size_t kLongestFileName = 200;

struct flock LockOf(short type, off_t at) {
  struct flock lock = {};
  lock.l_type = type;
  lock.l_whence = SEEK_SET;
  lock.l_start = at;
  lock.l_len = 1;
  return lock;
}

bool TryLock(int descriptor, short type, off_t at) {
  struct flock lock = LockOf(type, at);
  return fcntl(descriptor, F_OFD_SETLK, &lock) == 0;
}

void Lock(int descriptor, off_t at) {
  struct flock lock = LockOf(F_WRLCK, at);
  while (fcntl(descriptor, F_OFD_SETLKW, &lock) != 0 && errno == EINTR) {
  }
}

bool LockedByOther(int descriptor, off_t at) {
  struct flock lock = LockOf(F_WRLCK, at);
  return fcntl(descriptor, F_OFD_GETLK, &lock) == 0 && lock.l_type != F_UNLCK;
}

bool LeadsTo(const std::filesystem::path& path, int descriptor) {
  struct stat named, open;
  return stat(path.c_str(), &named) == 0 && fstat(descriptor, &open) == 0 &&
         named.st_ino == open.st_ino && named.st_dev == open.st_dev;
}

SharedState* MapState(int descriptor) {
  void* const address =
      mmap(nullptr, SharedObject::kStateSize, PROT_READ | PROT_WRITE, MAP_SHARED, descriptor, 0);
  return address == MAP_FAILED ? nullptr : static_cast<SharedState*>(address);
}

// Empties the file and fills it with a new object; the error code.
DWORD Begin(int descriptor, const ObjectRequest& request) {
  const off_t whole = static_cast<off_t>(SharedObject::kStateSize + request.size);
  if (ftruncate(descriptor, 0) != 0 || ftruncate(descriptor, whole) != 0) {
    return ErrorOfErrno(errno);
  }
  SharedState* const state = MapState(descriptor);
  if (state == nullptr) return ERROR_NOT_ENOUGH_MEMORY;
  state->kind = static_cast<uint32_t>(request.kind);
  state->value = request.value;
  state->size = request.size;
  munmap(state, SharedObject::kStateSize);
  return ERROR_SUCCESS;
}

}  // namespace

SharedObject::SharedObject(std::filesystem::path path, int descriptor, SharedState* state)
    : path_(std::move(path)), descriptor_(descriptor), state_(state) {}

SharedObject::~SharedObject() {
  Close();
  munmap(state_, kStateSize);
}

std::atomic<uint32_t>* SharedObject::more_state() const {
  return reinterpret_cast<std::atomic<uint32_t>*>(state_ + 1);
}

bool SharedObject::TryOwn() {
  return TryLock(descriptor_, F_WRLCK, kOwned);
}

void SharedObject::Disown() {
  TryLock(descriptor_, F_UNLCK, kOwned);
}

// The last one to have it open deletes the file.
void SharedObject::Close() {
  if (descriptor_ < 0) return;
  Lock(descriptor_, kOpening);
  if (TryLock(descriptor_, F_WRLCK, kInUse) && LeadsTo(path_, descriptor_)) unlink(path_.c_str());
  close(std::exchange(descriptor_, -1));
}

SharedObjects::SharedObjects(Machine& machine) : directory_(machine.directory() / "objects") {
  const int descriptor = open((directory_ / "wakes").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0666);
  if (descriptor < 0) return;
  if (ftruncate(descriptor, sizeof(WakeWord)) == 0) {
    void* const address =
        mmap(nullptr, sizeof(WakeWord), PROT_READ | PROT_WRITE, MAP_SHARED, descriptor, 0);
    if (address != MAP_FAILED) wake_word_ = static_cast<WakeWord*>(address);
  }
  close(descriptor);
  ShareWakes(wake_word_);
}

SharedObjects::~SharedObjects() {
  ShareWakes(nullptr);
  std::lock_guard lock(mutex_);
  for (const auto& [path, known] : open_) {
    const auto object = known.lock();
    if (object == nullptr) continue;
    // A forked process must not touch what it shares with its parent; closing is enough.
    close(std::exchange(object->descriptor_, -1));
  }
  // The word stays mapped for a thread that still wakes up on it.
}

bool SharedObjects::IsInUse(const std::filesystem::path& path) {
  const int descriptor = open(path.c_str(), O_RDWR | O_CLOEXEC);
  if (descriptor < 0) return false;
  const bool used = LockedByOther(descriptor, kInUse);
  close(descriptor);
  return used;
}

DWORD SharedObjects::Open(const ObjectRequest& request, std::shared_ptr<SharedObject>& object,
                          bool& existed) {
  std::lock_guard lock(mutex_);
  std::erase_if(open_, [](const auto& entry) { return entry.second.expired(); });
  if (const auto known = open_.find(request.path); known != open_.end()) {
    object = known->second.lock();
  }
  if (object == nullptr) {
    const DWORD error = OpenFile(request, object, existed);
    if (error == ERROR_SUCCESS) open_[request.path] = object;
    return error;
  }
  existed = true;
  if (object->state().kind == static_cast<uint32_t>(request.kind)) return ERROR_SUCCESS;
  object.reset();
  return ERROR_INVALID_HANDLE;
}

DWORD SharedObjects::OpenFile(const ObjectRequest& request, std::shared_ptr<SharedObject>& object,
                              bool& existed) {
  const int flags = O_RDWR | O_CLOEXEC | (request.create ? O_CREAT : 0);
  int descriptor = -1;
  // The last user may delete the file while this one waits.
  do {
    if (descriptor >= 0) close(descriptor);
    descriptor = open(request.path.c_str(), flags, 0666);
    if (descriptor < 0) return ErrorOfErrno(errno);
    Lock(descriptor, kOpening);
  } while (!LeadsTo(request.path, descriptor));

  existed = LockedByOther(descriptor, kInUse);
  DWORD error = ERROR_SUCCESS;
  if (!existed) {
    error = request.create ? Begin(descriptor, request) : ERROR_FILE_NOT_FOUND;
    if (error != ERROR_SUCCESS) unlink(request.path.c_str());
  }
  SharedState* const state = error == ERROR_SUCCESS ? MapState(descriptor) : nullptr;
  if (error == ERROR_SUCCESS && state == nullptr) error = ERROR_NOT_ENOUGH_MEMORY;
  if (state != nullptr && state->kind != static_cast<uint32_t>(request.kind)) {
    munmap(state, SharedObject::kStateSize);
    error = ERROR_INVALID_HANDLE;
  }
  if (error != ERROR_SUCCESS) {
    close(descriptor);
    return error;
  }
  TryLock(descriptor, F_RDLCK, kInUse);
  TryLock(descriptor, F_UNLCK, kOpening);
  object.reset(new SharedObject(request.path, descriptor, state));
  return ERROR_SUCCESS;
}

DWORD ObjectPath(WideView name, std::filesystem::path& path) {
  constexpr WideView kGlobal = TEXT("Global\\");
  constexpr WideView kLocal = TEXT("Local\\");
  if (name.size() > MAX_PATH) return ERROR_FILENAME_EXCED_RANGE;
  std::string scope = std::to_string(ProcessSession()) + "-";
  if (name.starts_with(kGlobal)) {
    name.remove_prefix(kGlobal.size());
    scope = "g-";
  } else if (name.starts_with(kLocal)) {
    name.remove_prefix(kLocal.size());
  }
  if (name.empty() || name.find('\\') != WideView::npos) return ERROR_PATH_NOT_FOUND;
  path = Machine::Current().Part<SharedObjects>().directory() / (scope + FileNameFor(name));
  return ERROR_SUCCESS;
}

std::string FileNameFor(WideView text) {
  const std::string utf8 = ToUtf8(text);
  std::string name;
  for (const char c : utf8) {
    const bool plain = (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') ||
                       c == '_' || c == '-';
    char escaped[4] = {c, 0};
    if (!plain) std::snprintf(escaped, sizeof escaped, "%%%02X", static_cast<uint8_t>(c));
    name += escaped;
  }
  if (name.size() <= kLongestFileName) return name;
  return name.substr(0, kLongestFileName - 20) + "~" + HashText(utf8);
}

std::string HashText(std::string_view text) {
  uint64_t hash = 14695981039346656037ull;
  for (const char c : text) hash = (hash ^ static_cast<uint8_t>(c)) * 1099511628211ull;
  char digits[17];
  std::snprintf(digits, sizeof digits, "%016llX", static_cast<unsigned long long>(hash));
  return digits;
}

}  // namespace platform
