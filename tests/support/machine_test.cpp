#include "tests/support/machine_test.h"

#include <stdlib.h>

#include "platform/control/message_boxes.h"
#include "platform/kernel/text.h"

namespace kv::test {

std::filesystem::path TestDirectory() {
  return std::filesystem::read_symlink("/proc/self/exe").parent_path();
}

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
  platform::ScriptBoxes(true);
  live_at_start_ = platform::LiveResources();
}

void MachineTest::TearDown() {
  platform::ResetFaults();
  platform::CloseMachine();
  ExpectNoLeaks();
  for (const platform::ShownBox& box : platform::UnansweredBoxes()) {
    ADD_FAILURE() << "unanswered message box: " << platform::ToUtf8(box.text);
  }
  EXPECT_EQ(platform::UnusedAnswers(), 0u) << "message boxes that were not shown";
  platform::ScriptBoxes(false);
}

void MachineTest::ExpectNoLeaks() {
  EXPECT_EQ(platform::DescribeDifference(live_at_start_, platform::LiveResources()), "")
      << "left open or closed twice";
}

}  // namespace kv::test
