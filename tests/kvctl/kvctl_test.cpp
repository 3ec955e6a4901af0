// The command-line program, as people and scripts call it.
#include <algorithm>
#include <fstream>

#include "tests/kvctl/spoilt_module.h"
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
  EXPECT_EQ(Run("ports > /dev/full || echo status $?").output,
            "kvctl: cannot write the output: The system cannot write to the specified device\n"
            "status 1\n");
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
      {"fly", "kvctl: there is no command \"fly\"\nkvctl: See \"kvctl --help\".\n"},
      {"prit x", "kvctl: there is no command \"prit\"; did you mean \"print\"?\n"},
      {"help instal", "kvctl: there is no command \"instal\"; did you mean \"install\"?\n"},
      {"ports --fast", "kvctl: there is no option --fast\nkvctl: See \"kvctl ports --help\".\n"},
      {"install --printr x", "kvctl: there is no option --printr; did you mean \"--printer\"?\n"},
      {"print -p", "kvctl: there is no option -p\n"},
      {"papers ad x 1x1", "\"kvctl papers\" does not know \"ad\"; did you mean \"add\"?\n"},
      {"papers add --custom x 1x1",
       "kvctl: \"kvctl papers add\" does not take the option --custom\n"},
      {"ports x", "kvctl: \"x\" was not expected\nkvctl: See \"kvctl ports --help\".\n"},
      {"print", "kvctl: something is missing on the command line\n"},
      {"print x --title", "kvctl: the option --title needs a value\n"},
      {"ports --json=x", "kvctl: the option --json takes no value\n"},
  };
  for (const auto& c : kCases) {
    const ProgramResult result = Run(c.arguments);
    EXPECT_EQ(result.status, 2) << c.arguments;
    EXPECT_TRUE(Contains(result, c.output)) << result.output;
  }
  EXPECT_EQ(Run("--version").output, "kvctl 8.27 (Folvane 8)\n");
  const ProgramResult list = Run("--help");
  for (const char* command :
       {"ports",    "monitors", "install",    "remove",  "status",   "print",
        "settings", "sessions", "whoami",     "spooler", "docname",  "shortcut",
        "describe", "locales",  "demo",       "papers",  "printers", "printer",
        "default",  "drivers",  "completion", "help"}) {
    EXPECT_TRUE(Contains(list, std::string("\n  ") + command + " ")) << command;
    const ProgramResult help = Run(std::string(command) + " --help");
    EXPECT_EQ(help.status, 0);
    EXPECT_TRUE(help.output.starts_with(std::string("Usage: kvctl ") + command)) << help.output;
  }
  for (const char* same : {"help", "-h", "/?"}) EXPECT_EQ(Run(same).output, list.output) << same;
  const std::string ports = Run("ports --help").output;
  for (const char* same : {"help ports", "ports -h", "ports '/?'"}) {
    EXPECT_EQ(Run(same).output, ports) << same;
  }
}

TEST_F(KvctlTest, ListsHaveHeadingsOnATerminalOnly) {
  ASSERT_EQ(Run(kInstall).status, 0);
  const auto onTerminal = [&](const std::string& arguments) {
    return RunProgram("/usr/bin/script", "-qec 'KV_MACHINE=" + directory().string() + " " +
                                             (TestDirectory() / "kvctl").string() + " " +
                                             arguments + "' /dev/null")
        .output;
  };
  std::string monitors = onTerminal("monitors");
  std::erase(monitors, '\r');
  EXPECT_TRUE(monitors.starts_with("MONITOR             ENVIRONMENT         FILE\n")) << monitors;
  EXPECT_TRUE(monitors.ends_with("\n" + Run("monitors").output)) << monitors;
  // A job of a second and a half, whatever this machine's speed.
  const std::string large = WriteFile("large", 1);
  std::filesystem::resize_file(large, 200'000'000);
  const std::string quick = Run("print " + large).output;
  const double megabytes = std::stod(quick.substr(quick.rfind(" sec, ") + 6));
  std::filesystem::resize_file(large, static_cast<std::uintmax_t>(megabytes * 1.5e6));
  const std::string print = onTerminal("print " + large);
  EXPECT_NE(print.find("/large: "), std::string::npos) << print;
  EXPECT_NE(print.find(" left"), std::string::npos) << print;
  // The rate on the way is about the one at the end.
  const size_t unit = print.find(" MB/s, ");
  const double rate = std::stod(print.substr(print.rfind(' ', unit - 1)));
  EXPECT_TRUE(rate > megabytes / 30 && rate < megabytes * 30) << print;
  const size_t end = print.find(" sec left");
  ASSERT_NE(end, std::string::npos) << print;
  const double left = std::stod(print.substr(print.rfind(' ', end - 1)));
  EXPECT_TRUE(left > 0.03 && left < 45) << print;
}

TEST_F(KvctlTest, PrintsSeveralFilesAndTheStandardInput) {
  ASSERT_EQ(Run(kInstall).status, 0);
  const std::string file = WriteFile("file", 70000), other = WriteFile("other", 5);
  const ProgramResult input = Run("print - < " + file);
  EXPECT_EQ(input.status, 0);
  EXPECT_TRUE(input.output.starts_with("standard input: job ")) << input.output;
  EXPECT_TRUE(Contains(input, "70000 bytes sent, 70000 bytes accepted")) << input.output;
  const ProgramResult several = Run("print " + file + " nowhere " + other);
  EXPECT_EQ(several.status, 1);
  EXPECT_TRUE(Contains(several, "\n2 of 3 files: 70005 bytes sent, 70005 bytes accepted"))
      << several.output;
  const ProgramResult json = Run("print --json - < " + other);
  EXPECT_TRUE(json.output.starts_with("[{\"file\": \"standard input\", \"job\": ")) << json.output;
  EXPECT_TRUE(Contains(json, "\"sent\": 5, \"accepted\": 5, ")) << json.output;
}

TEST_F(KvctlTest, ShellsCompleteWhatTheTableKnows) {
  const auto complete = [&](const std::string& words, int at) {
    const std::string script = (directory() / "complete.bash").string();
    std::ofstream(script) << Run("completion bash").output << "COMP_WORDS=(" << words
                          << ")\nCOMP_CWORD=" << at << "\n_kvctl\necho \"${COMPREPLY[*]}\"\n";
    return RunProgram("/bin/bash", script).output;
  };
  EXPECT_EQ(complete("kvctl pri", 1), "print printers printer\n");
  EXPECT_EQ(complete("kvctl papers a", 2), "add\n");
  EXPECT_EQ(complete("kvctl install --p", 2), "--paper --printer\n");
  const ProgramResult powershell = Run("completion powershell");
  EXPECT_TRUE(Contains(powershell, "    'completion' = @('bash', 'powershell', '--help')\n"))
      << powershell.output;
  EXPECT_TRUE(Contains(
      powershell,
      "    'papers' = @('list', 'show', 'add', 'remove', '--custom', '--json', '--help')\n"))
      << "each word once: " << powershell.output;
  EXPECT_TRUE(powershell.output.starts_with(
      "# Completion of kvctl: kvctl completion powershell | Out-String | Invoke-Expression\n"
      "Register-ArgumentCompleter -Native -CommandName kvctl, kvctl.exe -ScriptBlock {\n"))
      << powershell.output;
}

TEST_F(KvctlTest, PackagesThatCannotWorkLeaveThePortThatWorks) {
  ASSERT_EQ(Run(kInstall).status, 0);
  const std::filesystem::path package = directory() / "package";
  std::filesystem::create_directory(package);
  for (const char* name : {"kvctl", "kvres832.dll"}) {
    std::filesystem::copy_file(TestDirectory() / name, package / name);
  }
  const auto works = [&] { return Contains(Run("status"), "The port KVR8: works.\n"); };
  const auto install = [&] {
    return RunProgram(package / "kvctl", kInstall, "KV_MACHINE=" + directory().string());
  };
  WriteSpoiltModule(package / "kvmon8.dll", kMonitorEntry, [](char* name) { ++*name; });
  const ProgramResult broken = install();
  EXPECT_EQ(broken.status, 1);
  EXPECT_TRUE(
      broken.output.ends_with("kvctl: nothing was installed; what had been changed was put back\n"))
      << broken.output;
  // The first to turn to the spooler afterwards.
  EXPECT_TRUE(Contains(Run("ports"), "KVR8:"));
  EXPECT_TRUE(works());
  std::ofstream(package / "kvmon8.dll") << "no module";
  const ProgramResult unreadable = install();
  EXPECT_EQ(unreadable.status, 1);
  EXPECT_TRUE(unreadable.output.ends_with("\\package\\kvmon8.dll\" cannot be read\n"))
      << unreadable.output;
  EXPECT_TRUE(works());
}

TEST_F(KvctlTest, DocumentNames) {
  const char kAddress[] = "docname 'http://www.example.com/a/b.html'";
  EXPECT_EQ(Run(kAddress).output, "http://www.example.com/a/b.html\n");
  EXPECT_EQ(Run(std::string(kAddress) + " --strip-scheme").output, "www.example.com/a/b.html\n");
  EXPECT_EQ(Run("docname 'C:\\letters\\mine.xyz' --strip-extension").output, "mine.xyz\n")
      << "no program opens it";
  EXPECT_EQ(Run("docname -- --title").output, "--title\n") << "what follows is no option";
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
