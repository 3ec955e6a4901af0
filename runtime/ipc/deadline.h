// The end of a wait.
#pragma once

#include "runtime/core/win.h"

namespace kv {

// A time-out of `timeout` milliseconds (INFINITE: none) from now on, on the system's 32-bit tick
// count, which may pass through zero.
class Deadline {
 public:
  explicit Deadline(DWORD timeout) : start_(GetTickCount()), timeout_(timeout), left_(timeout) {}

  BOOL IsFinite() const { return timeout_ != INFINITE; }
  // Reads the clock for left(). FALSE when the time has run out.
  BOOL Update() {
    if (!IsFinite()) return TRUE;
    const DWORD elapsed = GetTickCount() - start_;
    if (elapsed >= timeout_) return FALSE;
    left_ = timeout_ - elapsed;
    return TRUE;
  }
  // Milliseconds; INFINITE without a time-out.
  DWORD left() const { return left_; }
  // The first and the last tick.
  int start() const { return static_cast<int>(start_); }
  int end() const { return static_cast<int>(start_ + timeout_); }

 private:
  DWORD start_;
  DWORD timeout_;
  DWORD left_;
};

}  // namespace kv
