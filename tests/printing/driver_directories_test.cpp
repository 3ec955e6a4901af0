// The directories of printer drivers.
#include "runtime/printing/driver_directories.h"

#include "platform/control/profiles.h"
#include "platform/control/spooler.h"
#include "tests/support/runtime_test.h"

namespace kv::test {
namespace {

using DriverDirectoriesTest = RuntimeTest;

TEST_F(DriverDirectoriesTest, ByGenerationAndEnvironment) {
  static constexpr struct {
    const char* profile;
    LPCWSTR x86;
  } kRows[] = {
      {"windows-nt4", TEXT("C:\\WINNT\\System32\\spool\\DRIVERS\\W32X86\\2")},
      {"windows-2000", TEXT("C:\\WINNT\\System32\\spool\\DRIVERS\\W32X86\\3")},
      {"windows-10", TEXT("C:\\Windows\\System32\\spool\\DRIVERS\\W32X86\\3")},
  };
  WCHAR path[MAX_PATH];
  for (const auto& row : kRows) {
    ASSERT_TRUE(platform::UseProfile(row.profile, "x86"));
    Restart();
    EXPECT_EQ(GetDriverDirectory(TEXT("Windows NT x86"), nullptr, path), TEXT('C'));
    EXPECT_EQ(WideView(path), row.x86);
    GetDriverDirectory(TEXT("Windows NT x86"), TEXT("a.dll"), path);
    EXPECT_EQ(WideView(path), std::basic_string<WCHAR>(row.x86) + TEXT("\\a.dll"));
  }
  startupContext.platform.wow64Arch = 9;
  GetNativeDriverDirectory(TEXT(""), path);
  EXPECT_TRUE(WideView(path).ends_with(TEXT("\\x64\\3")));
  startupContext.platform.ntKind = 0;
  GetDriverDirectory(TEXT("Windows NT x86"), nullptr, path);
  EXPECT_TRUE(WideView(path).ends_with(TEXT("\\W32X86"))) << "no version's directory";
}

TEST_F(DriverDirectoriesTest, SharesOfServers) {
  PlatformFacts& facts = startupContext.platform;
  static constexpr struct {
    DWORD wow64Arch;
    DWORD ntKind;
    LPCWSTR share;
  } kRows[] = {
      {0, 0, TEXT("\\\\S\\print$\\win40\\0")},
      {0, kNt4, TEXT("\\\\S\\print$\\w32x86\\2")},
      {0, kWindows10, TEXT("\\\\S\\print$\\w32x86\\3")},
      {9, kNt4, TEXT("\\\\S\\print$\\x64\\3")},
      {0xFFFF, kWindows10, TEXT("")},
  };
  for (const auto& row : kRows) {
    if (row.wow64Arch == 0 && sizeof(void*) == 8)
      continue;  // a 64-bit system is never one of these
    facts.wow64Arch = row.wow64Arch;
    facts.ntKind = row.ntKind;
    WCHAR path[MAX_PATH];
    EXPECT_EQ(GetServerDriverShare(TEXT("S"), nullptr, path), row.share[0]);
    EXPECT_EQ(WideView(path), row.share);
    GetServerDriverShare(TEXT("S"), TEXT("a.dll"), path);
    const std::basic_string<WCHAR> file(row.share);
    EXPECT_EQ(WideView(path), file.empty() ? file : file + TEXT("\\a.dll"));
  }
}

TEST_F(DriverDirectoriesTest, NamesThatStandAlone) {
  WCHAR path[MAX_PATH];
  for (const LPCWSTR name :
       {TEXT("http://x/a.dll"), TEXT("mailto:me"), TEXT("D:\\a.dll"), TEXT("\\\\server\\a.dll")}) {
    EXPECT_NE(GetProductDriverDirectory(name, path), 0);
    EXPECT_EQ(WideView(path), name);
  }
  platform::StopSpooler();
  EXPECT_EQ(GetProductDriverDirectory(TEXT("a.dll"), path), 0);
  EXPECT_EQ(path[0], 0);
  EXPECT_EQ(GetProductDriverDirectory(TEXT("http://x"), path), TEXT('h')) << "no spooler needed";
  EXPECT_EQ(GetDriverDirectory(TEXT("Windows Nowhere"), nullptr, path), 0);
}

}  // namespace
}  // namespace kv::test
