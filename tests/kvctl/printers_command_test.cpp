// Papers, printers and their settings on the command line.
#include "tests/support/machine_test.h"
#include "tests/support/program.h"

namespace kv::test {
namespace {

class PrintersCommandTest : public MachineTest {
 protected:
  void SetUp() override {
    MachineTest::SetUp();
    platform::SetFact(platform::facts::kArchitecture, sizeof(void*) == 8 ? "x64" : "x86");
    platform::SetFact(platform::facts::kUserIsElevated, "1");
  }
  ProgramResult Run(const std::string& arguments) {
    return RunProgram("kvctl", arguments, "KV_MACHINE=" + directory().string());
  }
  // The output of a command that succeeds, or its status.
  std::string Output(const std::string& arguments) {
    const ProgramResult result = Run(arguments);
    return result.status == 0 ? result.output
                              : std::to_string(result.status) + ": " + result.output;
  }
  static bool Contains(const std::string& text, std::string_view part) {
    return text.find(part) != std::string::npos;
  }
};

TEST_F(PrintersCommandTest, PapersAreAddedShownAndRemoved) {
  EXPECT_EQ(Output("papers --custom --json"), "[]\n");
  EXPECT_EQ(Output("papers add 'My \"A0\"' 841x1189mm"), "");
  EXPECT_EQ(Output("papers add Card 3.5x2in"), "");
  EXPECT_EQ(Output("papers show card"), "301     Card                            2 x 3.5 in\n");
  EXPECT_EQ(
      Output("papers --custom --json"),
      "[{\"id\": 301, \"name\": \"Card\", \"width_um\": 88900, \"height_um\": 50800, "
      "\"units\": \"in\", \"custom\": true}, {\"id\": 300, \"name\": \"My \\\"A0\\\"\", "
      "\"width_um\": 841000, \"height_um\": 1189000, \"units\": \"mm\", \"custom\": true}]\n");
  // Sizes may be written as the list shows them.
  EXPECT_EQ(Output("papers add Legal2 '8.5 x 14 in'") + Output("papers add A4too '210 x 297 mm'"),
            "");
  EXPECT_EQ(Output("papers show legal2"), "303     Legal2                          8.5 x 14 in\n");
  EXPECT_EQ(Output("papers show a4too"), "302     A4too                           210 x 297 mm\n");
  EXPECT_EQ(Output("papers add CARD 1x3276.7"), "") << "the largest and the smallest side";
  EXPECT_TRUE(
      Contains(Output("papers list"), "9       A4                              210 x 297 mm"));
  EXPECT_TRUE(Contains(Output("papers list"), "301     Card"));
  EXPECT_EQ(Output("papers remove card"), "");
  EXPECT_EQ(Output("papers remove card"), "1: kvctl: there is no paper \"card\"\n");
  EXPECT_EQ(Run("papers show Card").status, 1);
  for (const char* wrong :
       {"add Big 3276.8x10", "add Small 0.999x10", "add X 10", "add X x", "add X 1x", "add X -1x5",
        "add X 1.23456x5", "add X 72624976669x1in", "add a4 10x10", "add '' 10x10",
        "add 'a\\b' 10x10", "add X 1..x2", "add 12345678901234567890123456789012 10x10", "add X",
        "paint", "list x", "show A4 --jsn"}) {
    EXPECT_EQ(Run(std::string("papers ") + wrong).status, 2) << wrong;
  }
  EXPECT_EQ(Run("papers add X 10").output,
            "kvctl: \"10\" is no paper size; give one like 210x297mm or 8.5x11in, sides from 1 to "
            "3276.7 mm\nkvctl: See \"kvctl papers --help\".\n");
}

TEST_F(PrintersCommandTest, PrintersTheirSettingsAndTheDefault) {
  EXPECT_EQ(Run("default").status, 1);
  EXPECT_EQ(Output("printers --json"), "[]\n");
  ASSERT_EQ(Run("install --driver 'Generic / Text Only' --printer='Preview 1'").status, 0);
  EXPECT_EQ(Output("default 'PREVIEW 1'"), "");
  EXPECT_EQ(Output("default"), "Preview 1\n") << "as the spooler writes it";
  EXPECT_EQ(Output("printers"),
            "*  Preview 1                   Generic / Text Only         KVR8:\n");
  EXPECT_EQ(Output("printers --json"),
            "[{\"default\": true, \"name\": \"Preview 1\", \"driver\": \"Generic / Text Only\", "
            "\"driverFile\": \"unidrv\", \"port\": \"KVR8:\", \"share\": \"\", "
            "\"server\": \"\"}]\n");
  EXPECT_EQ(Output("printers --product"), Output("printers")) << "whatever its driver";
  for (const char* two : {"--product --all", "--product --sibling", "--all --sibling"})
    EXPECT_EQ(Run(std::string("printers ") + two).status, 2) << two;
  const std::string settings = Output("printer show 'Preview 1'");
  EXPECT_TRUE(
      Contains(settings, "YResolution       300                       printer, for all users\n"))
      << settings;
  EXPECT_TRUE(Contains(settings, "MarginLeft        250                       default\n"))
      << settings;
  EXPECT_TRUE(
      Contains(Output("printer show 'Preview 1' --json"),
               "{\"setting\": \"PaperName\", \"value\": \"Letter\", \"from\": \"all-users\"}"));
  EXPECT_EQ(Run("default Nobody").output,
            "kvctl: cannot open the printer \"Nobody\": The printer name is invalid\n");
  EXPECT_EQ(Run("printer show Nobody").status, 1);
  EXPECT_EQ(Run("printer hide 'Preview 1'").status, 2);
  EXPECT_EQ(Run("default --all-users").status, 2);
  EXPECT_EQ(Output("default 'Preview 1' --all-users"), "");
  EXPECT_EQ(Output("printer margins 'Preview 1'"),
            "Preview 1: 300 dpi, margins in thousandths of an inch: left 167, top 167, right 167, "
            "bottom 167\n");
  EXPECT_EQ(Run("printer margins Nobody").status, 1);
  EXPECT_EQ(Output("printer margins 'Preview 1' --for Nobody"),
            "1: kvctl: cannot open the printer \"Nobody\": The printer name is invalid\n");
  EXPECT_FALSE(Contains(Output("settings list"), "Nobody"));
  platform::SetFact(platform::facts::kUserIsElevated, "0");
  EXPECT_EQ(Run("default 'Preview 1' --all-users").status, 3);
}

}  // namespace
}  // namespace kv::test
