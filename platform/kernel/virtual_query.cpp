// What is at an address.
#include <windows.h>

#include <algorithm>

#include "platform/kernel/api_call.h"
#include "platform/kernel/host_mappings.h"

namespace platform {
namespace {

constexpr uint64_t kPage = 4096;
// Where the space of processes ends.
constexpr uint64_t kSpaceEnd = sizeof(void*) == 4 ? 0xFFFF0000 : 0x7FFFFFFF0000;

DWORD ProtectionOf(const HostMapping& mapping) {
  if (mapping.executable) {
    return mapping.writable   ? PAGE_EXECUTE_READWRITE
           : mapping.readable ? PAGE_EXECUTE_READ
                              : PAGE_EXECUTE;
  }
  return mapping.writable ? PAGE_READWRITE : mapping.readable ? PAGE_READONLY : PAGE_NOACCESS;
}

PVOID ToPointer(uint64_t address) {
  return reinterpret_cast<PVOID>(static_cast<UINT_PTR>(address));
}

MEMORY_BASIC_INFORMATION Describe(uint64_t page) {
  MEMORY_BASIC_INFORMATION information = {};
  information.BaseAddress = ToPointer(page);
  const auto mapping = FindHostMapping(page);
  if (!mapping || mapping->start > page) {
    const uint64_t end = std::min(mapping ? mapping->start : kSpaceEnd, kSpaceEnd);
    information.RegionSize = static_cast<SIZE_T>(end - page);
    information.State = MEM_FREE;
    information.Protect = PAGE_NOACCESS;
    return information;
  }
  information.AllocationBase = ToPointer(mapping->start);
  information.AllocationProtect = information.Protect = ProtectionOf(*mapping);
  information.RegionSize = static_cast<SIZE_T>(mapping->end - page);
  information.State = MEM_COMMIT;
  information.Type = mapping->of_file ? MEM_MAPPED : MEM_PRIVATE;
  return information;
}

}  // namespace
}  // namespace platform

using namespace platform;

SIZE_T WINAPI VirtualQuery(LPCVOID address, PMEMORY_BASIC_INFORMATION information, SIZE_T size) {
  KV_API(VirtualQuery, ERROR_INVALID_PARAMETER, 0, address, information, size);
  const uint64_t page = reinterpret_cast<UINT_PTR>(address) / kPage * kPage;
  if (size < sizeof *information || page >= kSpaceEnd) {
    SetLastError(page >= kSpaceEnd ? ERROR_INVALID_PARAMETER : ERROR_BAD_LENGTH);
    return 0;
  }
  *information = Describe(page);
  return sizeof *information;
}
