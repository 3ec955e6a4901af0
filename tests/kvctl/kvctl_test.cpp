// The command-line program, as people and scripts call it.
#include <fstream>

#include "tests/support/machine_test.h"
#include "tests/support/program.h"

namespace kv::test {
namespace {

class KvctlTest : public MachineTest {
 protected:
  void SetUp() override {
    MachineTest::SetUp();
    platform::SetFact(platform::facts::kArchitecture, sizeof(void*) == 8 ? "x64" : "x86");
    platform::SetFact(platform::facts::kUserIsElevated, "1");
  }
  ProgramResult Run(const std::string& arguments) {
    return RunProgram("kvctl", arguments, "KV_MACHINE=" + directory().string());
  }
  static bool Contains(const ProgramResult& result, std::string_view text) {
    return result.output.find(text) != std::string::npos;
  }
  std::string WriteFile(const char* name, size_t size) {
    const std::string path = (directory() / name).string();
    std::ofstream(path, std::ios::binary) << std::string(size, 'x');
    return path;
  }
};

constexpr char kInstall[] = "install --driver 'Generic / Text Only' --printer='Preview 1'";

TEST_F(KvctlTest, InstallsPrintsAndLists) {
  const ProgramResult install = Run(kInstall);
  EXPECT_EQ(install.output,
            "Printer \"Preview 1\" is ready on port KVR8: (driver \"Generic / Text Only\").\n");
  EXPECT_EQ(install.status, 0);
  EXPECT_EQ(Run(kInstall).status, 0) << "a second time changes nothing";
  const ProgramResult monitors = Run("monitors");
  EXPECT_TRUE(Contains(monitors, "kvmon8.dll")) << monitors.output;
  const ProgramResult ports = Run("ports");
  EXPECT_TRUE(Contains(ports, "KVR8:               Folvane             Folvane\n")) << ports.output;
  const std::string small = WriteFile("a b.txt", 1), large = WriteFile("large", 3 * 65536 + 17);
  const ProgramResult print = Run("print '" + small + "' " + large + " --title='\xC3\xA4'");
  EXPECT_EQ(print.status, 0);
  EXPECT_TRUE(Contains(print, "1 bytes sent, 1 bytes accepted")) << print.output;
  EXPECT_TRUE(Contains(print, "196625 bytes sent, 196625 bytes accepted")) << print.output;
}

TEST_F(KvctlTest, WindowsWorkWithoutADisplay) {
  EXPECT_EQ(Run(kInstall).status, 0);
  const ProgramResult print = Run("print --window " + WriteFile("large", 1000000));
  EXPECT_TRUE(Contains(print, "1000000 bytes sent, 1000000 bytes accepted")) << print.output;
  const ProgramResult bar = Run("demo progress --seconds 1 --delay 100");
  EXPECT_EQ(bar.output, "The window was shown to its end.\n");
  const ProgramResult box = Run("demo linkbox --target 100%s --caption More");
  EXPECT_TRUE(Contains(box, "This message has an additional button.")) << box.output;
  EXPECT_TRUE(bar.status == 0 && box.status == 0);
  EXPECT_EQ(Run("demo progress --seconds 1x").status, 2);
  EXPECT_EQ(Run("demo window").status, 2);
}

TEST_F(KvctlTest, SaysClearlyWhatFailed) {
  const ProgramResult early = Run("print x");
  EXPECT_EQ(early.output,
            "kvctl: there is no printer on port KVR8:; \"kvctl install\" creates one\n");
  EXPECT_EQ(early.status, 1);
  const ProgramResult driver = Run("install");
  EXPECT_EQ(driver.status, 1);
  EXPECT_TRUE(Contains(driver, "the printer driver \"Folvane 8\" is not on this computer"))
      << driver.output;
  EXPECT_EQ(Run(kInstall).status, 0);
  const std::string file = WriteFile("file", 10);
  const ProgramResult missing = Run("print /no/such/file " + file);
  EXPECT_EQ(missing.status, 1);
  EXPECT_TRUE(Contains(
      missing, "kvctl: cannot open \"/no/such/file\": The system cannot find the path specified\n"))
      << missing.output;
  EXPECT_TRUE(Contains(missing, "10 bytes sent, 10 bytes accepted"))
      << "the other file is printed all the same";
  const ProgramResult printer = Run("print " + file + " --printer Nobody");
  EXPECT_EQ(printer.output,
            "kvctl: cannot start a job on the printer \"Nobody\": The printer name is invalid\n");
  EXPECT_EQ(printer.status, 1);
  EXPECT_EQ(Run("ports > /dev/full || echo status $?").output, "status 1\n") << "nobody read it";
}

TEST_F(KvctlTest, ARefusalForLackOfRightsHasAStatusOfItsOwn) {
  platform::SetFact(platform::facts::kUserIsElevated, "0");
  const ProgramResult result = Run(kInstall);
  EXPECT_EQ(result.status, 3) << result.output;
  EXPECT_EQ(result.output,
            "kvctl: only an elevated administrator can install or remove the port\n");
}

TEST_F(KvctlTest, CommandLinesThatCannotBeUnderstood) {
  const struct {
    const char* arguments;
    const char* output;
  } kCases[] = {
      {"", "Usage: kvctl COMMAND"},
      {"fly", "kvctl: there is no command \"fly\""},
      {"ports --fast", "kvctl: there is no option --fast\n"},
      {"ports x", "kvctl: \"x\" was not expected\n"},
      {"print", "kvctl: something is missing on the command line\n"},
      {"print x --title", "kvctl: the option --title needs a value\n"},
  };
  for (const auto& c : kCases) {
    const ProgramResult result = Run(c.arguments);
    EXPECT_EQ(result.status, 2) << c.arguments;
    EXPECT_TRUE(Contains(result, c.output)) << result.output;
  }
  EXPECT_EQ(Run("--version").output, "kvctl 8.27 (Folvane 8)\n");
  const ProgramResult list = Run("--help");
  for (const char* command :
       {"ports", "monitors", "install", "remove", "status", "print", "settings", "sessions",
        "whoami", "spooler", "docname", "shortcut", "describe", "locales", "demo", "papers",
        "printers", "printer", "default"}) {
    EXPECT_TRUE(Contains(list, std::string("\n  ") + command + " ")) << command;
    const ProgramResult help = Run(std::string(command) + " --help");
    EXPECT_EQ(help.status, 0);
    EXPECT_TRUE(help.output.starts_with(std::string("Usage: kvctl ") + command)) << help.output;
  }
}

TEST_F(KvctlTest, DocumentNames) {
  const char kAddress[] = "docname 'http://www.example.com/a/b.html'";
  EXPECT_EQ(Run(kAddress).output, "http://www.example.com/a/b.html\n");
  EXPECT_EQ(Run(std::string(kAddress) + " --strip-scheme").output, "www.example.com/a/b.html\n");
  EXPECT_EQ(Run("docname 'C:\\letters\\mine.xyz' --strip-extension").output, "mine.xyz\n")
      << "no program opens it";
}

TEST_F(KvctlTest, NamesTheResourceLibraryThatIsMissing) {
  const std::filesystem::path alone = directory() / "alone";
  std::filesystem::create_directory(alone);
  std::filesystem::copy_file(TestDirectory() / "kvctl", alone / "kvctl");
  const ProgramResult result =
      RunProgram(alone / "kvctl", "ports", "KV_MACHINE=" + directory().string());
  EXPECT_EQ(result.status, 1);
  EXPECT_TRUE(Contains(result, "kvctl: Could not find resource DLL kvres832.dll.\n"))
      << result.output;
  EXPECT_TRUE(Contains(result, "\\alone\\kvres832.dll\n")) << result.output;
  EXPECT_EQ(RunProgram(alone / "kvctl", "--version").status, 0);
}

}  // namespace
}  // namespace kv::test
