#include "runtime/printing/heap_block.h"

#include <cstring>
#include <new>

namespace kv {

void* AllocateBlock(size_t size) {
  void* const block = ::operator new(size, std::nothrow);
  if (block != nullptr) std::memset(block, 0, size);
  return block;
}

void FreeBlock(void* block) {
  ::operator delete(block);
}

}  // namespace kv
