// Pointers that come from elsewhere.
#pragma once

#include "runtime/core/win.h"

namespace kv {

// Whether `size` bytes at `address` can be read now, whatever the address is: the system is asked
// what is there, region by region, and nothing is dereferenced. FALSE for null and when the system
// cannot tell; no bytes can always be read. Leaves the last error alone. The answer holds as long
// as nobody frees the memory.
BOOL IsReadable(const void* address, size_t size);

}  // namespace kv
