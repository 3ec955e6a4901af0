// Fetching single structures of the spooler, with reports.
#pragma once

#include "runtime/core/flags.h"
#include "runtime/core/messages.h"
#include "runtime/printing/growing_fetch.h"
#include "runtime/text/format.h"

namespace kv {

// What failures are called in reports.
struct FetchNames {
  LPCWSTR call;        // the function
  LPCWSTR levelCall;   // the same as a format with the level, for levels that do not exist
  LPCWSTR allocation;  // when memory runs out
};

// FetchGrowing. Null on failure, reported unless `quiet`; a call that never had enough room is not.
// The last error stands behind the report, too.
template <class Fetch>
UniqueBlock<BYTE> FetchBlock(const FetchNames& names, DWORD level, Quiet quiet, size_t extra,
                             DWORD* size, Fetch fetch) {
  UniqueBlock<BYTE> block;
  const FetchResult result = FetchGrowing(block, *size, extra, fetch);
  if (result == FetchResult::kDone || quiet == Quiet::kYes) return block;
  const DWORD error = GetLastError();
  if (result == FetchResult::kNoMemory) ShowInternalError(names.allocation);
  if (result == FetchResult::kRefused) {
    WCHAR call[64];
    FormatText(call, error == ERROR_INVALID_LEVEL ? names.levelCall : names.call,
               static_cast<int>(level));
    ShowErrorCode(call, error);
  }
  return block;
}

}  // namespace kv
