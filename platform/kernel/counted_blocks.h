// Blocks that a library of the system hands out and takes back with a function of its own.
#pragma once

#include <windows.h>

#include <cstdint>
#include <memory>
#include <mutex>
#include <unordered_map>
#include <vector>

#include "platform/control/leaks.h"

namespace platform {

class CountedBlocks {
 public:
  explicit CountedBlocks(Resource kind) : kind_(kind) {}

  // A zeroed block of that many bytes, aligned for pointers.
  void* Allocate(size_t size) {
    auto block = std::make_unique<Block>(kind_, (size + sizeof(uint64_t) - 1) / sizeof(uint64_t));
    void* const address = block->words.data();
    std::lock_guard lock(mutex_);
    open_.emplace(address, std::move(block));
    return address;
  }
  // False when it is none of these.
  bool Free(void* address) {
    std::lock_guard lock(mutex_);
    return open_.erase(address) != 0;
  }

 private:
  struct Block {
    Block(Resource kind, size_t count) : words(count + 1), counted(kind) {}
    std::vector<uint64_t> words;
    CountedResource counted;
  };

  const Resource kind_;
  std::mutex mutex_;
  std::unordered_map<void*, std::unique_ptr<Block>> open_;
};

}  // namespace platform
