// The directories of printer drivers.
#include "runtime/printing/driver_directories.h"

#include <cstring>

#include "platform/control/profiles.h"
#include "platform/control/spooler.h"
#include "tests/printing/printer_test.h"

namespace kv::test {
namespace {

class DriverDirectoriesTest : public RuntimeTest {
 protected:
  // What a function gives for a file and without one, a line each; "" for a refusal.
  template <class Get>
  static WideString Both(Get get) {
    WideString paths;
    for (const LPCWSTR file : {LPCWSTR{nullptr}, TEXT("a.dll")}) {
      WCHAR path[MAX_PATH] = TEXT("dirty");
      EXPECT_EQ(get(file, path), path[0]);
      paths += path + WideString(TEXT("\n"));
    }
    return paths;
  }
  static WideString Lines(const WideString& directory) {
    return directory + TEXT("\n") + directory + TEXT("\\a.dll\n");
  }
};

TEST_F(DriverDirectoriesTest, ByGenerationAndEnvironment) {
  const auto x86 = [](LPCWSTR file, WCHAR(&path)[MAX_PATH]) {
    return GetDriverDirectory(TEXT("Windows NT x86"), file, path);
  };
  for (const auto& [profile, directory] :
       {std::pair("windows-nt4", TEXT("C:\\WINNT\\System32\\spool\\DRIVERS\\W32X86\\2")),
        {"windows-2000", TEXT("C:\\WINNT\\System32\\spool\\DRIVERS\\W32X86\\3")},
        {"windows-10", TEXT("C:\\Windows\\System32\\spool\\DRIVERS\\W32X86\\3")}}) {
    ASSERT_TRUE(platform::UseProfile(profile, "x86"));
    Restart();
    EXPECT_EQ(Both(x86), Lines(directory));
    WideString own = directory;
    if (sizeof(void*) == 8) own.replace(own.find(TEXT("W32X86")), 6, TEXT("x64"));
    EXPECT_EQ(Both(GetNativeDriverDirectory), Lines(own));
    EXPECT_EQ(Both(GetProductDriverDirectory), Lines(own));
  }
  const WideString drivers = TEXT("C:\\Windows\\System32\\spool\\DRIVERS");
  startupContext.platform.wow64Arch = 9;
  EXPECT_EQ(Both(GetNativeDriverDirectory), Lines(drivers + TEXT("\\x64\\3")));
  startupContext.platform.ntKind = 0;
  EXPECT_EQ(Both(x86), Lines(drivers + TEXT("\\W32X86"))) << "no version's directory";
}

TEST_F(DriverDirectoriesTest, SharesOfServers) {
  for (const auto& [arch, kind, share] :
       {std::tuple(DWORD{0}, DWORD{0}, TEXT("\\\\S\\print$\\win40\\0")),
        {0, kNt4, TEXT("\\\\S\\print$\\w32x86\\2")},
        {0, kWindows10, TEXT("\\\\S\\print$\\w32x86\\3")},
        {9, kNt4, TEXT("\\\\S\\print$\\x64\\3")}}) {
    // A 64-bit system is never one of the others.
    if (arch == 0 && sizeof(void*) == 8) continue;
    startupContext.platform.wow64Arch = arch;
    startupContext.platform.ntKind = kind;
    EXPECT_EQ(Both([](LPCWSTR file, WCHAR(&path)[MAX_PATH]) {
                return GetServerDriverShare(TEXT("S"), file, path);
              }),
              Lines(share));
  }
}

WideString spoolers_directory;

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
  WCHAR path[MAX_PATH] = TEXT("dirty");
  const auto expect = [&](DWORD error, WCHAR first) {
    EXPECT_EQ(error == ERROR_SUCCESS || GetLastError() == error, true) << GetLastError();
    EXPECT_EQ(first == 0, error != ERROR_SUCCESS);
    EXPECT_EQ(path[0], first);
    path[0] = TEXT('d');
    SetLastError(ERROR_SUCCESS);
  };
  platform::Replace("GetPrinterDriverDirectoryW", &SpoolersDirectory);
  // With "\\3" and "\\a.dll" 252 + 2 + 6 characters are one too many.
  for (const auto& [length, file, error] :
       {std::tuple(size_t{0}, LPCWSTR{TEXT("a.dll")}, DWORD{ERROR_PATH_NOT_FOUND}),
        {0, nullptr, ERROR_PATH_NOT_FOUND},
        {1, nullptr, ERROR_SUCCESS},
        {251, TEXT("a.dll"), ERROR_SUCCESS},
        {252, TEXT("a.dll"), ERROR_FILENAME_EXCED_RANGE},
        {257, nullptr, ERROR_SUCCESS},
        {258, nullptr, ERROR_FILENAME_EXCED_RANGE},
        {300, nullptr, ERROR_FILENAME_EXCED_RANGE}}) {
    spoolers_directory.assign(length, TEXT('d'));
    expect(error, GetProductDriverDirectory(file, path));
  }
  platform::ResetFaults();
  const WideString server(247, TEXT('s'));
  const auto share = [&](const WideString& name) {
    return GetServerDriverShare(name.c_str(), nullptr, path);
  };
  startupContext.platform.wow64Arch = 9;
  // "\\\\" and "\\print$\\x64\\3" have 15 characters.
  expect(ERROR_SUCCESS, share(server.substr(3)));
  expect(ERROR_FILENAME_EXCED_RANGE, share(server.substr(2)));
  expect(ERROR_INVALID_PARAMETER, share({}));
  expect(ERROR_INVALID_PARAMETER, GetServerDriverShare(nullptr, TEXT("a.dll"), path));
  startupContext.platform.wow64Arch = 0xFFFF;
  expect(ERROR_INVALID_ENVIRONMENT, share(TEXT("S")));
  expect(ERROR_INVALID_ENVIRONMENT, GetDriverDirectory(TEXT("Windows Nowhere"), nullptr, path));
  platform::StopSpooler();
  expect(RPC_S_SERVER_UNAVAILABLE, GetProductDriverDirectory(TEXT("a.dll"), path));
  // No spooler is needed for names that stand alone.
  const WideString link = TEXT("http://") + WideString(252, TEXT('x'));
  for (const WideString& name : {link, WideString(TEXT("mailto:me"))}) {
    expect(ERROR_SUCCESS, GetProductDriverDirectory(name.c_str(), path));
    EXPECT_EQ(WideView(path).substr(1), name.substr(1));
  }
  expect(ERROR_FILENAME_EXCED_RANGE, GetProductDriverDirectory((link + TEXT('x')).c_str(), path));
}

TEST_F(DriverDirectoriesTest, TheNameMayLieInThePath) {
  WCHAR path[MAX_PATH] = TEXT("a.dll");
  EXPECT_NE(GetProductDriverDirectory(path, path), 0);
  EXPECT_TRUE(WideView(path).ends_with(TEXT("\\3\\a.dll")));
  const WideString whole(path);
  EXPECT_NE(GetProductDriverDirectory(path, path), 0);
  EXPECT_EQ(WideView(path), whole) << "with a drive it stands alone";
  startupContext.platform.wow64Arch = 9;
  EXPECT_NE(GetServerDriverShare(TEXT("S"), path + whole.size() - 5, path), 0);
  EXPECT_EQ(WideView(path), TEXT("\\\\S\\print$\\x64\\3\\a.dll"));
}

}  // namespace
}  // namespace kv::test
