// A number that processes share.
#pragma once

#include "runtime/ipc/shared_memory.h"

namespace kv {

// The shared block is one signed 32-bit integer, little-endian, and nothing else; every change is
// made under the block's lock. Before Create, and after one that failed, changes do nothing and the
// value is 0.
class CSharedCounter : public CSharedMemory {
 public:
  ~CSharedCounter() override = default;

  // Maps the counter, which begins at 0 when nobody has it mapped and keeps its value otherwise.
  // With `useMutex` the mutex of that name guards it, and is made first. FALSE when either fails; a
  // failed mapping has been reported and leaves the object closed.
  BOOL Create(LPCWSTR mappingName, BOOL useMutex, LPCWSTR mutexName);
  BOOL IsOpen() const { return view() != nullptr; }

  // Each returns the new value.
  LONG Increment() { return Add(1); }
  LONG Decrement() { return Add(-1); }
  LONG Get() { return Add(0); }
  // Subtracts 1 unless the value is 0 or less, in one step.
  void DecrementAboveZero();
  // Sets the value if it still is `expected`; FALSE when it is not.
  BOOL Replace(LONG expected, LONG value);

 private:
  BOOL MapCounter(LPCWSTR mappingName);
  LONG Add(LONG difference);
  volatile LONG& Value() const { return *static_cast<volatile LONG*>(view()); }
};
static_assert(sizeof(LONG) == 4);

}  // namespace kv
