// What lists say of a machine with the port, for people and for scripts: a transcript in lists.txt.
#include <fstream>

#include "tests/support/machine_test.h"
#include "tests/support/program.h"

namespace kv::test {
namespace {

// "@E" stands for the print environment ("@C" in a column), "@A" for the directory of its drivers,
// "@P" for the processor.
std::string ForThisEnvironment(std::string text) {
  const bool wide = sizeof(void*) == 8;
  const std::pair<std::string, const char*> kMarks[] = {
      {"@E", wide ? "Windows x64" : "Windows NT x86"},
      {"@C", wide ? "Windows x64   " : "Windows NT x86"},
      {"@A", wide ? "x64" : "W32X86"},
      {"@P", wide ? "x64" : "x86"}};
  for (const auto& [mark, value] : kMarks) {
    for (size_t at; (at = text.find(mark)) != std::string::npos;) text.replace(at, 2, value);
  }
  return text;
}

TEST_F(MachineTest, ListsAreThoseOfTheTranscript) {
  platform::SetFact(platform::facts::kArchitecture, sizeof(void*) == 8 ? "x64" : "x86");
  platform::SetFact(platform::facts::kUserIsElevated, "1");
  const auto run = [&](const std::string& command) {
    return RunProgram("kvctl", command, "KV_MACHINE=" + directory().string()).output;
  };
  run("install --driver 'Generic / Text Only' --printer='Preview 1'");
  run("shortcut create 'C:\\a.lnk' 'C:\\Windows\\x.exe' --arguments '/y z' --icon-index 3 "
      "--icon 'C:\\i.dll' --directory 'C:\\Windows' --description 'd e'");
  run("shortcut create 'C:\\a.url' https://example.org/");
  const std::string prompt = "$ kvctl ";
  std::ifstream transcript(KV_TRANSCRIPT);
  std::string line, command, expected;
  int commands = 0;
  const auto check = [&] {
    if (command.empty()) return;
    EXPECT_EQ(run(command), expected) << command;
    ++commands;
  };
  while (std::getline(transcript, line)) {
    if (line.starts_with(prompt)) {
      check();
      command = line.substr(prompt.size());
      expected.clear();
    } else {
      expected += ForThisEnvironment(line) + "\n";
    }
  }
  check();
  EXPECT_GT(commands, 20);
}

}  // namespace
}  // namespace kv::test
