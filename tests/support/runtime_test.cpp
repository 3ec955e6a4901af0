#include "tests/support/runtime_test.h"

#include <memory>

namespace kv::test {

void RenewContext() {
  std::destroy_at(&startupContext);
  memset(static_cast<void*>(&startupContext), 0, sizeof(startupContext));
  std::construct_at(&startupContext);
}

void RuntimeTest::SetUp() {
  MachineTest::SetUp();
  RenewContext();
  ASSERT_TRUE(ProcessAttach(GetModuleHandleW(nullptr)));
  // What a test counts and fails begins after the attach.
  platform::ResetFaults();
}

void RuntimeTest::TearDown() {
  platform::ResetFaults();
  ProcessDetach();
  RenewContext();
  MachineTest::TearDown();
}

void RuntimeTest::Restart() {
  ProcessDetach();
  RenewContext();
  ASSERT_TRUE(ProcessAttach(GetModuleHandleW(nullptr)));
}

}  // namespace kv::test
