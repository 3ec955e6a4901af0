#include "platform/kernel/shared_descriptor.h"

#include <errno.h>
#include <fcntl.h>
#include <unistd.h>

#include <cstdint>
#include <utility>

#include "platform/kernel/host_error.h"

namespace platform {
namespace {

// An opening is written down as shared locks on single bytes far behind any content: one byte for
// each use, one for each use denied to others. The locks belong to the open file description, so
// the host forgets them with the process.
constexpr off_t kLockBytes = SharedDescriptor::kFirstLockByte;
constexpr off_t kUses = kLockBytes;
constexpr off_t kDenials = kLockBytes + 16;
constexpr off_t kImageByte = kLockBytes + 32;
constexpr off_t kMappedByte = kLockBytes + 33;

struct Use {
  DWORD access;
  DWORD share;
  off_t index;
};
constexpr Use kAllUses[] = {{FILE_READ_DATA, FILE_SHARE_READ, 0},
                            {FILE_WRITE_DATA, FILE_SHARE_WRITE, 1},
                            {DELETE | SharedDescriptor::kRename, FILE_SHARE_DELETE, 2}};

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

}  // namespace

void SharedDescriptor::DenyAll(int descriptor) {
  for (const Use& use : kAllUses) {
    Mark(descriptor, kUses + use.index);
    Mark(descriptor, kDenials + use.index);
  }
}

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

DWORD SharedDescriptor::OpenForMapping(const SharedDescriptor& file, bool writable) {
  const int mode = writable ? O_RDWR : O_RDONLY;
  const int descriptor = open(file.host_path().c_str(), mode | O_CLOEXEC);
  if (descriptor < 0) return ErrorOfErrno(errno);
  SharedDescriptor opened;
  opened.descriptor_ = descriptor;
  Mark(descriptor, kMappedByte);
  std::swap(descriptor_, opened.descriptor_);
  return ERROR_SUCCESS;
}

bool SharedDescriptor::IsMapped() const {
  return MarkedByOther(descriptor_, kMappedByte);
}

std::filesystem::path SharedDescriptor::host_path() const {
  return "/proc/self/fd/" + std::to_string(descriptor_);
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
  const bool in_memory = MarkedByOther(descriptor_, kImageByte) || IsMapped();
  if ((access & DELETE) != 0 && in_memory) return ERROR_ACCESS_DENIED;
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

}  // namespace platform
