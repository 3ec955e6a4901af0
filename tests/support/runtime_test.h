// The fixture of tests that call the runtime directly: each test begins a fresh life of the
// library, loaded into the test program, on a fresh machine.
#pragma once

#include "runtime/core/startup_context.h"
#include "tests/support/machine_test.h"

namespace kv::test {

// What loading the module does before DllMain: the record is zero, then its members are
// constructed.
void RenewContext();

class RuntimeTest : public MachineTest {
 protected:
  void SetUp() override;
  void TearDown() override;

  // Ends the library's life and begins a new one with process attach, so that changed facts take
  // effect.
  void Restart();
};

}  // namespace kv::test
