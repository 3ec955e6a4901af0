// Lists that the spooler packs into one buffer: ports, monitors, printers, drivers.
#pragma once

#include "runtime/printing/growing_fetch.h"

namespace kv {

// The records of one Enum… call. Record is the platform's structure of the level asked for; the
// strings that records point at live in the same block.
template <class Record>
class SpoolerList {
 public:
  // Calls `enumerate(buffer, size, &needed, &count)`, which may use what the list still holds, as
  // FetchGrowing does: what is added meanwhile makes it try again, five times at most. FALSE, with
  // an empty list and the call's last error; ERROR_NOT_ENOUGH_MEMORY when memory runs out.
  template <class Enumerate>
  BOOL Fetch(Enumerate enumerate) {
    DWORD size = 0, count = 0;
    const FetchResult result =
        FetchGrowing(block_, size, 0, [&](BYTE* buffer, DWORD room, DWORD* needed) -> BOOL {
          return enumerate(buffer, room, needed, &count);
        });
    count_ = result == FetchResult::kDone ? count : 0;
    return result == FetchResult::kDone;
  }

  DWORD count() const { return count_; }
  const Record* begin() const { return reinterpret_cast<const Record*>(block_.get()); }
  const Record* end() const { return begin() + count_; }
  const Record& operator[](DWORD index) const { return begin()[index]; }

 private:
  UniqueBlock<BYTE> block_;
  DWORD count_ = 0;
};

}  // namespace kv
