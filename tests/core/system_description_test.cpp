// The whole text that describes the system, for every Windows version.
#include "runtime/core/system_description.h"

#include "platform/control/message_boxes.h"
#include "platform/control/profiles.h"
#include "platform/kernel/text.h"
#include "tests/support/runtime_test.h"

namespace kv::test {
namespace {

namespace facts = platform::facts;

class SystemDescriptionTest : public RuntimeTest {
 protected:
  void Use(const char* profile, const char* architecture = "") {
    ASSERT_TRUE(platform::UseProfile(profile, architecture)) << profile;
    Restart();
  }
  static void SetMetric(int metric, long value) {
    platform::SetFactNumber(facts::kMetricPrefix + std::to_string(metric), value);
  }
  static std::string Description(int detail) {
    WCHAR text[kSystemDescriptionCapacity];
    DescribeSystem(text, detail);
    return platform::ToUtf8(text);
  }
};

constexpr const char* kArchitecture =
    sizeof(void*) == 4 ? "\nArchitecture: x86 (reported), AMD64 (actual)" : "\nArchitecture: AMD64";

// "x64" and "x86" of a text, by how this program runs on a machine of that architecture.
std::string WithProcessor(std::string text) {
  const size_t mark = text.find('#');
  if (mark == std::string::npos) return text;
  const bool x64 = platform::Fact(facts::kArchitecture) == "x64";
  return text.replace(mark, 1, x64 ? "x64" : "x86");
}

// What the texts of a version say; "#" stands for the processor.
struct Version {
  const char* profile;
  const char* name;
  const char* service_pack;
  const char* terminal;  // null without terminal services
  const char* csd;
  const char* number;
  const char* type;
  const char* suites;
};
constexpr const char* kSingle = "\nTerminal Server (single user)";
constexpr const char* kMany = "\nTerminal Server";
constexpr const char* kWorkstation = "VER_NT_WORKSTATION";
constexpr const char* kServer = "VER_NT_SERVER";
constexpr Version kVersions[] = {
    {"windows-95", "Windows 95", "", nullptr, "", "4.00 Build 950", "unknown", "0000"},
    {"windows-98", "Windows 98", "", nullptr, "", "4.10 Build 1998", "unknown", "0000"},
    {"windows-98-se", "Windows 98 SE", "", nullptr, " A ", "4.10 Build 2222", "unknown", "0000"},
    {"windows-me", "Windows Me", "", nullptr, "", "4.90 Build 3000", "unknown", "0000"},
    {"windows-nt4", "Windows NT Workstation # 4.00", " Service Pack 5", nullptr, "Service Pack 5",
     "4.00 Build 1381", "unknown", "0000"},
    {"windows-2000", "Windows 2000 Professional #", " SP4", nullptr, "Service Pack 4",
     "5.00 Build 2195", kWorkstation, "0000"},
    {"windows-2000-server", "Windows 2000 Server #", " SP4", nullptr, "Service Pack 4",
     "5.00 Build 2195", kServer, "0000"},
    {"windows-xp", "Windows XP Professional #", " SP3", kSingle, "Service Pack 3",
     "5.01 Build 2600", kWorkstation, "0100"},
    {"windows-xp-rtm", "Windows XP Professional #", "", kSingle, "", "5.01 Build 2600",
     kWorkstation, "0100"},
    {"windows-server-2003", "Windows Server 2003 Standard Edition #", " SP2", kMany,
     "Service Pack 2", "5.02 Build 3790", kServer, "0110"},
    {"windows-server-2003-r2", "Windows Server 2003 R2 Standard Edition #", " SP2", kMany,
     "Service Pack 2", "5.02 Build 3790", kServer, "0110"},
    {"windows-vista", "Windows Vista Business #", " SP2", kSingle, "Service Pack 2",
     "6.00 Build 6002", kWorkstation, "0100"},
    {"windows-server-2008", "Windows Server 2008 #", " SP2", kMany, "Service Pack 2",
     "6.00 Build 6002", kServer, "0110"},
    {"windows-7", "Windows 7 Professional #", " SP1", kSingle, "Service Pack 1", "6.01 Build 7601",
     kWorkstation, "0100"},
    {"windows-server-2008-r2", "Windows Server 2008 R2 #", " SP1", kMany, "Service Pack 1",
     "6.01 Build 7601", kServer, "0110"},
    {"windows-8", "Windows 8 #", "", kSingle, "", "6.02 Build 9200", kWorkstation, "0100"},
    {"windows-server-2012", "Windows Server 2012 #", "", kMany, "", "6.02 Build 9200", kServer,
     "0110"},
    {"windows-8.1", "Windows 8.1 #", "", kSingle, "", "6.03 Build 9200", kWorkstation, "0100"},
    {"windows-server-2012-r2", "Windows 8.1 #", "", kMany, "", "6.03 Build 9200", kServer, "0110"},
    {"windows-10", "Windows 10 #", "", kSingle, "", "10.00 Build 9200", kWorkstation, "0100"},
    {"windows-11", "Windows 10 #", "", kSingle, "", "10.00 Build 9200", kWorkstation, "0100"},
};

// The whole text about this version's machine with the sessions of its default user.
std::string FullText(const Version& version) {
  const bool vista = platform::FactNumber(facts::kMajor, 0) >= 6;
  const bool nt = platform::FactNumber(facts::kPlatformId, 0) == VER_PLATFORM_WIN32_NT;
  const bool x64 = platform::Fact(facts::kArchitecture) == "x64";
  std::string text =
      "computer WORKSTATION, user Ada\n" + WithProcessor(version.name) + version.service_pack;
  if (x64) text += kArchitecture;
  if (version.terminal != nullptr) {
    text += std::string("\n") + version.terminal;
    text += vista ? "\ncurrent session ID = 1, active console session ID = 1\n"
                    "\nsession 0 [Services] - no user, protocol 0, token 00000000"
                    "\nsession 1 [Console] - Ada, protocol 0, token 00000000\n"
                  : "\ncurrent session ID = 0, active console session ID = 0\n"
                    "\nsession 0 [Console] - Ada, protocol 0, token 00000000\n";
  }
  if (nt) text += "\nadministrative user";
  if (vista) text += " (not elevated)\nprocess integrity level: medium";
  if (version.csd[0] != 0) text += std::string("\nszCSDVersion = \"") + version.csd + "\"";
  return text + "\nWindows " + version.number + "\n" + version.type +
         "\nwSuiteMask=" + version.suites;
}

TEST_F(SystemDescriptionTest, EveryVersionIsDescribedWhole) {
  EXPECT_EQ(std::size(kVersions), platform::ProfileNames().size());
  for (const Version& version : kVersions) {
    SCOPED_TRACE(version.profile);
    // The 64-bit edition of Windows XP is another system.
    const std::string profile = version.profile;
    if (sizeof(void*) == 8 && profile == "windows-xp") continue;
    const bool narrow = sizeof(void*) == 4 && platform::UseProfile(profile, "x86");
    if (!narrow && !platform::UseProfile(profile, "x64")) continue;
    Restart();
    EXPECT_EQ(Description(kShortDetail), WithProcessor(version.name));
    EXPECT_EQ(Description(kWithServicePack), WithProcessor(version.name) + version.service_pack);
    EXPECT_EQ(Description(kFullDetail), FullText(version));
  }
}

TEST_F(SystemDescriptionTest, EditionsFollowSuitesAndMetrics) {
  const struct {
    const char* profile;
    long suite;
    int metric;
    const char* expected;
  } kEditions[] = {
      {"windows-xp", VER_SUITE_PERSONAL, 0, "Windows XP Home x64"},
      {"windows-vista", VER_SUITE_PERSONAL, 0, "Windows Vista Home Basic x64"},
      {"windows-vista", VER_SUITE_PERSONAL, SM_MEDIACENTER, "Windows Vista Home Premium x64"},
      {"windows-vista", 0, SM_MEDIACENTER, "Windows Vista Ultimate x64"},
      {"windows-7", VER_SUITE_PERSONAL, 0, "Windows 7 Home Basic x64"},
      {"windows-7", VER_SUITE_PERSONAL, SM_MEDIACENTER, "Windows 7 Home Premium x64"},
      {"windows-7", 0, SM_MEDIACENTER, "Windows 7 Ultimate x64"},
      {"windows-7", 0, SM_STARTER, "Windows 7 Starter x64"},
      {"windows-10", VER_SUITE_PERSONAL, 0, "Windows 10 Home x64"},
      {"windows-server-2003", VER_SUITE_BLADE, 0, "Windows Server 2003 Web Edition x64"},
      {"windows-server-2003", VER_SUITE_DATACENTER | VER_SUITE_ENTERPRISE, 0,
       "Windows Server 2003 Datacenter Edition x64"},
      {"windows-server-2003", VER_SUITE_ENTERPRISE, 0,
       "Windows Server 2003 Enterprise Edition x64"},
      {"windows-server-2008", VER_SUITE_ENTERPRISE, SM_SERVERR2,
       "Windows Server 2008 R2 Enterprise x64"},
      {"windows-server-2008", VER_SUITE_DATACENTER | VER_SUITE_ENTERPRISE, 0,
       "Windows Server 2008 Datacenter x64"},
      {"windows-server-2008-r2", VER_SUITE_ENTERPRISE, 0, "Windows Server 2008 R2 Enterprise x64"},
      {"windows-server-2012", VER_SUITE_DATACENTER, 0, "Windows Server 2012 Datacenter x64"},
      {"windows-server-2012", VER_SUITE_ENTERPRISE, 0, "Windows Server 2012 x64"},
      {"windows-server-2012-r2", VER_SUITE_DATACENTER, 0, "Windows 8.1 Datacenter x64"},
  };
  for (const auto& edition : kEditions) {
    Use(edition.profile, "x64");
    platform::SetFactNumber(facts::kSuiteMask, edition.suite);
    if (edition.metric != 0) SetMetric(edition.metric, 1);
    EXPECT_EQ(Description(kShortDetail), edition.expected);
    if (edition.metric != 0) SetMetric(edition.metric, 0);
  }
  Use("windows-10", "x64");
  platform::SetFactNumber(facts::kMajor, 11);
  platform::InstallSystemFiles();
  EXPECT_EQ(Description(kShortDetail), "Windows NT x64 11.00") << "newer than the names";
}

TEST_F(SystemDescriptionTest, OtherLanguagesAreNamed) {
  Use("windows-10", "x64");
  platform::SetFactNumber(facts::kSystemLocale, 0x0807);
  EXPECT_EQ(Description(kShortDetail), "Windows 10 x64 German");
  EXPECT_EQ(Description(kWithServicePack), "Windows 10 x64 German (Switzerland)");
  platform::SetFactNumber(facts::kSystemLocale, 0x0411);
  EXPECT_EQ(Description(kWithServicePack), "Windows 10 x64 Japanese");
  platform::FailCall("EnumSystemLocalesW", 1);
  EXPECT_EQ(Description(kWithServicePack), "Windows 10 x64") << "no list, no name";
}

TEST_F(SystemDescriptionTest, TheFullTextTellsAll) {
  Use("windows-7", "x64");
  platform::SetFact(facts::kAccounts, "Bob:1002");
  platform::SetFact(facts::kSessions, "1,2");
  platform::SetFact(facts::kSessionPrefix + std::string("2.user"), "Bob");
  platform::SetFact(facts::kSessionPrefix + std::string("2.client"), "LAPTOP");
  platform::SetFact(facts::kSessionPrefix + std::string("2.protocol"), "2");
  SetMetric(SM_MEDIACENTER, 1);
  SetMetric(SM_TABLETPC, 1);
  WCHAR computer[MAX_PATH];
  DWORD size = MAX_PATH;
  GetComputerNameW(computer, &size);
  EXPECT_EQ(Description(kFullDetail),
            "computer " + platform::ToUtf8(computer) +
                ", user Ada\n"
                "Windows 7 Ultimate x64 SP1" +
                kArchitecture +
                "\nTablet PC Edition"
                "\n"
                "\nTerminal Server (single user)"
                "\ncurrent session ID = 1, active console session ID = 1"
                "\n"
                "\nsession 1 [Console] - Ada, protocol 0, token 00000000"
                "\nsession 2 [no name] - Bob, client LAPTOP, protocol 2, token 00000000"
                "\n"
                "\nadministrative user (not elevated)"
                "\nprocess integrity level: medium"
                "\nszCSDVersion = \"Service Pack 1\""
                "\nWindows 6.01 Build 7601"
                "\nVER_NT_WORKSTATION"
                "\nwSuiteMask=0100");
  EXPECT_EQ(Description(kFullDetail).find("Media Center"), std::string::npos);
}

TEST_F(SystemDescriptionTest, WhatIsUnusualIsTold) {
  const std::string client = facts::kSessionPrefix + std::string("1.client");
  const std::string media_center = facts::kMetricPrefix + std::to_string(SM_MEDIACENTER);
  const std::string starter = facts::kMetricPrefix + std::to_string(SM_STARTER);
  const std::string tablet = facts::kMetricPrefix + std::to_string(SM_TABLETPC);
  const std::string personal = facts::kSuiteMask;
  const std::string remote = facts::kMetricPrefix + std::to_string(SM_REMOTESESSION);
  using Facts = std::vector<std::pair<std::string, std::string>>;
  const auto Old = [](const char* major, const char* minor, const char* release) {
    return Facts{{facts::kPlatformId, "1"},
                 {facts::kMajor, major},
                 {facts::kMinor, minor},
                 {facts::kServicePackText, release}};
  };
  const struct {
    const char* profile;
    Facts facts;
    const char* line;  // "#" stands for the architecture, "@" for the processor
  } kUnusual[] = {
      {"windows-7", {{facts::kServicePackMinor, "2"}}, "Windows 7 Professional x64 SP1.02\n"},
      {"windows-xp", {{media_center, "1"}}, "\nMedia Center Edition\n"},
      {"windows-xp", {{starter, "1"}}, "\nStarter Edition\n"},
      {"windows-xp", {{tablet, "1"}}, "\nTablet PC Edition\n"},
      {"windows-7", {{starter, "1"}, {personal, "512"}}, "Windows 7 Home Basic x64 SP1\n"},
      {"windows-7", {{starter, "1"}, {personal, "512"}}, "\nStarter Edition\n"},
      {"windows-10", {{media_center, "1"}, {personal, "512"}}, "\nMedia Center Edition\n"},
      {"windows-10", {{media_center, "1"}}, "#\n\nTerminal Server"},
      {"windows-7", {{starter, "1"}, {media_center, "1"}}, "#\n\nTerminal Server"},
      {"windows-vista", {{media_center, "1"}}, "#\n\nTerminal Server"},
      // Names of versions without a profile.
      {"windows-10", Old("4", "0", " B"), "Windows 95 OSR2\n"},
      {"windows-10", Old("4", "10", "B"), "Windows 98\n"},
      {"windows-10", Old("4", "10", " A"), "Windows 98 SE\n"},
      {"windows-10", Old("4", "11", " A"), "Windows 9x/Me v4.11\n"},
      {"windows-10", {{facts::kPlatformId, "0"}}, "\nWin32s\n"},
      {"windows-10", {{facts::kMajor, "6"}, {facts::kMinor, "4"}}, "Windows 10 x64#"},
      {"windows-xp", {{facts::kMinor, "2"}}, "Windows XP Professional x64 SP2#"},
      {"windows-server-2003",
       {{facts::kMajor, "4"}, {facts::kMinor, "1"}},
       "Windows Server Server @ 4.01 SP2\n"},
      {"windows-server-2003",
       {{facts::kMajor, "4"}, {personal, "2"}},
       "Windows Server Server Enterprise Edition @ 4.02 SP2\n"},
      {"windows-xp", {{facts::kMajor, "4"}}, "Windows NT Workstation @ 4.02 SP2\n"},
      {"windows-10",
       {{facts::kExtendedVersion, "0"}, {facts::kServicePackText, " "}},
       "Windows 10 Workstation x64#"},
      {"windows-10",
       {{facts::kExtendedVersion, "0"}, {facts::kServicePackText, "SP 7"}},
       "Windows 10 Workstation x64 SP 7#"},
      {"windows-10", {{facts::kProductType, "2"}}, "\nVER_NT_DOMAIN_CONTROLLER\n"},
      {"windows-10", {{facts::kProductType, "4"}}, "\nunknown\n"},
      {"windows-10", {{facts::kUserIntegrity, "4095"}}, "\nprocess integrity level: untrusted\n"},
      {"windows-10", {{facts::kUserIntegrity, "4096"}}, "\nprocess integrity level: low\n"},
      {"windows-10", {{facts::kUserIntegrity, "8191"}}, "\nprocess integrity level: low\n"},
      {"windows-10", {{facts::kUserIntegrity, "12287"}}, "\nprocess integrity level: medium\n"},
      {"windows-10", {{facts::kUserIntegrity, "16383"}}, "\nprocess integrity level: high\n"},
      {"windows-10", {{facts::kUserIntegrity, "20479"}}, "\nprocess integrity level: system\n"},
      {"windows-10", {{facts::kUserIsElevated, "1"}}, "\nadministrative user (elevated)\n"},
      {"windows-10", {{facts::kUserIsAdministrator, "0"}}, "\nnon-administrative user\n"},
      {"windows-10", {{remote, "1"}}, "\nremote session\n"},
      {"windows-10", {{remote, "1"}, {client, "LAPTOP"}}, "\nremote session from client LAPTOP\n"},
      {"windows-10", {{facts::kUserIntegrity, "12288"}}, "\nprocess integrity level: high\n"},
      {"windows-10", {{facts::kUserIntegrity, "16384"}}, "\nprocess integrity level: system\n"},
      {"windows-10", {{facts::kUserIntegrity, "20480"}}, "\nprocess integrity level: protected\n"},
  };
  for (const auto& unusual : kUnusual) {
    Use(unusual.profile, "x64");
    for (const auto& [name, value] : unusual.facts) platform::SetFact(name, value);
    platform::InstallSystemFiles();
    const std::string text = Description(kFullDetail);
    std::string line = unusual.line;
    if (const size_t mark = line.find('#'); mark != std::string::npos)
      line.replace(mark, 1, kArchitecture);
    if (const size_t mark = line.find('@'); mark != std::string::npos)
      line.replace(mark, 1, sizeof(void*) == 4 ? "x86" : "x64");
    EXPECT_NE(text.find(line), std::string::npos) << line << "\n  is not in:\n" << text;
    for (const auto& [name, value] : unusual.facts) platform::ClearFact(name);
  }
}

TEST_F(SystemDescriptionTest, TheBoxHasItsTitle) {
  Use("windows-10", "x64");
  for (const WCHAR* title : {TEXT(""), TEXT("Mine")}) {
    platform::AnswerNextBox(IDOK);
    ShowSystemDescription(kShortDetail, title);
  }
  const auto boxes = platform::ShownBoxes();
  ASSERT_EQ(boxes.size(), 2u);
  EXPECT_EQ(boxes[0].title, TEXT("System Version"));
  EXPECT_EQ(boxes[1].title, TEXT("Mine"));
  EXPECT_EQ(boxes[0].text, TEXT("Windows 10 x64"));
  startupContext.silent = 1;
  ShowSystemDescription(kShortDetail, nullptr);
  EXPECT_EQ(platform::ShownBoxes().size(), 2u);
}

}  // namespace
}  // namespace kv::test
