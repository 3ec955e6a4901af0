// "kvctl settings" as people type it.
#include "tests/support/machine_test.h"
#include "tests/support/program.h"

namespace kv::test {
namespace {

class SettingsCommandTest : public MachineTest {
 protected:
  ProgramResult Run(const std::string& arguments) {
    return RunProgram("kvctl", "settings " + arguments, "KV_MACHINE=" + directory().string());
  }
  struct Step {
    const char* arguments;
    int status;
    const char* output;  // a part of it
  };
  template <size_t kCount>
  void Expect(const Step (&steps)[kCount]) {
    for (const Step& step : steps) {
      const ProgramResult run = Run(step.arguments);
      EXPECT_EQ(run.status, step.status) << step.arguments << "\n" << run.output;
      EXPECT_NE(run.output.find(step.output), std::string::npos) << step.arguments << "\n"
                                                                 << run.output;
    }
  }
};

TEST_F(SettingsCommandTest, AUsersSettingsNeedNoRights) {
  static constexpr Step kSteps[] = {
      {"get Silent", 1, "Silent is not set"},
      {"set silent 0x90aF", 0, ""},
      {"get Silent", 0, "37039\n"},
      {"set silent 0xFFFFFFFF", 0, ""},
      {"get Silent", 0, "4294967295\n"},
      {"set silent 0x1", 0, ""},
      {"get Silent", 0, "1\n"},
      {"get Silent --machine", 1, "not set"},
      {"set Help 'http://help.example/a b' --user", 0, ""},
      {"list --user", 0, "user: http://help.example/a b"},
      {"unset Help", 0, ""},
      {"unset Help", 0, ""},
      {"get Help", 1, "not set"},
      {"set Silent 1 --machine", 3, "only an elevated administrator"},
      {"unset AppDir", 3, "only an elevated administrator"},
  };
  Expect(kSteps);
}

TEST_F(SettingsCommandTest, WhatMakesNoSenseIsRefused) {
  static constexpr Step kSteps[] = {
      {"set Silent 1x", 2, "\"1x\" is none"},
      {"set Silent ''", 2, "needs a number"},
      {"set Silent 4294967296", 2, "needs a number"},
      {"set Silent 0x100000000", 2, "needs a number"},
      {"set Silent 0xG", 2, "needs a number"},
      {"set Silent 0x1@", 2, "needs a number"},
      {"set Silent 0x", 2, "needs a number"},
      {"set Silent 4294967295", 0, ""},
      {"set Unknown 1", 2, "no setting \"Unknown\""},
      {"set Silent", 2, "something is missing"},
      {"get Silent 1", 2, "\"1\" was not expected"},
      {"put Silent 1", 2, "\"put\""},
      {"get AppDir --user", 2, "machine alone"},
      {"set AssumeHardwareDuplex 1 --machine", 2, "users alone"},
      {"list --user --machine", 2, "only one of"},
  };
  Expect(kSteps);
  const std::string longest(259, 'h');
  EXPECT_EQ(Run("set Help " + longest).status, 0);
  EXPECT_EQ(Run("set Help h" + longest).status, 2);
}

TEST_F(SettingsCommandTest, MachineAndUserCombineAndDifferingViewsAreShown) {
  platform::SetFact(platform::facts::kUserIsElevated, "1");
  static constexpr Step kSteps[] = {
      {"set Compatibility 2 --machine", 0, ""},
      {"set Compatibility 4", 0, ""},
      {"get Compatibility", 0, "6\n"},
      {"set Language 1033 --machine", 0, ""},
      {"set Language 1031", 0, ""},
      {"get Language", 0, "1031\n"},
      {"set Language 0", 0, ""},
      {"get Language", 0, "1033\n"},
      {"set AppDir 'C:\\dir'", 0, ""},
      {"get AppDir", 0, "C:\\dir\n"},
  };
  Expect(kSteps);
  HKEY other;
  constexpr bool kNarrow = sizeof(void*) == 4;
  ASSERT_EQ(RegOpenKeyExW(HKEY_LOCAL_MACHINE, TEXT("Software\\Veltmoor Software\\Folvane8"), 0,
                          KEY_WRITE | (kNarrow ? KEY_WOW64_64KEY : KEY_WOW64_32KEY), &other),
            ERROR_SUCCESS)
      << "both views were written";
  EXPECT_EQ(RegDeleteValueW(other, TEXT("Compatibility")), ERROR_SUCCESS);
  RegCloseKey(other);
  const std::string read =
      kNarrow ? "machine, 32-bit view (in effect): 2" : "machine, 64-bit view (in effect): 2";
  const std::string not_read = kNarrow ? "machine, 64-bit view (not read): not set"
                                       : "machine, 32-bit view (not read): not set";
  for (const char* command : {"", "get Compatibility --machine"}) {
    const std::string output = Run(command).output;
    EXPECT_NE(output.find(read), std::string::npos) << output;
    EXPECT_NE(output.find(not_read), std::string::npos) << output;
  }
}

}  // namespace
}  // namespace kv::test
