// A lock between the threads of one process.
#pragma once

#include "runtime/core/win.h"

namespace kv {

// One CRITICAL_SECTION and nothing else. Its owner calls Initialize before the first use and Delete
// after the last one. A thread may enter several times and leaves as often.
class CCriticalSection {
 public:
  void Initialize() { InitializeCriticalSection(&section_); }
  void Delete() { DeleteCriticalSection(&section_); }

  void Enter() { EnterCriticalSection(&section_); }
  void Leave() { LeaveCriticalSection(&section_); }
  // Non-zero when entered.
  BOOL TryEnter() { return TryEnterCriticalSection(&section_); }
  // Tries every 100 ms, for at most `milliseconds` and the pause after that; 0 tries once. TRUE
  // when entered.
  BOOL TryEnterFor(DWORD milliseconds);

 private:
  CRITICAL_SECTION section_;
};
static_assert(sizeof(CCriticalSection) == sizeof(CRITICAL_SECTION));

}  // namespace kv
