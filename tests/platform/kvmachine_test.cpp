// The tool that makes machines.
#include <fstream>

#include "tests/support/machine_test.h"
#include "tests/support/program.h"

namespace {

class KvmachineTest : public kv::test::MachineTest {
 protected:
  // Runs the tool; "DIR" in the arguments is a directory of this test.
  kv::test::ProgramResult Run(std::string arguments) {
    const std::string place = (directory() / "made").string();
    for (size_t at; (at = arguments.find("DIR")) != std::string::npos;) {
      arguments.replace(at, 3, place);
    }
    return kv::test::RunProgram("kvmachine", arguments);
  }
};

TEST_F(KvmachineTest, AMadeMachineIsWhatWasAskedFor) {
  EXPECT_EQ(Run("create DIR --profile=windows-7 --arch x86 user.name=Bob").status, 0);
  const kv::test::ProgramResult facts = Run("facts DIR");
  EXPECT_EQ(facts.status, 0);
  for (const char* fact : {"windows.minor=1\n", "windows.architecture=x86\n", "user.name=Bob\n"}) {
    EXPECT_NE(facts.output.find(fact), std::string::npos) << fact;
  }
  EXPECT_TRUE(std::filesystem::exists(directory() / "made/drive_c/Windows/System32/user32.dll"));
  EXPECT_TRUE(std::filesystem::exists(directory() / "made/drive_c/Users/Bob"));
}

TEST_F(KvmachineTest, ErrorsNameWhatAndWhy) {
  const struct {
    const char* arguments;
    int status;
    const char* output;
  } cases[] = {
      {"make DIR", 2, "kvmachine: make: unknown command\n"},
      {"create", 2, "kvmachine: create: a directory is missing\n"},
      {"create DIR --profile", 2, "kvmachine: --profile: a value is missing\n"},
      {"create DIR --quick", 2, "kvmachine: --quick: unknown option\n"},
      {"create DIR user", 2, "kvmachine: user: not of the form FACT=VALUE\n"},
      {"create DIR --arch arm", 2, "kvmachine: arm: the architectures are x86 and x64\n"},
      {"create DIR --profile windows-11 --arch x86", 1,
       "kvmachine: windows-11: there is no such Windows version for x86\n"},
      {"facts /dev", 1, "kvmachine: /dev: not a machine\n"},
  };
  for (const auto& c : cases) {
    const kv::test::ProgramResult result = Run(c.arguments);
    EXPECT_EQ(result.status, c.status) << c.arguments;
    EXPECT_EQ(result.output, c.output);
  }
  EXPECT_EQ(Run("create --help").status, 0);
  EXPECT_EQ(Run("").status, 2);
}

}  // namespace
