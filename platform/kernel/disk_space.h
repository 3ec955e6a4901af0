// The space left on the machine's drives, where the facts limit it.
#pragma once

#include <cstdint>
#include <mutex>
#include <string>

#include "platform/kernel/machine.h"
#include "platform/kernel/shared_descriptor.h"

namespace platform {

// What this process may still add to files (facts::kDiskFreeBytes). The count begins anew whenever
// the fact is set to something else.
class DiskSpace {
 public:
  explicit DiskSpace(Machine& machine) : machine_(machine) {}
  // Takes the bytes by which a file grows from `size` to `wanted`, or gives back what it shrinks
  // by. ERROR_DISK_FULL, and nothing taken, when they are not there.
  DWORD Change(uint64_t size, uint64_t wanted);
  bool IsLimited() const;

 private:
  Machine& machine_;
  std::mutex mutex_;
  std::string said_;
  uint64_t left_ = 0;
};

// Gives an open file another length; what is added is zero. ERROR_DISK_FULL, and
// ERROR_USER_MAPPED_FILE for cutting a file that is mapped.
DWORD ResizeFile(const SharedDescriptor& file, uint64_t size);

}  // namespace platform
