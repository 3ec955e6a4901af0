// Shortcuts on the command line.
#include "tests/support/machine_test.h"
#include "tests/support/program.h"

namespace kv::test {
namespace {

TEST_F(MachineTest, ShortcutsAreMadeAndShown) {
  const auto run = [&](const std::string& arguments) {
    return RunProgram("kvctl", "shortcut " + arguments, "KV_MACHINE=" + directory().string());
  };
  EXPECT_EQ(run("create 'C:\\a.lnk' 'C:\\Windows\\x.exe' --arguments '/y z' --icon-index 3 "
                "--icon 'C:\\i.dll' --directory 'C:\\Windows' --description 'd e'")
                .output,
            "");
  EXPECT_EQ(run("show 'C:\\a.lnk'").output,
            "Target:      C:\\Windows\\x.exe\n"
            "Arguments:   /y z\n"
            "Directory:   C:\\Windows\n"
            "Icon:        C:\\i.dll, 3\n"
            "Description: d e\n");
  EXPECT_EQ(run("create 'C:\\a.url' https://example.org/").status, 0);
  EXPECT_EQ(run("show 'C:\\a.url'").output, "Address:     https://example.org/\n");
  const ProgramResult failed = run("create 'C:\\no\\a.lnk' 'C:\\x'");
  EXPECT_EQ(failed.status, 1);
  EXPECT_EQ(failed.output, "kvctl: cannot write the shortcut \"C:\\no\\a.lnk\" to \"C:\\x\"\n");
  EXPECT_EQ(run("show 'C:\\none.lnk'").status, 1);
  EXPECT_EQ(run("create 'C:\\a.lnk'").status, 2);
  EXPECT_EQ(run("create 'C:\\a.lnk' 'C:\\x' --icon-index=1x").output,
            "kvctl: --icon-index needs a whole number, and \"1x\" is none\n"
            "kvctl: See \"kvctl shortcut --help\".\n");
}

}  // namespace
}  // namespace kv::test
