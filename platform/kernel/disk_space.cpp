#include "platform/kernel/disk_space.h"

#include <errno.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>

#include "platform/control/facts.h"
#include "platform/kernel/host_error.h"

namespace platform {

bool DiskSpace::IsLimited() const {
  return !machine_.facts().Get(facts::kDiskFreeBytes, {}).empty();
}

DWORD DiskSpace::Change(uint64_t size, uint64_t wanted) {
  const std::string said = machine_.facts().Get(facts::kDiskFreeBytes, {});
  if (said.empty()) return ERROR_SUCCESS;
  std::lock_guard lock(mutex_);
  if (said != said_) {
    said_ = said;
    left_ = std::strtoull(said.c_str(), nullptr, 0);
  }
  if (wanted > size && wanted - size > left_) return ERROR_DISK_FULL;
  left_ += size;
  left_ -= wanted;
  return ERROR_SUCCESS;
}

DWORD ResizeFile(const SharedDescriptor& file, uint64_t size) {
  struct stat status;
  if (fstat(file.get(), &status) != 0) return ErrorOfErrno(errno);
  const uint64_t old_size = static_cast<uint64_t>(status.st_size);
  if (size < old_size && file.IsMapped()) return ERROR_USER_MAPPED_FILE;
  DiskSpace& space = Machine::Current().Part<DiskSpace>();
  const DWORD error = space.Change(old_size, size);
  if (error != ERROR_SUCCESS) return error;
  // By its path: the file may be open for reading only.
  if (truncate(file.host_path().c_str(), static_cast<off_t>(size)) == 0) return ERROR_SUCCESS;
  const DWORD refused = ErrorOfErrno(errno);
  space.Change(size, old_size);
  return refused;
}

}  // namespace platform
