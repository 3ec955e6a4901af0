// Runs through every failure that the system can bring.
#pragma once

#include <gtest/gtest.h>

#include <string>

#include "platform/control/faults.h"
#include "platform/control/leaks.h"
#include "tests/support/failing_new.h"

namespace kv::test {

enum class Failing { kCalls, kAllocations };

// Calls `run` while its first, second, third … fallible call (allocation) fails, until it runs
// through. Each run must give back what it took; `run` asserts what else must hold.
template <class Run>
void Sweep(Failing failing, Run run) {
  const bool calls = failing == Failing::kCalls;
  bool hit = true;
  for (uint64_t n = 1; hit; ++n) {
    const platform::ResourceCounts live = platform::LiveResources();
    platform::ResetFaults();
    calls ? platform::FailAnyCall(n) : FailAllocation(n);
    run();
    hit = calls ? platform::InjectedFailures() != 0 : AllocationFailed();
    const std::string where =
        calls ? platform::LastInjectedFunction() : "allocation " + std::to_string(n);
    platform::ResetFaults();
    FailAllocation(0);
    EXPECT_EQ(platform::DescribeDifference(live, platform::LiveResources()), "") << where;
  }
}

// Both.
template <class Run>
void SweepFailures(Run run) {
  Sweep(Failing::kCalls, run);
  Sweep(Failing::kAllocations, run);
}

}  // namespace kv::test
