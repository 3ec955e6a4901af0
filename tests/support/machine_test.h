// The fixture of tests that steer the machine: each test gets a fresh machine in a temporary
// directory, a virtual clock and no faults, and fails when it leaves something open or a message
// box unanswered.
#pragma once

#include <gtest/gtest.h>
#include <windows.h>

#include <filesystem>
#include <string_view>

#include "platform/control/clock.h"
#include "platform/control/facts.h"
#include "platform/control/faults.h"
#include "platform/control/leaks.h"
#include "platform/control/machine.h"

namespace kv::test {

using WideView = std::basic_string_view<WCHAR>;

// Where the test program lies, and with it everything else that was built.
std::filesystem::path TestDirectory();

class MachineTest : public testing::Test {
 protected:
  MachineTest();
  ~MachineTest() override;
  void SetUp() override;
  void TearDown() override;

  // The directory of this test's machine on the host.
  const std::filesystem::path& directory() const { return directory_; }
  // What the test may keep (nothing, unless it says so): compares with what was live when the test
  // began.
  void ExpectNoLeaks();

 private:
  std::filesystem::path directory_;
  platform::ResourceCounts live_at_start_;
};

}  // namespace kv::test
