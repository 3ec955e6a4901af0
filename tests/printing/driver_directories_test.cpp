// The directories of printer drivers.
#include "runtime/printing/driver_directories.h"

#include <cstring>

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
  EXPECT_EQ(GetProductDriverDirectory(TEXT("http://x"), path), TEXT('h')) << "no spooler needed";
}

std::basic_string<WCHAR> spoolers_directory;

BOOL WINAPI SpoolersDirectory(LPWSTR, LPWSTR, DWORD, LPBYTE buffer, DWORD size, LPDWORD needed) {
  *needed = static_cast<DWORD>((spoolers_directory.size() + 1) * sizeof(WCHAR));
  if (*needed > size) {
    SetLastError(ERROR_INSUFFICIENT_BUFFER);
    return FALSE;
  }
  std::memcpy(buffer, spoolers_directory.c_str(), *needed);
  return TRUE;
}

TEST_F(DriverDirectoriesTest, NoPathIsMadeOfNothingOrCut) {
  using WideString = std::basic_string<WCHAR>;
  WCHAR path[MAX_PATH] = TEXT("dirty");
  const auto expect_refusal = [&](WCHAR first, DWORD error) {
    EXPECT_EQ(GetLastError(), error);
    EXPECT_EQ(first, 0);
    EXPECT_EQ(path[0], 0);
    path[0] = TEXT('d');
  };
  platform::Replace("GetPrinterDriverDirectoryW", &SpoolersDirectory);
  struct Case {
    size_t directory;  // characters
    LPCWSTR file;
    DWORD error;
  };
  // With "\\3" and "\\a.dll" 252 + 2 + 6 are one too many.
  for (const Case& c :
       {Case{0, TEXT("a.dll"), ERROR_PATH_NOT_FOUND}, Case{0, nullptr, ERROR_PATH_NOT_FOUND},
        Case{252, TEXT("a.dll"), ERROR_FILENAME_EXCED_RANGE},
        Case{258, nullptr, ERROR_FILENAME_EXCED_RANGE},
        Case{300, nullptr, ERROR_FILENAME_EXCED_RANGE}}) {
    spoolers_directory.assign(c.directory, TEXT('d'));
    expect_refusal(GetProductDriverDirectory(c.file, path), c.error);
  }
  for (const auto& [length, file] :
       {std::pair<size_t, LPCWSTR>(251, TEXT("a.dll")), {257, nullptr}}) {
    spoolers_directory.assign(length, TEXT('d'));
    EXPECT_NE(GetProductDriverDirectory(file, path), 0);
    EXPECT_EQ(WideView(path).size(), 259u);
  }
  platform::ResetFaults();
  const WideString link = TEXT("http://") + WideString(260, TEXT('x'));
  expect_refusal(GetProductDriverDirectory(link.c_str(), path), ERROR_FILENAME_EXCED_RANGE);
  expect_refusal(GetDriverDirectory(TEXT("Windows Nowhere"), TEXT("a.dll"), path),
                 ERROR_INVALID_ENVIRONMENT);
  expect_refusal(GetServerDriverShare(TEXT(""), TEXT("a.dll"), path), ERROR_INVALID_PARAMETER);
  expect_refusal(GetServerDriverShare(nullptr, nullptr, path), ERROR_INVALID_PARAMETER);
  const WideString server(250, TEXT('s'));
  expect_refusal(GetServerDriverShare(server.c_str(), nullptr, path), ERROR_FILENAME_EXCED_RANGE);
  startupContext.platform.wow64Arch = 0xFFFF;
  expect_refusal(GetServerDriverShare(TEXT("S"), TEXT("a.dll"), path), ERROR_INVALID_ENVIRONMENT);
  platform::StopSpooler();
  expect_refusal(GetProductDriverDirectory(TEXT("a.dll"), path), RPC_S_SERVER_UNAVAILABLE);
}

TEST_F(DriverDirectoriesTest, TheNameMayLieInThePath) {
  WCHAR path[MAX_PATH] = TEXT("a.dll");
  EXPECT_NE(GetProductDriverDirectory(path, path), 0);
  EXPECT_TRUE(WideView(path).ends_with(TEXT("\\3\\a.dll")));
  const std::basic_string<WCHAR> whole(path);
  EXPECT_NE(GetProductDriverDirectory(path, path), 0);
  EXPECT_EQ(WideView(path), whole) << "with a drive it stands alone";
  startupContext.platform.wow64Arch = 9;
  EXPECT_NE(GetServerDriverShare(TEXT("S"), path + whole.size() - 5, path), 0);
  EXPECT_EQ(WideView(path), TEXT("\\\\S\\print$\\x64\\3\\a.dll"));
}

}  // namespace
}  // namespace kv::test
