#include "runtime/core/resource_text.h"

#include <string.h>

#include <algorithm>
#include <bit>
#include <memory>
#include <new>

#include "runtime/core/startup_context.h"
#include "runtime/text/wide_text.h"

namespace kv {
namespace {

constexpr int kStringCapacity = 1024;
constexpr WCHAR kInsertMark = '^';

// The number of the insert at the start of `text`, or 0.
unsigned InsertNumber(WideView text) {
  if (text.size() < 2 || text[0] != kInsertMark || text[1] < '1' || text[1] > '8') return 0;
  return text[1] - '0';
}

size_t CountDistinctInserts(WideView text) {
  unsigned seen = 0;
  for (; !text.empty(); text.remove_prefix(1)) seen |= 1u << InsertNumber(text);
  return std::popcount(seen & ~1u);
}

// Writes `text` with its inserts to `output`, a different buffer.
void Fill(WideView text, LPWSTR output, size_t capacity, Inserts inserts) {
  const size_t count = std::min(CountDistinctInserts(text), inserts.size());
  size_t length = 0;
  const auto append = [&](WideView piece) {
    piece = piece.substr(0, WholeLength(piece, capacity - 1 - length));
    piece.copy(output + length, piece.size());
    length += piece.size();
  };
  while (!text.empty()) {
    const unsigned number = InsertNumber(text);
    if (number != 0) {
      if (number <= count) append(View(inserts[number - 1]));
      text.remove_prefix(2);
    } else {
      const size_t end = std::min(text.find(kInsertMark, 1), text.size());
      append(text.substr(0, end));
      text.remove_prefix(end);
    }
  }
  output[length] = 0;
}

}  // namespace

LPWSTR LoadResourceStringV(LPWSTR output, int capacity, UINT number, Inserts inserts) {
  if (capacity <= 0) return output;
  output[0] = 0;
  if (startupContext.hResources == nullptr) return output;
  WCHAR text[kStringCapacity];
  if (LoadStringW(startupContext.hResources, number, text, kStringCapacity) <= 0) return output;
  return FillInserts(text, output, capacity, inserts);
}

LPWSTR FillInserts(LPCWSTR text, LPWSTR output, int capacity, Inserts inserts) {
  if (capacity <= 0) return output;
  const WideView whole = View(text);
  if (text != output) {
    Fill(whole, output, capacity, inserts);
    return output;
  }
  const std::unique_ptr<WCHAR[]> copy(new (std::nothrow) WCHAR[whole.size() + 1]);
  if (copy == nullptr) {
    output[0] = 0;
    return output;
  }
  memcpy(copy.get(), whole.data(), whole.size() * sizeof(WCHAR));
  Fill(WideView(copy.get(), whole.size()), output, capacity, inserts);
  return output;
}

LPWSTR FillTwoInserts(LPCWSTR text, LPWSTR output, int capacity, LPCWSTR insert1, LPCWSTR insert2) {
  const LPCWSTR inserts[] = {insert1, insert2};
  return FillInserts(text, output, capacity, inserts);
}

}  // namespace kv
