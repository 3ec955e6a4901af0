// Kernel objects that threads wait for, and the one wait below all of the system's.
#pragma once

#include <windows.h>

#include <memory>
#include <vector>

#include "platform/kernel/handle_table.h"

namespace platform {

class Waitable : public KernelObject {
 public:
  enum class Taken { kNo, kYes, kAbandoned };
  // Ends a wait of the calling thread when the object is signalled, and takes what that costs: the
  // ownership of a mutex, the signal of an event. Called while waiting on the clock.
  virtual Taken TryTake() = 0;
  // Undoes TryTake.
  virtual void PutBack(Taken) {}
  // Whether the object can change without a WakeWaiters, as one whose owner is a process that dies.
  virtual bool ChangesSilently() const { return false; }
};

// The input of the calling thread, which ends a wait as an object does.
struct InputWait {
  DWORD wake_mask = 0;  // 0: none
};

// Waits at most `milliseconds` for one of the objects or for input; WAIT_OBJECT_0 and
// WAIT_ABANDONED_0 plus the index (input: the number of objects), or WAIT_TIMEOUT.
DWORD WaitForAny(const std::vector<std::shared_ptr<Waitable>>& objects, DWORD milliseconds,
                 InputWait input = {});
// Takes all of the objects or none, without waiting.
DWORD TakeAll(const std::vector<std::shared_ptr<Waitable>>& objects);

}  // namespace platform
