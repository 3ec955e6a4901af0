#include "tests/support/runtime_test.h"

#include <memory>

namespace kv::test {
namespace {

// What loading the module does before DllMain: the record is zero, then its members are
// constructed.
void RenewContext() {
  std::destroy_at(&startupContext);
  memset(static_cast<void*>(&startupContext), 0, sizeof(startupContext));
  std::construct_at(&startupContext);
}

}  // namespace

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
