// What the platform facts say of every Windows version.
#include "runtime/core/platform_info.h"

#include "platform/control/pe_writer.h"
#include "platform/control/profiles.h"
#include "runtime/core/version_record.h"
#include "runtime/files/current_directory.h"
#include "tests/support/machine_test.h"

namespace kv::test {
namespace {

using PlatformInfoTest = MachineTest;

struct Row {
  const char* profile;
  DWORD win9x, nt;
  WORD major, minor;
  DWORD is_server;
  WORD service_pack;
  WORD comctl;
};

// Windows 95 and 98 take the short way: they tell nothing but their kind. Without the extended
// record the service pack is unknown.
constexpr Row kRows[] = {
    {"windows-95", 1, 0, 0, 0, 0, 0, 0},
    {"windows-98", 2, 0, 0, 0, 0, 0, 0},
    {"windows-98-se", 2, 0, 0, 0, 0, 0, 0},
    {"windows-me", 1, 0, 0, 0, 0, 0, 0},
    {"windows-nt4", 0, kNt4, 4, 0, 0, 0, 4},
    {"windows-2000", 0, kWindows2000, 5, 0, 0, 4, 5},
    {"windows-2000-server", 0, kWindows2000, 5, 0, 1, 4, 5},
    {"windows-xp", 0, kWindowsXp, 5, 1, 0, 3, 5},
    {"windows-xp-rtm", 0, kWindowsXp, 5, 1, 0, 0, 5},
    {"windows-server-2003", 0, kServer2003, 5, 2, 1, 2, 5},
    {"windows-server-2003-r2", 0, kServer2003, 5, 2, 1, 2, 5},
    {"windows-vista", 0, kWindowsVista, 6, 0, 0, 2, 5},
    {"windows-server-2008", 0, kServer2008, 6, 0, 1, 2, 5},
    {"windows-7", 0, kWindows7, 6, 1, 0, 1, 5},
    {"windows-server-2008-r2", 0, kServer2008, 6, 1, 1, 1, 5},
    {"windows-8", 0, kWindows8, 6, 2, 0, 0, 5},
    {"windows-server-2012", 0, kServer2012, 6, 2, 1, 0, 5},
    {"windows-8.1", 0, kWindows81, 6, 3, 0, 0, 5},
    {"windows-server-2012-r2", 0, kWindows81, 6, 3, 1, 0, 5},
    {"windows-10", 0, kWindows10, 10, 0, 0, 0, 5},
    {"windows-11", 0, kWindows10, 10, 0, 0, 0, 5},
};

void ExpectFacts(const Row& row) {
  PlatformFacts facts;
  ReadPlatformFacts(facts);
  EXPECT_EQ(facts.win9xKind, row.win9x);
  EXPECT_EQ(facts.ntKind, row.nt);
  EXPECT_EQ(facts.osMajor, row.major);
  EXPECT_EQ(facts.osMinor, row.minor);
  EXPECT_EQ(facts.isServer, row.is_server);
  EXPECT_EQ(facts.servicePackMajor, row.service_pack);
  EXPECT_EQ(facts.comctlMajor, row.comctl);
  EXPECT_EQ(facts.wow64Arch, row.major == 0 ? 0 : GetWow64Arch());
}

TEST_F(PlatformInfoTest, EveryVersion) {
  EXPECT_EQ(platform::ProfileNames().size(), std::size(kRows)) << "each has its row";
  for (const Row& row : kRows) {
    SCOPED_TRACE(row.profile);
    ASSERT_TRUE(platform::UseProfile(row.profile, "x86") || platform::UseProfile(row.profile));
    ExpectFacts(row);
    // A 32-bit program of a 64-bit system knows what it runs on.
    const bool wow64 =
        sizeof(void*) == 4 && platform::Fact(platform::facts::kArchitecture) == "x64";
    EXPECT_EQ(GetWow64Arch(), wow64 ? PROCESSOR_ARCHITECTURE_AMD64 : 0u);
  }
}

TEST_F(PlatformInfoTest, VersionsOfNoName) {
  ASSERT_TRUE(platform::UseProfile("windows-11"));
  platform::SetFactNumber(platform::facts::kMajor, 11);
  platform::InstallSystemFiles();
  ExpectFacts({"", 0, kNewerNt, 11, 0, 0, 0, 5});
  // Windows XP for x64 is a workstation of the server's version.
  ASSERT_TRUE(platform::UseProfile("windows-xp", "x64"));
  ExpectFacts({"", 0, kWindowsXp, 5, 2, 0, 2, 5});
}

DWORD WINAPI VersionOfNt() {
  return 0x0A280105;
}

// The number that systems report of themselves may say less than the record.
TEST_F(PlatformInfoTest, WhatTheRecordTellsOfOlderSystems) {
  platform::SetFactNumber(platform::facts::kPlatformId, VER_PLATFORM_WIN32_WINDOWS);
  platform::Replace("GetVersion", &VersionOfNt);
  const struct {
    WORD major, minor;
    DWORD win9x;
  } kOld[] = {{4, 0, 1}, {4, 10, 2}, {4, 90, 3}, {5, 0, 3}};
  for (const auto& old : kOld) {
    platform::SetFactNumber(platform::facts::kMajor, old.major);
    platform::SetFactNumber(platform::facts::kMinor, old.minor);
    platform::InstallSystemFiles();
    ExpectFacts({"", old.win9x, 0, old.major, old.minor, 0, 0, 5});
  }
  platform::SetFactNumber(platform::facts::kPlatformId, VER_PLATFORM_WIN32_NT);
  platform::SetFactNumber(platform::facts::kMajor, 6);
  platform::SetFactNumber(platform::facts::kMinor, 4);
  platform::InstallSystemFiles();
  ExpectFacts({"", 0, kWindows10, 6, 4, 0, 0, 5});
}

TEST_F(PlatformInfoTest, TheRegistryTellsServersWhereTheRecordDoesNot) {
  platform::SetFact(platform::facts::kExtendedVersion, "0");
  platform::SetFact(platform::facts::kUserIsElevated, "1");
  HKEY key = nullptr;
  ASSERT_EQ(RegCreateKeyExW(HKEY_LOCAL_MACHINE,
                            TEXT("System\\CurrentControlSet\\Control\\ProductOptions"), 0, nullptr,
                            0, KEY_WRITE, nullptr, &key, nullptr),
            ERROR_SUCCESS);
  const struct {
    std::basic_string<WCHAR> type;
    DWORD is_server;
  } kTypes[] = {{TEXT("ServerNT"), 1},
                {TEXT("serverNt"), 1},
                {TEXT("LanmanNT"), 0},
                {TEXT("WinNT"), 0},
                {TEXT("ServerNT2"), 0}};
  for (const auto& type : kTypes) {
    RegSetValueExW(key, TEXT("ProductType"), 0, REG_SZ,
                   reinterpret_cast<const BYTE*>(type.type.c_str()),
                   static_cast<DWORD>((type.type.size() + 1) * sizeof(WCHAR)));
    ExpectFacts({"", 0, kWindows10, 10, 0, type.is_server, 0, 5});
  }
  RegDeleteValueW(key, TEXT("ProductType"));
  ExpectFacts({"", 0, kWindows10, 10, 0, 0, 0, 5});
  // 256 characters without a terminator are the longest.
  WCHAR text[257];
  for (const DWORD units : {256, 257}) {
    const std::basic_string<WCHAR> longest(units, 'x');
    RegSetValueExW(key, TEXT("ProductType"), 0, REG_SZ,
                   reinterpret_cast<const BYTE*>(longest.c_str()), units * 2);
    for (WCHAR& c : text) c = '#';
    ReadProductType(text);
    EXPECT_EQ(WideView(text), units == 256 ? WideView(longest) : TEXT(""));
  }
  RegCloseKey(key);
}

BOOL WINAPI IsUnderWow64(HANDLE, BOOL* wow64) {
  *wow64 = TRUE;
  return TRUE;
}
BOOL WINAPI CannotTell(HANDLE, BOOL* wow64) {
  *wow64 = TRUE;
  return FALSE;
}
WORD native_architecture;
void WINAPI NativeArchitecture(SYSTEM_INFO* info) {
  info->wProcessorArchitecture = native_architecture;
}

TEST_F(PlatformInfoTest, TheArchitectureBelowIsAmd64OrUnknown) {
  platform::Replace("IsWow64Process", &IsUnderWow64);
  platform::Replace("GetNativeSystemInfo", &NativeArchitecture);
  native_architecture = PROCESSOR_ARCHITECTURE_AMD64;
  EXPECT_EQ(GetWow64Arch(), 9u);
  native_architecture = 6;  // Itanium
  EXPECT_EQ(GetWow64Arch(), 0xFFFFu);
  platform::SetFact(platform::facts::kEntryPrefix + std::string("kernel32.GetNativeSystemInfo"),
                    "0");
  EXPECT_EQ(GetWow64Arch(), 0xFFFFu);
  platform::Replace("IsWow64Process", &CannotTell);
  EXPECT_EQ(GetWow64Arch(), 0u);
  platform::SetFact(platform::facts::kEntryPrefix + std::string("kernel32.IsWow64Process"), "0");
  EXPECT_EQ(GetWow64Arch(), 0u);
}

TEST_F(PlatformInfoTest, RecordsThatCannotBeRead) {
  platform::FailCall("GetVersionExW", 1, 0, 2);
  ExpectFacts({});
  platform::FailCall("GetVersionExW", 1);
  ExpectFacts({"", 0, kWindows10, 10, 0, 0, 0, 5});
  // What stands for it when its directory is not known.
  ASSERT_TRUE(CreateDirectoryW(TEXT("C:\\dir"), nullptr));
  const CCurrentDirectory elsewhere(TEXT("C:\\dir"));
  platform::VersionResource other;
  other.product_version = {5, 1, 0, 0};
  other.translations = {{0x0409, 1200}};
  platform::PeWriter().AddVersion(other).WriteTo(platform::HostPath(TEXT("C:\\dir\\user32.dll")));
  for (const char* call : {"GetFileVersionInfoSizeW", "GetSystemDirectoryW"}) {
    platform::FailCall(call, 1);
    PlatformFacts facts;
    ReadPlatformFacts(facts);
    EXPECT_EQ(facts.ntKind, static_cast<DWORD>(kWindows8))
        << "as reported, when " << call << " fails";
  }
}

}  // namespace
}  // namespace kv::test
