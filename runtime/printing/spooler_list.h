// Lists that the spooler packs into one buffer: ports, monitors, printers, drivers.
#pragma once

#include <memory>
#include <new>

#include "runtime/core/win.h"

namespace kv {

// The records of one Enum… call. Record is the platform's structure of the level asked for; the
// strings that records point at live in the same block.
template <class Record>
class SpoolerList {
 public:
  // Calls `enumerate(buffer, size, &needed, &count)` with a buffer that grows until everything
  // fits, five times at most. FALSE with the call's last error; ERROR_NOT_ENOUGH_MEMORY when memory
  // runs out.
  template <class Enumerate>
  BOOL Fetch(Enumerate enumerate) {
    constexpr int kAttempts = 5;
    count_ = 0;
    DWORD needed = 0;
    if (enumerate(nullptr, 0, &needed, &count_)) return TRUE;
    for (int attempt = 0; attempt < kAttempts && GetLastError() == ERROR_INSUFFICIENT_BUFFER;
         ++attempt) {
      const DWORD size = needed;
      block_.reset(new (std::nothrow) BYTE[size]);
      if (block_ == nullptr) {
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return FALSE;
      }
      if (enumerate(block_.get(), size, &needed, &count_)) return TRUE;
    }
    count_ = 0;
    return FALSE;
  }

  DWORD count() const { return count_; }
  const Record* begin() const { return reinterpret_cast<const Record*>(block_.get()); }
  const Record* end() const { return begin() + count_; }

 private:
  std::unique_ptr<BYTE[]> block_;
  DWORD count_ = 0;
};

}  // namespace kv
