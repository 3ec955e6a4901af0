// Item identifier lists, the shell's binary paths: items one behind the other, each beginning with
// its size in bytes as a 16-bit number (these two bytes included), ended by a size of 0. A null
// list counts as an empty one.
#pragma once

#include <shlobj.h>

#include "runtime/core/handles.h"

namespace kv {

struct ItemListTraits {
  using Handle = PIDLIST_ABSOLUTE;
  static Handle Empty() { return nullptr; }
  static void Close(Handle list) { CoTaskMemFree(list); }
};
// A list from the task allocator.
using UniqueItemList = UniqueResource<ItemListTraits>;

// The size in bytes without the terminating zero size.
UINT ItemListSize(PCIDLIST_ABSOLUTE list);
// Whether `list` begins with all bytes of `start`; every list begins with the empty one.
BOOL ItemListStartsWith(PCIDLIST_ABSOLUTE list, PCIDLIST_ABSOLUTE start);
// A new list, freed with CoTaskMemFree: `first`, then `second`, and a zero size. Null when the
// allocation fails.
PIDLIST_ABSOLUTE ItemListConcat(PCIDLIST_ABSOLUTE first, PCIDLIST_ABSOLUTE second);

}  // namespace kv
