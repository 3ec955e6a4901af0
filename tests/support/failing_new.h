// Lets the n-th allocation of the product fail. Allocations that the layer makes for itself are
// spared.
#pragma once

#include <cstdint>

namespace kv::test {

// The n-th next allocation with new (1 = the next one) of the product fails: null from the nothrow
// forms, bad_alloc from the others. 0: none fails.
void FailAllocation(uint64_t nth);
// Allocations of the product since the last FailAllocation.
uint64_t ProductAllocations();
// Whether the chosen allocation has failed.
bool AllocationFailed();

}  // namespace kv::test
