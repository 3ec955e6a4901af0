// The clock on which every wait of the layer rests.
#include <thread>

#include "platform/kernel/clock.h"
#include "tests/support/machine_test.h"

namespace {

class ClockTest : public kv::test::MachineTest {};

TEST_F(ClockTest, VirtualTimePassesWhileEverybodyWaits) {
  const uint64_t start = platform::UpTime();
  EXPECT_FALSE(platform::WaitOnClock(platform::DeadlineAfter(30'000), [] { return false; }));
  EXPECT_GE(platform::UpTime() - start, 30'000u);
  EXPECT_LT(platform::UpTime() - start, 31'000u);
}

TEST_F(ClockTest, AWaitDoesNotTimeOutWhileAnotherThreadIsAboutToSignal) {
  std::atomic<bool> signalled = false, known = false;
  std::thread worker([&] {
    platform::UpTime();
    known = true;
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    signalled = true;
    platform::WakeWaiters();
  });
  while (!known) std::this_thread::yield();
  EXPECT_TRUE(platform::WaitOnClock(platform::DeadlineAfter(10), [&] { return signalled.load(); }));
  worker.join();
}

TEST_F(ClockTest, TimeStandsStillWhileTheStarterOfASleeperWorks) {
  static std::atomic<bool> slept, done;
  slept = done = false;
  // A thread that has not used the clock yet.
  std::thread starter([] {
    const HANDLE sleeper = CreateThread(
        nullptr, 0,
        [](LPVOID) WINAPI -> DWORD {
          Sleep(1000);
          slept = true;
          return 0;
        },
        nullptr, 0, nullptr);
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    EXPECT_FALSE(slept);
    EXPECT_EQ(WaitForSingleObject(sleeper, INFINITE), WAIT_OBJECT_0);
    EXPECT_TRUE(slept);
    CloseHandle(sleeper);
    done = true;
    platform::WakeWaiters();
  });
  EXPECT_TRUE(platform::WaitOnClock(platform::kNever, [] { return done.load(); }));
  starter.join();
}

TEST_F(ClockTest, PollingMovesTheVirtualClock) {
  const uint64_t deadline = platform::UpTime() + 1000;
  int readings = 0;
  while (platform::UpTime() < deadline && readings < 100'000) ++readings;
  EXPECT_LT(readings, 100'000);
}

}  // namespace
