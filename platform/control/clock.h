// The machine's clock: the host's, or a virtual one that a test moves and that moves by itself when
// all threads wait.
#pragma once

#include <cstdint>

namespace platform {

// Switches between the host's clock and a virtual one, which starts at 2024-01-15 12:00:00 UTC with
// one hour of up time.
void UseVirtualClock(bool on);
bool ClockIsVirtual();
// Moves the virtual clock.
void AdvanceClock(uint32_t milliseconds);
// Milliseconds since the machine started.
uint64_t UpTime();
// 100 ns since 1601-01-01 UTC.
uint64_t SystemTime100ns();

}  // namespace platform
