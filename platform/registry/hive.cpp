#include "platform/registry/hive.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "platform/kernel/shared_descriptor.h"

namespace platform {
namespace {

// Below this size a hive is never written anew.
constexpr uint64_t kSmallHive = 256 * 1024;

std::string ReadFrom(int descriptor, uint64_t offset) {
  std::string bytes;
  struct stat now;
  if (fstat(descriptor, &now) != 0 || static_cast<uint64_t>(now.st_size) <= offset) return bytes;
  bytes.resize(static_cast<size_t>(now.st_size - offset));
  size_t filled = 0;
  while (filled < bytes.size()) {
    const ssize_t got =
        pread(descriptor, bytes.data() + filled, bytes.size() - filled, offset + filled);
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0) break;
    filled += got;
  }
  bytes.resize(filled);
  return bytes;
}

bool WriteAll(int descriptor, uint64_t offset, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t written = pwrite(descriptor, bytes.data(), bytes.size(), offset);
    if (written < 0 && errno == EINTR) continue;
    if (written <= 0) return false;
    offset += written;
    bytes.remove_prefix(written);
  }
  return true;
}

bool SetLock(int descriptor, short type) {
  struct flock whole = {};
  whole.l_type = type;
  whole.l_whence = SEEK_SET;
  whole.l_len = SharedDescriptor::kFirstLockByte;
  int result;
  do {
    result = fcntl(descriptor, F_OFD_SETLKW, &whole);
  } while (result != 0 && errno == EINTR);
  return result == 0;
}

}  // namespace

Hive::Hive(std::filesystem::path file, WideString place)
    : file_(std::move(file)), place_(std::move(place)) {}

Hive::~Hive() {
  if (descriptor_ >= 0) close(descriptor_);
}

std::shared_ptr<Hive> Hive::Open(const std::filesystem::path& file, WideString place) {
  std::shared_ptr<Hive> hive(new Hive(file, std::move(place)));
  if (!hive->OpenFile()) return nullptr;
  hive->Replay();
  struct stat now;
  const bool holds_bytes = fstat(hive->descriptor_, &now) == 0 && now.st_size != 0;
  return holds_bytes && hive->replayed_ == 0 ? nullptr : hive;
}

bool Hive::OpenFile() {
  return Adopt(open(file_.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0666));
}

bool Hive::Adopt(int descriptor) {
  if (descriptor_ >= 0) close(descriptor_);
  descriptor_ = descriptor;
  struct stat now;
  if (descriptor_ < 0 || fstat(descriptor_, &now) != 0) return false;
  device_ = now.st_dev;
  inode_ = now.st_ino;
  SharedDescriptor::DenyAll(descriptor_);
  return true;
}

void Hive::Forget() {
  tree_ = KeyTree();
  replayed_ = 0;
}

void Hive::CatchUp() {
  struct stat now;
  // A machine whose directory is gone keeps what was known of it.
  if (stat(file_.c_str(), &now) != 0) return;
  if (now.st_ino != inode_ || now.st_dev != device_) {
    Forget();
    if (!OpenFile()) return;
  } else if (static_cast<uint64_t>(now.st_size) == replayed_) {
    return;
  }
  Replay();
}

void Hive::Replay() {
  const std::string bytes = ReadFrom(descriptor_, replayed_);
  JournalRecord record;
  std::string_view rest = bytes;
  while (const size_t size = ReadRecord(rest, record)) {
    if ((replayed_ == 0) != (record.op == JournalRecord::Op::kHive)) break;
    tree_.Apply(record);
    replayed_ += size;
    rest.remove_prefix(size);
  }
}

bool Hive::IsCurrentFile() const {
  struct stat now;
  return stat(file_.c_str(), &now) == 0 && now.st_ino == inode_ && now.st_dev == device_;
}

// The file may be replaced while we wait for its lock.
bool Hive::LockFile() {
  while (SetLock(descriptor_, F_WRLCK)) {
    if (IsCurrentFile()) return true;
    Forget();
    if (!OpenFile()) return false;
  }
  return false;
}

void Hive::UnlockFile() {
  SetLock(descriptor_, F_UNLCK);
}

LSTATUS Hive::Modify(const std::function<LSTATUS(Change&)>& change) {
  std::lock_guard lock(mutex_);
  if (!LockFile()) return ERROR_CANTWRITE;
  CatchUp();
  Change hive_change(*this);
  if (replayed_ == 0) {
    AppendRecord(hive_change.pending_, {JournalRecord::Op::kHive, 0, tree_.next_id(), {}, {}});
  }
  LSTATUS status = change(hive_change);
  if (status == ERROR_SUCCESS && !Append(hive_change.pending_)) status = ERROR_CANTWRITE;
  if (status != ERROR_SUCCESS && !hive_change.pending_.empty()) {
    Forget();
    Replay();
  }
  if (status == ERROR_SUCCESS) CompactWhenWorthwhile();
  UnlockFile();
  return status;
}

bool Hive::Append(const std::string& bytes) {
  if (bytes.empty()) return true;
  struct stat now;
  if (fstat(descriptor_, &now) != 0) return false;
  // Whatever lies behind the last whole record was left by a writer that died.
  if (static_cast<uint64_t>(now.st_size) != replayed_ && ftruncate(descriptor_, replayed_) != 0) {
    return false;
  }
  if (!WriteAll(descriptor_, replayed_, bytes)) {
    // A record cut short is cut off by the next writer when this fails as well.
    (void)!ftruncate(descriptor_, replayed_);
    return false;
  }
  replayed_ += bytes.size();
  return true;
}

void Hive::CompactWhenWorthwhile() {
  if (replayed_ < kSmallHive || replayed_ / 4 < tree_.live_bytes()) return;
  std::string snapshot;
  tree_.AppendSnapshot(snapshot);
  std::filesystem::path fresh = file_;
  fresh += ".new";
  const int descriptor = open(fresh.c_str(), O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
  if (descriptor < 0) return;
  if (!WriteAll(descriptor, 0, snapshot) || rename(fresh.c_str(), file_.c_str()) != 0) {
    unlink(fresh.c_str());
    close(descriptor);
    return;
  }
  // Closes the old file and so gives up its lock.
  if (Adopt(descriptor)) replayed_ = snapshot.size();
}

LSTATUS Hive::Flush() {
  std::lock_guard lock(mutex_);
  return fdatasync(descriptor_) == 0 ? ERROR_SUCCESS : ERROR_CANTWRITE;
}

void Hive::Change::Apply(const JournalRecord& record) {
  hive_.tree_.Apply(record);
  AppendRecord(pending_, record);
}

void Hive::Change::SetValue(uint32_t key, WideView name, DWORD type, const void* data,
                            size_t size) {
  const auto* bytes = static_cast<const uint8_t*>(data);
  Apply({JournalRecord::Op::kSetValue, key, type, WideString(name), Bytes(bytes, bytes + size)});
}

uint32_t Hive::Change::CreateKey(uint32_t parent, WideView name) {
  const uint32_t id = tree().next_id();
  Apply({JournalRecord::Op::kCreateKey, id, parent, WideString(name), {}});
  return id;
}

}  // namespace platform
