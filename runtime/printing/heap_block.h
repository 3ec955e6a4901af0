// The heap blocks that the printing functions hand out: structures of the spooler with everything
// they point to behind them, and device modes with their drivers' data.
#pragma once

#include <memory>

#include "runtime/core/win.h"

namespace kv {

// Frees a block; null is allowed. Leaves the last error alone.
void FreeBlock(void* block);

struct BlockDeleter {
  void operator()(void* block) const { FreeBlock(block); }
};
// Owns a block that begins with a T. Whoever needs the plain pointer for longer takes it with
// release() and gives it to FreeBlock.
template <class T>
using UniqueBlock = std::unique_ptr<T, BlockDeleter>;

using UniqueDevMode = UniqueBlock<DEVMODEW>;

// `size` zero bytes, aligned for any structure; null when memory runs out.
void* AllocateBlock(size_t size);

}  // namespace kv
