#include "platform/kernel/memory.h"

#include <sys/mman.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <limits>
#include <map>
#include <memory>
#include <mutex>
#include <unordered_map>
#include <vector>

#include "platform/kernel/api_call.h"

namespace platform {
namespace {

constexpr SIZE_T kPageSize = 4096;
constexpr SIZE_T kAllocationGranularity = 65536;
constexpr UINT kKnownFlags = GMEM_MOVEABLE | GMEM_ZEROINIT;
constexpr UINT kMostLocks = GMEM_LOCKCOUNT;

void* Allocate(SIZE_T size, bool zeroed) {
  const SIZE_T bytes = std::max<SIZE_T>(size, 1);
  return zeroed ? std::calloc(1, bytes) : std::malloc(bytes);
}

// A block of the process heap, of global or of local memory.
struct Block {
  void* data = nullptr;  // null: discarded
  SIZE_T size = 0;
  bool is_movable = false;
  UINT locks = 0;
  std::unique_ptr<CountedResource> counted;
};

// Handles of fixed blocks are the addresses; those of movable blocks are different and odd by two,
// as on Windows, so that a handle taken for an address shows.
class Blocks {
 public:
  HGLOBAL Allocate(Resource kind, UINT flags, SIZE_T size) {
    auto block = std::make_unique<Block>();
    block->is_movable = (flags & GMEM_MOVEABLE) != 0;
    block->size = size;
    // Movable memory of no size begins its life discarded.
    const bool discarded = block->is_movable && size == 0;
    if (!discarded) {
      block->data = platform::Allocate(size, (flags & GMEM_ZEROINIT) != 0);
      if (block->data == nullptr) return nullptr;
    }
    block->counted = std::make_unique<CountedResource>(kind);
    const HGLOBAL handle =
        block->is_movable ? reinterpret_cast<BYTE*>(block.get()) + 2 : block->data;
    std::lock_guard lock(mutex_);
    blocks_[handle] = std::move(block);
    return handle;
  }

  bool Free(HGLOBAL handle) {
    std::lock_guard lock(mutex_);
    const auto found = blocks_.find(handle);
    if (found == blocks_.end()) return false;
    std::free(found->second->data);
    blocks_.erase(found);
    return true;
  }

  // Calls `use` with the block under the lock; false when the handle is none.
  template <class Use>
  bool With(HGLOBAL handle, Use use) {
    std::lock_guard lock(mutex_);
    const auto found = blocks_.find(handle);
    if (found == blocks_.end()) {
      SetLastError(ERROR_INVALID_HANDLE);
      return false;
    }
    use(*found->second);
    return true;
  }

 private:
  std::mutex mutex_;
  std::unordered_map<HGLOBAL, std::unique_ptr<Block>> blocks_;
};

Blocks& blocks() {
  static Blocks* instance = new Blocks;
  return *instance;
}

// Grows or shrinks a block where it may move; false when memory runs out.
bool Resize(Block& block, SIZE_T size, bool zeroed) {
  void* data = platform::Allocate(size, zeroed);
  if (data == nullptr) return false;
  if (block.data != nullptr) std::memcpy(data, block.data, std::min(size, block.size));
  std::free(block.data);
  block.data = data;
  block.size = size;
  return true;
}

HLOCAL AllocateWithFlags(Resource kind, UINT flags, SIZE_T size) {
  if ((flags & ~kKnownFlags) != 0) {
    SetLastError(ERROR_CALL_NOT_IMPLEMENTED);
    return nullptr;
  }
  const HGLOBAL handle = blocks().Allocate(kind, flags, size);
  if (handle == nullptr) SetLastError(ERROR_NOT_ENOUGH_MEMORY);
  return handle;
}

HGLOBAL FreeHandle(HGLOBAL handle) {
  if (handle == nullptr || blocks().Free(handle)) return nullptr;
  SetLastError(ERROR_INVALID_HANDLE);
  return handle;
}

// One VirtualAlloc: its pages, each with a protection of its own.
struct Region {
  SIZE_T size;
  std::vector<DWORD> protections;
  std::unique_ptr<CountedResource> counted;
};

class Regions {
 public:
  std::mutex mutex;
  std::map<BYTE*, Region> all;

  // The region that holds the whole range, or the end.
  std::map<BYTE*, Region>::iterator Around(BYTE* address, SIZE_T size) {
    auto found = all.upper_bound(address);
    if (found == all.begin()) return all.end();
    --found;
    const SIZE_T offset = static_cast<SIZE_T>(address - found->first);
    return offset < found->second.size && size <= found->second.size - offset ? found : all.end();
  }
};

Regions& regions() {
  static Regions* instance = new Regions;
  return *instance;
}

// The host's protection, or -1 for one that nothing uses.
int HostProtection(DWORD protection) {
  switch (protection) {
    case PAGE_NOACCESS:
      return PROT_NONE;
    case PAGE_READONLY:
      return PROT_READ;
    case PAGE_READWRITE:
      return PROT_READ | PROT_WRITE;
    case PAGE_EXECUTE:
      return PROT_EXEC;
    case PAGE_EXECUTE_READ:
      return PROT_READ | PROT_EXEC;
    case PAGE_EXECUTE_READWRITE:
      return PROT_READ | PROT_WRITE | PROT_EXEC;
    default:
      return -1;
  }
}

SIZE_T RoundedUp(SIZE_T value, SIZE_T to) {
  return (value + to - 1) / to * to;
}

// Memory that begins on a multiple of the allocation granularity; null when there is none.
BYTE* MapPages(SIZE_T size, int protection) {
  if (size > std::numeric_limits<SIZE_T>::max() - kAllocationGranularity) return nullptr;
  const SIZE_T reserved = size + kAllocationGranularity;
  void* mapped = mmap(nullptr, reserved, protection, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (mapped == MAP_FAILED) return nullptr;
  BYTE* const start = static_cast<BYTE*>(mapped);
  BYTE* const aligned = reinterpret_cast<BYTE*>(
      RoundedUp(reinterpret_cast<UINT_PTR>(mapped), kAllocationGranularity));
  const SIZE_T before = static_cast<SIZE_T>(aligned - start);
  if (before > 0) munmap(start, before);
  munmap(aligned + size, reserved - before - size);
  return aligned;
}

LPVOID AllocatePages(LPVOID address, SIZE_T size, DWORD type, DWORD protection) {
  const int host_protection = HostProtection(protection);
  const bool commits = (type & MEM_COMMIT) != 0 && (type & ~(MEM_COMMIT | MEM_RESERVE)) == 0;
  if (address != nullptr || !commits) {
    SetLastError(ERROR_CALL_NOT_IMPLEMENTED);
    return nullptr;
  }
  if (size == 0 || host_protection < 0) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return nullptr;
  }
  const SIZE_T rounded = RoundedUp(size, kPageSize);
  BYTE* const pages = rounded < size ? nullptr : MapPages(rounded, host_protection);
  if (pages == nullptr) {
    SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return nullptr;
  }
  Region region{rounded, std::vector<DWORD>(rounded / kPageSize, protection),
                std::make_unique<CountedResource>(Resource::kVirtualMemory)};
  std::lock_guard lock(regions().mutex);
  regions().all.emplace(pages, std::move(region));
  return pages;
}

BOOL FreePages(LPVOID address, SIZE_T size, DWORD type) {
  if (type != MEM_RELEASE || size != 0) {
    SetLastError(type == MEM_RELEASE ? ERROR_INVALID_PARAMETER : ERROR_CALL_NOT_IMPLEMENTED);
    return FALSE;
  }
  std::lock_guard lock(regions().mutex);
  const auto found = regions().all.find(static_cast<BYTE*>(address));
  if (found == regions().all.end()) {
    SetLastError(ERROR_INVALID_ADDRESS);
    return FALSE;
  }
  munmap(found->first, found->second.size);
  regions().all.erase(found);
  return TRUE;
}

// Only the calling process's memory can be changed.
bool IsOwnProcess(HANDLE process) {
  if (process == GetCurrentProcess()) return true;
  SetLastError(ERROR_CALL_NOT_IMPLEMENTED);
  return false;
}

}  // namespace

HGLOBAL AllocateMemory(Resource kind, UINT flags, SIZE_T size) {
  return blocks().Allocate(kind, flags, size);
}

}  // namespace platform

using platform::Block;
using platform::blocks;
using platform::regions;
using platform::Resource;

HANDLE WINAPI GetProcessHeap() {
  KV_API_NOFAIL(GetProcessHeap, nullptr);
  return &blocks();
}

LPVOID WINAPI HeapAlloc(HANDLE heap, DWORD flags, SIZE_T size) {
  KV_API(HeapAlloc, ERROR_NOT_ENOUGH_MEMORY, nullptr, heap, flags, size);
  if (heap != &blocks() || (flags & ~HEAP_ZERO_MEMORY) != 0) {
    SetLastError(ERROR_CALL_NOT_IMPLEMENTED);
    return nullptr;
  }
  const UINT kind_flags = (flags & HEAP_ZERO_MEMORY) != 0 ? GPTR : GMEM_FIXED;
  return platform::AllocateWithFlags(Resource::kHeapBlock, kind_flags, size);
}

BOOL WINAPI HeapFree(HANDLE heap, DWORD flags, LPVOID block) {
  KV_API_NOFAIL(HeapFree, FALSE, heap, flags, block);
  if (heap != &blocks() || flags != 0) {
    SetLastError(ERROR_CALL_NOT_IMPLEMENTED);
    return FALSE;
  }
  return platform::FreeHandle(block) == nullptr;
}

HGLOBAL WINAPI GlobalAlloc(UINT flags, SIZE_T size) {
  KV_API(GlobalAlloc, ERROR_NOT_ENOUGH_MEMORY, nullptr, flags, size);
  return platform::AllocateWithFlags(Resource::kGlobalMemory, flags, size);
}

// A movable block keeps its handle; while it is locked, or is a fixed one, it grows only when the
// caller lets it move (GMEM_MOVEABLE).
HGLOBAL WINAPI GlobalReAlloc(HGLOBAL memory, SIZE_T size, UINT flags) {
  KV_API(GlobalReAlloc, ERROR_NOT_ENOUGH_MEMORY, nullptr, memory, size, flags);
  bool done = false;
  const bool known = blocks().With(memory, [&](Block& block) {
    const bool may_move = (block.is_movable && block.locks == 0) || (flags & GMEM_MOVEABLE) != 0;
    const bool changes_handle = !block.is_movable && may_move;
    const bool discards = size == 0 && may_move;
    if (changes_handle || discards || (flags & ~platform::kKnownFlags) != 0) {
      SetLastError(ERROR_CALL_NOT_IMPLEMENTED);
      return;
    }
    if (size <= block.size && !may_move) {
      block.size = size;
      done = true;
      return;
    }
    done = may_move && platform::Resize(block, size, (flags & GMEM_ZEROINIT) != 0);
    if (!done) SetLastError(ERROR_NOT_ENOUGH_MEMORY);
  });
  return known && done ? memory : nullptr;
}

HGLOBAL WINAPI GlobalFree(HGLOBAL memory) {
  KV_API_NOFAIL(GlobalFree, memory, memory);
  return platform::FreeHandle(memory);
}

LPVOID WINAPI GlobalLock(HGLOBAL memory) {
  KV_API(GlobalLock, ERROR_INVALID_HANDLE, nullptr, memory);
  void* data = nullptr;
  blocks().With(memory, [&](Block& block) {
    data = block.data;
    if (data == nullptr) SetLastError(ERROR_DISCARDED);
    if (block.is_movable && data != nullptr) {
      block.locks = std::min(block.locks + 1, platform::kMostLocks);
    }
  });
  return data;
}

BOOL WINAPI GlobalUnlock(HGLOBAL memory) {
  KV_API_NOFAIL(GlobalUnlock, FALSE, memory);
  BOOL still_locked = FALSE;
  blocks().With(memory, [&](Block& block) {
    if (!block.is_movable) {
      still_locked = TRUE;
    } else if (block.locks == 0) {
      SetLastError(ERROR_NOT_LOCKED);
    } else {
      still_locked = --block.locks > 0;
      if (!still_locked) SetLastError(NO_ERROR);
    }
  });
  return still_locked;
}

SIZE_T WINAPI GlobalSize(HGLOBAL memory) {
  KV_API(GlobalSize, ERROR_INVALID_HANDLE, 0, memory);
  SIZE_T size = 0;
  blocks().With(memory, [&](Block& block) { size = block.size; });
  return size;
}

UINT WINAPI GlobalFlags(HGLOBAL memory) {
  KV_API(GlobalFlags, ERROR_INVALID_HANDLE, GMEM_INVALID_HANDLE, memory);
  UINT flags = GMEM_INVALID_HANDLE;
  blocks().With(memory, [&](Block& block) {
    flags = block.locks | (block.data == nullptr ? GMEM_DISCARDED : 0);
  });
  return flags;
}

HLOCAL WINAPI LocalAlloc(UINT flags, SIZE_T size) {
  KV_API(LocalAlloc, ERROR_NOT_ENOUGH_MEMORY, nullptr, flags, size);
  return platform::AllocateWithFlags(Resource::kLocalMemory, flags, size);
}

HLOCAL WINAPI LocalFree(HLOCAL memory) {
  KV_API_NOFAIL(LocalFree, memory, memory);
  return platform::FreeHandle(memory);
}

LPVOID WINAPI VirtualAlloc(LPVOID address, SIZE_T size, DWORD type, DWORD protection) {
  KV_API(VirtualAlloc, ERROR_NOT_ENOUGH_MEMORY, nullptr, address, size, type, protection);
  return platform::AllocatePages(address, size, type, protection);
}

LPVOID WINAPI VirtualAllocEx(HANDLE process, LPVOID address, SIZE_T size, DWORD type,
                             DWORD protection) {
  KV_API(VirtualAllocEx, ERROR_NOT_ENOUGH_MEMORY, nullptr, process, address, size, type,
         protection);
  if (!platform::IsOwnProcess(process)) return nullptr;
  return platform::AllocatePages(address, size, type, protection);
}

BOOL WINAPI VirtualFree(LPVOID address, SIZE_T size, DWORD type) {
  KV_API_NOFAIL(VirtualFree, FALSE, address, size, type);
  return platform::FreePages(address, size, type);
}

BOOL WINAPI VirtualFreeEx(HANDLE process, LPVOID address, SIZE_T size, DWORD type) {
  KV_API_NOFAIL(VirtualFreeEx, FALSE, process, address, size, type);
  return platform::IsOwnProcess(process) && platform::FreePages(address, size, type);
}

BOOL WINAPI VirtualProtect(LPVOID address, SIZE_T size, DWORD protection, PDWORD old_protection) {
  KV_API(VirtualProtect, ERROR_INVALID_ADDRESS, FALSE, address, size, protection, old_protection);
  const int host_protection = platform::HostProtection(protection);
  if (host_protection < 0 || size == 0) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return FALSE;
  }
  if (old_protection == nullptr) {
    SetLastError(ERROR_NOACCESS);
    return FALSE;
  }
  std::lock_guard lock(regions().mutex);
  const auto region = regions().Around(static_cast<BYTE*>(address), size);
  if (region == regions().all.end()) {
    SetLastError(ERROR_INVALID_ADDRESS);
    return FALSE;
  }
  const SIZE_T offset = static_cast<SIZE_T>(static_cast<BYTE*>(address) - region->first);
  const SIZE_T first = offset / platform::kPageSize;
  const SIZE_T end = platform::RoundedUp(offset + size, platform::kPageSize) / platform::kPageSize;
  if (mprotect(region->first + first * platform::kPageSize, (end - first) * platform::kPageSize,
               host_protection) != 0) {
    SetLastError(ERROR_ACCESS_DENIED);
    return FALSE;
  }
  *old_protection = region->second.protections[first];
  std::fill(region->second.protections.begin() + static_cast<std::ptrdiff_t>(first),
            region->second.protections.begin() + static_cast<std::ptrdiff_t>(end), protection);
  return TRUE;
}

BOOL WINAPI FlushInstructionCache(HANDLE process, LPCVOID address, SIZE_T size) {
  KV_API(FlushInstructionCache, ERROR_INVALID_HANDLE, FALSE, process, address, size);
  if (process != GetCurrentProcess()) {
    SetLastError(ERROR_INVALID_HANDLE);
    return FALSE;
  }
  char* const start = static_cast<char*>(const_cast<void*>(address));
  __builtin___clear_cache(start, start + size);
  return TRUE;
}
