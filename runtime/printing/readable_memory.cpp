#include "runtime/printing/readable_memory.h"

namespace kv {
namespace {

bool IsReadableRegion(const MEMORY_BASIC_INFORMATION& region) {
  constexpr DWORD kUnreadable = PAGE_NOACCESS | PAGE_GUARD | PAGE_EXECUTE;
  return region.State == MEM_COMMIT && region.Protect != 0 && (region.Protect & kUnreadable) == 0;
}

bool AreBytesReadable(UINT_PTR first, UINT_PTR last) {
  for (UINT_PTR address = first; address <= last;) {
    MEMORY_BASIC_INFORMATION region;
    if (VirtualQuery(reinterpret_cast<const void*>(address), &region, sizeof(region)) !=
            sizeof(region) ||
        !IsReadableRegion(region)) {
      return false;
    }
    const UINT_PTR end = reinterpret_cast<UINT_PTR>(region.BaseAddress) + region.RegionSize;
    // A region that ends with the address space ends at 0.
    if (end <= address) return true;
    address = end;
  }
  return true;
}

}  // namespace

BOOL IsReadable(const void* address, size_t size) {
  if (size == 0) return TRUE;
  const UINT_PTR first = reinterpret_cast<UINT_PTR>(address);
  const UINT_PTR last = first + (size - 1);
  if (first == 0 || last < first) return FALSE;
  const DWORD error = GetLastError();
  const bool readable = AreBytesReadable(first, last);
  SetLastError(error);
  return readable;
}

}  // namespace kv
