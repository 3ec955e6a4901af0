// Fetching what does not fit at first: how all requests to the spooler for one structure go.
#pragma once

#include "runtime/core/flags.h"
#include "runtime/core/messages.h"
#include "runtime/printing/heap_block.h"
#include "runtime/text/format.h"

namespace kv {

// What failures are called in reports.
struct FetchNames {
  LPCWSTR call;        // the function
  LPCWSTR levelCall;   // the same as a format with the level, for levels that do not exist
  LPCWSTR allocation;  // when memory runs out
};

// Calls `fetch(buffer, size, &needed)` for the size and then, five times at most, with a zeroed
// block of that size and `extra` bytes more that the call is not told of. `written` gets the size
// that the successful call was given. Null on failure, reported unless `quiet`.
template <class Fetch>
UniqueBlock<BYTE> FetchBlock(const FetchNames& names, DWORD level, Quiet quiet, size_t extra,
                             DWORD* written, Fetch fetch) {
  constexpr int kAttempts = 5;
  const bool reports = quiet == Quiet::kNo;
  DWORD needed = 0;
  SetLastError(ERROR_SUCCESS);
  if (!fetch(nullptr, 0, &needed) && GetLastError() != ERROR_INSUFFICIENT_BUFFER) {
    if (!reports) return nullptr;
    const DWORD error = GetLastError();
    WCHAR call[64];
    FormatText(call, error == ERROR_INVALID_LEVEL ? names.levelCall : names.call,
               static_cast<int>(level));
    ShowErrorCode(call, error);
    return nullptr;
  }
  for (int attempt = 0; attempt < kAttempts; ++attempt) {
    const DWORD size = needed;
    UniqueBlock<BYTE> block(static_cast<BYTE*>(AllocateBlock(size + extra)));
    if (block == nullptr) {
      if (reports) ShowInternalError(names.allocation);
      return nullptr;
    }
    if (fetch(block.get(), size, &needed)) {
      *written = size;
      return block;
    }
    if (GetLastError() != ERROR_INSUFFICIENT_BUFFER) {
      if (reports) ShowLastError(names.call);
      return nullptr;
    }
  }
  return nullptr;
}

}  // namespace kv
