#include "tests/support/failing_new.h"

#include <atomic>
#include <cstdlib>
#include <new>

#include "platform/kernel/api_call.h"

namespace kv::test {
namespace {

std::atomic<uint64_t> fail_at{0};
std::atomic<uint64_t> allocations{0};
std::atomic<bool> failed{false};

void* Allocate(size_t size) {
  if (fail_at != 0 && !platform::IsInsideLayer()) {
    if (++allocations == fail_at) {
      failed = true;
      return nullptr;
    }
  }
  return std::malloc(size == 0 ? 1 : size);
}

}  // namespace

void FailAllocation(uint64_t nth) {
  allocations = 0;
  failed = false;
  fail_at = nth;
}

uint64_t ProductAllocations() {
  return allocations;
}
bool AllocationFailed() {
  return failed;
}

}  // namespace kv::test

void* operator new(size_t size) {
  void* block = kv::test::Allocate(size);
  if (block == nullptr) throw std::bad_alloc();
  return block;
}
void* operator new[](size_t size) {
  return operator new(size);
}
void* operator new(size_t size, const std::nothrow_t&) noexcept {
  return kv::test::Allocate(size);
}
void* operator new[](size_t size, const std::nothrow_t&) noexcept {
  return kv::test::Allocate(size);
}
void operator delete(void* block) noexcept {
  std::free(block);
}
void operator delete[](void* block) noexcept {
  std::free(block);
}
void operator delete(void* block, size_t) noexcept {
  std::free(block);
}
void operator delete[](void* block, size_t) noexcept {
  std::free(block);
}
