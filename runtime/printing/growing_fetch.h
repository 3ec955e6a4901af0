// Fetching what does not fit at first: how all requests for blocks of unknown size go.
#pragma once

#include "runtime/printing/heap_block.h"

namespace kv {

enum class FetchResult {
  kDone,
  kRefused,      // by the call, with its last error
  kNoMemory,     // ERROR_NOT_ENOUGH_MEMORY
  kNeverFitted,  // more was asked for each time; the call's last error
};

// Calls `fetch(buffer, size, &needed)`, which returns a BOOL, for the size and then, five times at
// most, with a zeroed block of that size and `extra` bytes more that the call is not told of; what
// is to be fetched may grow meanwhile. `tooSmall` is the last error with which the call asks for
// more room. On kDone `block` holds what was fetched and `size` the size that the call was given;
// else both are left as they were, so that `fetch` may use what is in the block.
template <class Fetch>
FetchResult FetchGrowing(UniqueBlock<BYTE>& block, DWORD& size, size_t extra, Fetch fetch,
                         DWORD tooSmall = ERROR_INSUFFICIENT_BUFFER) {
  constexpr int kAttempts = 5;
  DWORD needed = 0;
  SetLastError(ERROR_SUCCESS);
  if (!fetch(nullptr, 0, &needed) && GetLastError() != tooSmall) return FetchResult::kRefused;
  for (int attempt = 0; attempt < kAttempts; ++attempt) {
    const DWORD room = needed;
    const size_t bytes = room + extra;
    UniqueBlock<BYTE> larger(bytes < extra ? nullptr : static_cast<BYTE*>(AllocateBlock(bytes)));
    if (larger == nullptr) {
      SetLastError(ERROR_NOT_ENOUGH_MEMORY);
      return FetchResult::kNoMemory;
    }
    if (fetch(larger.get(), room, &needed)) {
      block = std::move(larger);
      size = room;
      return FetchResult::kDone;
    }
    if (GetLastError() != tooSmall) return FetchResult::kRefused;
  }
  return FetchResult::kNeverFitted;
}

}  // namespace kv
