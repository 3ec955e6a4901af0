// Runs through every failure that the system can bring.
#pragma once

#include <gtest/gtest.h>

#include "platform/control/faults.h"
#include "platform/control/leaks.h"
#include "tests/support/failing_new.h"

namespace kv::test {

// Calls `run` while its first, second, third … fallible call fails, until it runs through, and the
// same with its allocations. Each run must give back what it took; `run` asserts what else must
// hold.
template <class Run>
void SweepFailures(Run run) {
  for (const bool calls : {true, false}) {
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
}

}  // namespace kv::test
