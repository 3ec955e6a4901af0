#include "platform/kernel/pipes.h"

#include <errno.h>
#include <fcntl.h>
#include <poll.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <utility>

#include "platform/kernel/clock.h"
#include "platform/kernel/host_error.h"
#include "platform/security/users.h"

namespace platform {
namespace {

// One byte of the shared file for each instance, locked while the instance lives.
constexpr off_t kInstances = INT32_MAX - 1024;
constexpr uint32_t kDefaultTimeout = 1000;  // its place behind the disconnections

struct flock InstanceLock(uint32_t instance) {
  struct flock lock = {};
  lock.l_type = F_WRLCK;
  lock.l_whence = SEEK_SET;
  lock.l_start = kInstances + static_cast<off_t>(instance);
  lock.l_len = 1;
  return lock;
}

// Socket addresses are short, the machine's directory may lie deep: this path leads through its
// descriptor.
class SocketAddress {
 public:
  explicit SocketAddress(const std::filesystem::path& socket)
      : directory_(open(socket.parent_path().c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC)) {
    const std::string path =
        "/proc/self/fd/" + std::to_string(directory_) + "/" + socket.filename().string();
    address_.sun_family = AF_UNIX;
    path.copy(address_.sun_path, sizeof address_.sun_path - 1);
  }
  ~SocketAddress() { close(directory_); }
  SocketAddress(const SocketAddress&) = delete;
  SocketAddress& operator=(const SocketAddress&) = delete;

  const sockaddr* get() const { return reinterpret_cast<const sockaddr*>(&address_); }
  static constexpr socklen_t kSize = sizeof(sockaddr_un);

 private:
  int directory_;
  sockaddr_un address_ = {};
};

int NewSocket() {
  return socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
}

// Takes "\\SERVER\pipe\" off the name.
bool TakePrefix(WideView& name, WideView& server) {
  constexpr WideView kPipe = TEXT("pipe\\");
  if (!name.starts_with(TEXT("\\\\"))) return false;
  const size_t end = name.find('\\', 2);
  if (end == WideView::npos || !EqualNoCase(name.substr(end + 1, kPipe.size()), kPipe)) {
    return false;
  }
  server = name.substr(2, end - 2);
  name.remove_prefix(end + 1 + kPipe.size());
  return true;
}

}  // namespace

// What the servers of a pipe share, as others look at it: they do not keep the pipe alive.
class PipeState {
 public:
  explicit PipeState(const PipePlace& place) {
    const int object = open(place.object().c_str(), O_RDONLY | O_CLOEXEC);
    if (object < 0) return;
    struct stat status;
    if (fstat(object, &status) == 0 && status.st_size >= off_t{SharedObject::kStateSize}) {
      state_ = mmap(nullptr, SharedObject::kStateSize, PROT_READ, MAP_SHARED, object, 0);
    }
    close(object);
  }
  ~PipeState() {
    if (state_ != MAP_FAILED) munmap(state_, SharedObject::kStateSize);
  }
  PipeState(const PipeState&) = delete;
  PipeState& operator=(const PipeState&) = delete;

  explicit operator bool() const { return state_ != MAP_FAILED; }
  // The numbers behind the state.
  const std::atomic<uint32_t>* numbers() const {
    return reinterpret_cast<const std::atomic<uint32_t>*>(static_cast<SharedState*>(state_) + 1);
  }

 private:
  void* state_ = MAP_FAILED;
};

namespace {

bool IsClosed(int connection) {
  pollfd looked = {connection, 0, 0};
  return poll(&looked, 1, 0) > 0 && (looked.revents & POLLHUP) != 0;
}

}  // namespace

bool PipePlace::IsPipeName(WideView path) {
  WideView server;
  return TakePrefix(path, server);
}

DWORD PipePlace::Find(WideView name, PipePlace& place) {
  WideView server;
  if (!TakePrefix(name, server) || name.empty()) return ERROR_INVALID_NAME;
  if (server != TEXT(".") && !EqualNoCase(server, ComputerName())) return ERROR_BAD_NETPATH;
  const std::filesystem::path directory =
      Machine::Current().Part<SharedObjects>().directory() / "pipes";
  std::error_code ignored;
  std::filesystem::create_directory(directory, ignored);
  const std::string file = FileNameFor(UpperCase(name));
  place.object_ = directory / file;
  place.socket_stem_ = "s" + HashText(file) + ".";
  return ERROR_SUCCESS;
}

std::filesystem::path PipePlace::socket(uint32_t instance) const {
  return object_.parent_path() / (socket_stem_ + std::to_string(instance));
}

bool PipePlace::Exists() const {
  return SharedObjects::IsInUse(object_);
}

bool PipePlace::HasFreeInstance() const {
  const int descriptor = open(object_.c_str(), O_RDWR | O_CLOEXEC);
  if (descriptor < 0) return false;
  bool found = false;
  for (uint32_t i = 0; i < kMostInstances && !found; ++i) {
    if (access(socket(i).c_str(), F_OK) != 0) continue;
    // A server that died has left its socket, but not its lock.
    struct flock lock = InstanceLock(i);
    found = fcntl(descriptor, F_OFD_GETLK, &lock) == 0 && lock.l_type != F_UNLCK;
  }
  close(descriptor);
  return found;
}

DWORD PipeServer::Create(const PipePlace& place, uint32_t most_instances, DWORD default_timeout,
                         bool read_messages, std::shared_ptr<PipeServer>& server) {
  ObjectRequest request;
  request.path = place.object();
  request.kind = ObjectKind::kPipe;
  request.create = true;
  request.value = most_instances;
  auto made = std::make_shared<PipeServer>();
  made->place_ = place;
  made->SetReadMode(read_messages);
  bool existed = false;
  DWORD error = Machine::Current().Part<SharedObjects>().Open(request, made->object_, existed);
  if (error != ERROR_SUCCESS) return error;
  if (!existed) made->object_->more_state()[kDefaultTimeout] = default_timeout;
  error = made->TakeInstance(made->object_->state().value);
  if (error == ERROR_SUCCESS) error = made->Listen();
  if (error == ERROR_SUCCESS) server = std::move(made);
  return error;
}

bool PipeServer::ReadDefaultTimeout(const PipePlace& place, DWORD& timeout) {
  const PipeState state(place);
  if (state) timeout = state.numbers()[kDefaultTimeout];
  return static_cast<bool>(state);
}

PipeServer::~PipeServer() {
  StopListening();
  Drop();
  if (instance_lock_ >= 0) close(instance_lock_);
}

DWORD PipeServer::TakeInstance(uint32_t most_instances) {
  instance_lock_ = open(place_.object().c_str(), O_RDWR | O_CLOEXEC);
  if (instance_lock_ < 0) return ErrorOfErrno(errno);
  for (instance_ = 0; instance_ < most_instances; ++instance_) {
    struct flock lock = InstanceLock(instance_);
    if (fcntl(instance_lock_, F_OFD_SETLK, &lock) == 0) return ERROR_SUCCESS;
  }
  return ERROR_PIPE_BUSY;
}

DWORD PipeServer::Listen() {
  const std::filesystem::path path = place_.socket(instance_);
  unlink(path.c_str());
  const SocketAddress address(path);
  listener_ = NewSocket();
  // One client may wait to be accepted.
  if (listener_ < 0 || bind(listener_, address.get(), SocketAddress::kSize) != 0 ||
      listen(listener_, 0) != 0) {
    return ErrorOfErrno(errno);
  }
  WakeWaiters();
  return ERROR_SUCCESS;
}

void PipeServer::StopListening() {
  if (listener_ < 0) return;
  close(std::exchange(listener_, -1));
  unlink(place_.socket(instance_).c_str());
}

bool PipeServer::Accept() {
  if (listener_ < 0) return false;
  const int connection = accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK);
  if (connection < 0) return false;
  Adopt(connection);
  StopListening();
  return true;
}

DWORD PipeServer::Check() {
  if (connection() >= 0 || Accept()) return ERROR_SUCCESS;
  return listener_ >= 0 ? ERROR_PIPE_LISTENING : ERROR_PIPE_NOT_CONNECTED;
}

DWORD PipeServer::Connect() {
  if (connection() >= 0 || Accept()) {
    return IsClosed(connection()) ? ERROR_NO_DATA : ERROR_PIPE_CONNECTED;
  }
  if (listener_ < 0) {
    if (const DWORD error = Listen(); error != ERROR_SUCCESS) return error;
  }
  while (!Accept()) {
    pollfd waited = {listener_, POLLIN, 0};
    if (ClockIsVirtual()) {
      WaitOnClock(kNever, [&] { return poll(&waited, 1, 0) > 0; });
    } else {
      poll(&waited, 1, -1);
    }
  }
  return ERROR_SUCCESS;
}

DWORD PipeServer::Disconnect() {
  if (Check() == ERROR_PIPE_NOT_CONNECTED) return ERROR_PIPE_NOT_CONNECTED;
  ++object_->more_state()[instance_];
  StopListening();
  Drop();
  return ERROR_SUCCESS;
}

DWORD PipeClient::Open(WideView name, std::shared_ptr<PipeClient>& client) {
  PipePlace place;
  const DWORD error = PipePlace::Find(name, place);
  if (error != ERROR_SUCCESS) return error;
  if (!place.Exists()) return ERROR_FILE_NOT_FOUND;
  auto opened = std::make_shared<PipeClient>();
  opened->state_ = std::make_unique<PipeState>(place);
  if (!*opened->state_) return ERROR_FILE_NOT_FOUND;
  const int connection = NewSocket();
  if (connection < 0) return ErrorOfErrno(errno);
  opened->Adopt(connection);
  for (uint32_t i = 0; i < PipePlace::kMostInstances; ++i) {
    const std::filesystem::path path = place.socket(i);
    if (access(path.c_str(), F_OK) != 0) continue;
    const SocketAddress address(path);
    opened->disconnections_ = opened->state_->numbers() + i;
    opened->disconnections_before_ = *opened->disconnections_;
    if (connect(connection, address.get(), SocketAddress::kSize) != 0) continue;
    // The instance is taken.
    unlink(path.c_str());
    WakeWaiters();
    client = std::move(opened);
    return ERROR_SUCCESS;
  }
  return ERROR_PIPE_BUSY;
}

PipeClient::PipeClient() = default;
PipeClient::~PipeClient() = default;

DWORD PipeClient::Check() {
  return Lost(ERROR_SUCCESS);
}

// What a server that disconnects has written and nobody has read is gone.
DWORD PipeClient::Lost(DWORD error) const {
  return *disconnections_ != disconnections_before_ ? ERROR_PIPE_NOT_CONNECTED : error;
}

}  // namespace platform
