#include "platform/kernel/clock.h"

#include <linux/futex.h>
#include <sys/syscall.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <climits>
#include <map>
#include <set>

namespace platform {
namespace {

constexpr uint64_t kVirtualStart100ns = 133497936000000000ull;  // 2024-01-15 12:00:00 UTC
constexpr uint64_t kVirtualUpTime = 3600'000;
constexpr uint64_t kUnixEpoch100ns = 116444736000000000ull;
// What one reading costs on the virtual clock, so that a loop that only polls comes to its end:
// 1/16 ms.
constexpr uint64_t kReadingSixteenths = 1;

struct ClockState {
  std::mutex mutex;
  std::condition_variable changed;
  std::atomic<bool> is_virtual = false;
  uint64_t sixteenths = kVirtualUpTime * 16;  // virtual up time in 1/16 ms
  int known_threads = 0;
  // Those that wait and have looked since the last WakeWaiters; time does not pass over the others.
  int waiting_threads = 0;
  uint64_t wakes = 0;
  std::multiset<uint64_t> deadlines;
  // Where waits on the host's clock sleep.
  WakeWord own_word;
  WakeWord* word = &own_word;
};

ClockState& state() {
  static ClockState* instance = new ClockState;
  return *instance;
}

// A thread is known from its first use of the clock to its end.
struct KnownThread {
  KnownThread() {
    std::lock_guard lock(state().mutex);
    ++state().known_threads;
  }
  ~KnownThread() {
    std::lock_guard lock(state().mutex);
    --state().known_threads;
    state().changed.notify_all();
  }
};

void RegisterThread() {
  static thread_local KnownThread known;
  (void)known;
}

uint64_t HostMilliseconds() {
  timespec now;
  clock_gettime(CLOCK_BOOTTIME, &now);
  return uint64_t(now.tv_sec) * 1000 + now.tv_nsec / 1000000;
}

// With the lock held: everybody waits, so time passes until the first of them is due.
void MoveIfAllWait() {
  ClockState& clock = state();
  if (!clock.is_virtual || clock.waiting_threads < clock.known_threads) return;
  if (clock.deadlines.empty() || *clock.deadlines.begin() == kNever) return;
  const uint64_t due = *clock.deadlines.begin() * 16;
  if (due > clock.sixteenths) clock.sixteenths = due;
  clock.changed.notify_all();
}

// Sleeps until the word differs from `seen` or the deadline has come; the lock is given up
// meanwhile.
void SleepOnWord(std::unique_lock<std::mutex>& lock, WakeWord& word, uint32_t seen,
                 uint64_t deadline) {
  timespec left = {};
  const uint64_t now = HostMilliseconds();
  const uint64_t milliseconds = deadline > now ? std::min<uint64_t>(deadline - now, INT_MAX) : 0;
  left.tv_sec = static_cast<time_t>(milliseconds / 1000);
  left.tv_nsec = static_cast<long>(milliseconds % 1000 * 1'000'000);
  ++word.sleepers;
  lock.unlock();
  syscall(SYS_futex, &word.changes, FUTEX_WAIT, seen, deadline == kNever ? nullptr : &left, nullptr,
          0);
  lock.lock();
  --word.sleepers;
}

void WakeSleepers(WakeWord& word) {
  ++word.changes;
  if (word.sleepers != 0)
    syscall(SYS_futex, &word.changes, FUTEX_WAKE, INT_MAX, nullptr, nullptr, 0);
}

}  // namespace

void KnowThisThread() {
  RegisterThread();
}

void ShareWakes(WakeWord* word) {
  std::lock_guard lock(state().mutex);
  WakeWord& old = *state().word;
  state().word = word != nullptr ? word : &state().own_word;
  WakeSleepers(old);
}

void UseVirtualClock(bool on) {
  std::lock_guard lock(state().mutex);
  state().is_virtual = on;
  state().sixteenths = kVirtualUpTime * 16;
  state().changed.notify_all();
  WakeSleepers(*state().word);
}

bool ClockIsVirtual() {
  return state().is_virtual;
}

void AdvanceClock(uint32_t milliseconds) {
  std::lock_guard lock(state().mutex);
  state().sixteenths += uint64_t{milliseconds} * 16;
  state().changed.notify_all();
}

uint64_t UpTime() {
  if (!state().is_virtual) return HostMilliseconds();
  RegisterThread();
  std::lock_guard lock(state().mutex);
  state().sixteenths += kReadingSixteenths;
  return state().sixteenths / 16;
}

uint64_t SystemTime100ns() {
  if (!state().is_virtual) {
    timespec now;
    clock_gettime(CLOCK_REALTIME, &now);
    return kUnixEpoch100ns + uint64_t(now.tv_sec) * 10'000'000 + now.tv_nsec / 100;
  }
  return kVirtualStart100ns + (UpTime() - kVirtualUpTime) * 10'000;
}

uint64_t DeadlineAfter(uint32_t milliseconds) {
  return milliseconds == 0xFFFFFFFF ? kNever : UpTime() + milliseconds;
}

void WakeWaiters() {
  std::lock_guard lock(state().mutex);
  ++state().wakes;
  state().waiting_threads = 0;
  state().changed.notify_all();
  WakeSleepers(*state().word);
}

bool WaitOnClock(uint64_t deadline, const std::function<bool()>& ready) {
  RegisterThread();
  ClockState& clock = state();
  std::unique_lock lock(clock.mutex);
  for (;;) {
    WakeWord& word = *clock.word;
    const uint32_t seen = word.changes;
    if (ready()) return true;
    const uint64_t now = clock.is_virtual ? clock.sixteenths / 16 : HostMilliseconds();
    if (now >= deadline) return false;
    if (!clock.is_virtual) {
      SleepOnWord(lock, word, seen, deadline);
      continue;
    }
    const auto mine = clock.deadlines.insert(deadline);
    ++clock.waiting_threads;
    const uint64_t wakes = clock.wakes;
    const uint64_t before = clock.sixteenths;
    MoveIfAllWait();
    if (clock.sixteenths == before) clock.changed.wait(lock);
    // A wake has counted everybody out already.
    if (clock.wakes == wakes) --clock.waiting_threads;
    clock.deadlines.erase(mine);
  }
}

}  // namespace platform
