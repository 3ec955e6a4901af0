#include "tests/support/machine_test.h"

#include <stdlib.h>

namespace kv::test {

MachineTest::MachineTest() {
  std::string pattern = (std::filesystem::temp_directory_path() / "kvtest.XXXXXX").string();
  directory_ = mkdtemp(pattern.data());
}

MachineTest::~MachineTest() {
  std::error_code ignored;
  std::filesystem::remove_all(directory_, ignored);
}

void MachineTest::SetUp() {
  platform::ResetFaults();
  platform::UseVirtualClock(true);
  platform::UseMachine(directory_);
  live_at_start_ = platform::LiveResources();
}

void MachineTest::TearDown() {
  platform::ResetFaults();
  platform::CloseMachine();
  ExpectNoLeaks();
}

void MachineTest::ExpectNoLeaks() {
  EXPECT_EQ(platform::DescribeDifference(live_at_start_, platform::LiveResources()), "")
      << "left open or closed twice";
}

}  // namespace kv::test
