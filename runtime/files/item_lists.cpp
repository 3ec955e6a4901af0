#include "runtime/files/item_lists.h"

#include <cstring>

namespace kv {
namespace {

const BYTE* BytesOf(PCIDLIST_ABSOLUTE list) {
  return reinterpret_cast<const BYTE*>(list);
}

// Items may begin at odd addresses.
USHORT SizeOfItem(const BYTE* item) {
  return static_cast<USHORT>(item[0] | item[1] << 8);
}

}  // namespace

UINT ItemListSize(PCIDLIST_ABSOLUTE list) {
  if (list == nullptr) return 0;
  UINT size = 0;
  while (const USHORT item = SizeOfItem(BytesOf(list) + size)) size += item;
  return size;
}

BOOL ItemListStartsWith(PCIDLIST_ABSOLUTE list, PCIDLIST_ABSOLUTE start) {
  const UINT size = ItemListSize(start);
  return size == 0 || (ItemListSize(list) >= size && std::memcmp(list, start, size) == 0);
}

PIDLIST_ABSOLUTE ItemListConcat(PCIDLIST_ABSOLUTE first, PCIDLIST_ABSOLUTE second) {
  constexpr UINT kTerminator = sizeof(USHORT);
  const UINT firstSize = ItemListSize(first), secondSize = ItemListSize(second);
  auto* const bytes = static_cast<BYTE*>(CoTaskMemAlloc(firstSize + secondSize + kTerminator));
  if (bytes == nullptr) return nullptr;
  if (firstSize != 0) std::memcpy(bytes, first, firstSize);
  if (secondSize != 0) std::memcpy(bytes + firstSize, second, secondSize);
  std::memset(bytes + firstSize + secondSize, 0, kTerminator);
  return reinterpret_cast<PIDLIST_ABSOLUTE>(bytes);
}

}  // namespace kv
