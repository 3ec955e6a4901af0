// Waiting on the machine's clock.
#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>

#include "platform/control/clock.h"

namespace platform {

constexpr uint64_t kNever = ~uint64_t{0};

// Blocks the calling thread until `ready` is true or the clock reaches `deadline` (UpTime
// milliseconds, kNever: no limit); returns what `ready` said last. `ready` is called under one lock
// of the layer, and is looked at again after every WakeWaiters and whenever the clock moves. On the
// virtual clock, when every thread that the layer knows waits here, the clock moves to the earliest
// deadline.
bool WaitOnClock(uint64_t deadline, const std::function<bool()>& ready);
// Lets the waiters look again, those of other processes too where these share a WakeWord. The
// caller holds no lock that a `ready` takes.
void WakeWaiters();

// Where waits on the host's clock sleep: in memory that processes share once they share objects.
struct WakeWord {
  std::atomic<uint32_t> changes = 0;  // grows with every WakeWaiters
  std::atomic<uint32_t> sleepers = 0;
};
static_assert(sizeof(WakeWord) == 8 && std::atomic<uint32_t>::is_always_lock_free);
// Makes all waits of this process sleep on that word; null: on the process's own. The old word is
// not used once those that sleep on it have woken.
void ShareWakes(WakeWord* word);

// Lets the virtual clock wait for the calling thread from now on, not only from its first use of
// the clock.
void KnowThisThread();
// The deadline that lies `milliseconds` (INFINITE: never) ahead.
uint64_t DeadlineAfter(uint32_t milliseconds);

}  // namespace platform
