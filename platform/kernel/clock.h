// Waiting on the machine's clock.
#pragma once

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
// Lets the waiters look again.
void WakeWaiters();
// The deadline that lies `milliseconds` (INFINITE: never) ahead.
uint64_t DeadlineAfter(uint32_t milliseconds);

}  // namespace platform
