// Where the system keeps things, and files that are deleted once they are free.
#include "runtime/files/special_folders.h"

#include <signal.h>
#include <unistd.h>

#include <fstream>

#include "platform/control/message_boxes.h"
#include "platform/control/profiles.h"
#include "runtime/core/handles.h"
#include "runtime/files/delete_when_free.h"
#include "runtime/files/file_actions.h"
#include "runtime/files/file_list.h"
#include "runtime/text/wide_text.h"
#include "tests/support/peer.h"
#include "tests/support/runtime_test.h"
#include "tests/support/test_key.h"

namespace kv::test {
namespace {

constexpr WCHAR kShellFolders[] =
    TEXT("Software\\Microsoft\\Windows\\CurrentVersion\\Explorer\\Shell Folders");
constexpr WCHAR kEnvironment[] =
    TEXT("System\\CurrentControlSet\\Control\\Session Manager\\Environment");

class SpecialFoldersTest : public RuntimeTest {
 protected:
  void SetUp() override {
    RuntimeTest::SetUp();
    platform::SetFact(platform::facts::kUserIsElevated, "1");
  }
  static void SetValue(HKEY root, LPCWSTR path, LPCWSTR name, const WideString& text,
                       DWORD type = REG_SZ) {
    RegSetValueExW(Key::Create(root, path), name, 0, type,
                   reinterpret_cast<const BYTE*>(text.c_str()),
                   static_cast<DWORD>((text.size() + 1) * sizeof(WCHAR)));
  }
};

TEST_F(SpecialFoldersTest, FoldersAreReadFromTheirPlaces) {
  constexpr WCHAR kWindows[] = TEXT("Software\\Microsoft\\Windows\\CurrentVersion");
  SetValue(HKEY_CURRENT_USER, kShellFolders, TEXT("Programs"), TEXT("C:\\user"));
  SetValue(HKEY_LOCAL_MACHINE, kShellFolders, TEXT("Programs"), TEXT("C:\\all"));
  SetValue(HKEY_LOCAL_MACHINE, kShellFolders, TEXT("Common Programs"), TEXT("C:\\menu"));
  SetValue(HKEY_LOCAL_MACHINE, kShellFolders, TEXT("Common Startup"), TEXT("C:\\start"));
  SetValue(HKEY_LOCAL_MACHINE, TEXT("System\\CurrentControlSet\\Control\\Print\\Printers"),
           TEXT("DefaultSpoolDirectory"), TEXT("C:\\spool"));
  SetValue(HKEY_LOCAL_MACHINE, kWindows, TEXT("Dir"), TEXT("%SystemDrive%\\x"), REG_EXPAND_SZ);
  WCHAR out[MAX_PATH];
  const auto is = [&](WCHAR first, WideView expected) {
    return first == expected[0] && WideView(out) == expected;
  };
  EXPECT_TRUE(is(GetUserShellFolder(TEXT("Programs"), out, Expand::kNo), TEXT("C:\\user")));
  EXPECT_TRUE(
      is(GetShellFolder(HKEY_LOCAL_MACHINE, TEXT("Programs"), out, Expand::kNo), TEXT("C:\\all")));
  EXPECT_TRUE(is(GetCommonProgramsFolder(out, Expand::kNo), TEXT("C:\\menu")));
  EXPECT_TRUE(is(GetCommonStartupFolder(out, Expand::kNo), TEXT("C:\\start")));
  EXPECT_TRUE(is(GetDefaultSpoolDirectory(out, Expand::kNo), TEXT("C:\\spool")));
  EXPECT_TRUE(is(GetCurrentVersionValue(TEXT("Dir"), out, Expand::kNo), TEXT("%SystemDrive%\\x")));
  EXPECT_TRUE(is(GetCurrentVersionValue(TEXT("Dir"), out, Expand::kYes), TEXT("C:\\x")));
  EXPECT_EQ(GetCurrentVersionValue(TEXT("missing"), out, Expand::kYes), 0);
  EXPECT_EQ(out[0], 0);
  SetValue(HKEY_LOCAL_MACHINE, kWindows, TEXT("Dir"), WideString(MAX_PATH, 'x'));
  EXPECT_EQ(GetCurrentVersionValue(TEXT("Dir"), out, Expand::kNo), 0);
  EXPECT_EQ(out[0], 0);
}

TEST_F(SpecialFoldersTest, OnlyPlainTextsOfAllUsersAreShellFolders) {
  EXPECT_FALSE(IsShellFolderPath(TEXT("C:\\none")));
  SetValue(HKEY_LOCAL_MACHINE, kShellFolders, TEXT("a"), TEXT("C:\\expand"), REG_EXPAND_SZ);
  SetValue(HKEY_LOCAL_MACHINE, kShellFolders, TEXT("b"), TEXT("C:\\first"));
  SetValue(HKEY_LOCAL_MACHINE, kShellFolders, TEXT("c"), TEXT("C:\\second"));
  SetValue(HKEY_CURRENT_USER, kShellFolders, TEXT("d"), TEXT("C:\\mine"));
  EXPECT_TRUE(IsShellFolderPath(TEXT("c:\\FIRST")));
  EXPECT_TRUE(IsShellFolderPath(TEXT("C:\\second")));
  EXPECT_FALSE(IsShellFolderPath(TEXT("C:\\secon")));
  EXPECT_FALSE(IsShellFolderPath(TEXT("C:\\expand")));
  EXPECT_FALSE(IsShellFolderPath(TEXT("C:\\mine")));
}

TEST_F(SpecialFoldersTest, TheSearchPathEndsWithASemicolon) {
  const WideString longPath(5000, 'p');
  const struct {
    WideString stored;
    DWORD type;
    WideString expected;  // empty: null
  } kCases[] = {
      {TEXT("C:\\a"), REG_SZ, TEXT("C:\\a;")},
      {TEXT("C:\\a;C:\\b;"), REG_SZ, TEXT("C:\\a;C:\\b;")},
      {TEXT("%SystemDrive%\\a"), REG_SZ, TEXT("%SystemDrive%\\a;")},
      {TEXT("%SystemDrive%\\a"), REG_EXPAND_SZ, TEXT("C:\\a;")},
      {longPath, REG_EXPAND_SZ, longPath + TEXT(";")},
      {TEXT(""), REG_SZ, TEXT("")},
      {TEXT("C:\\a"), REG_BINARY, TEXT("")},
  };
  for (const auto& c : kCases) {
    SetValue(HKEY_LOCAL_MACHINE, kEnvironment, TEXT("Path"), c.stored, c.type);
    const auto path = GetSystemPath();
    EXPECT_EQ(path == nullptr, c.expected.empty());
    EXPECT_EQ(View(path.get()), c.expected);
  }
  RegDeleteValueW(Key::Create(HKEY_LOCAL_MACHINE, kEnvironment), TEXT("Path"));
  EXPECT_EQ(GetSystemPath(), nullptr);
}

class DeleteWhenFreeTest : public RuntimeTest {
 protected:
  static constexpr const char* kNewSystem = "windows-10";
  static constexpr const char* kOldSystem = "windows-98";
  static constexpr WCHAR kUsed[] = TEXT("C:\\a b\\used.dll");
  void SetUp() override {
    RuntimeTest::SetUp();
    std::filesystem::create_directories(platform::HostPath(TEXT("C:\\a b")));
    std::ofstream(platform::HostPath(kUsed)) << "x";
  }
  // How many files the user's temporary directory holds.
  static int TemporaryFiles() {
    const platform::OutsideTest outside;
    WCHAR directory[MAX_PATH];
    GetTempPathW(MAX_PATH, directory);
    CFileList list;
    return list.Scan(directory, TRUE, TRUE);
  }
  static bool IsThere() { return std::filesystem::exists(platform::HostPath(kUsed)); }
  template <class Condition>
  static bool WaitFor(Condition condition) {
    for (int i = 0; i < 500 && !condition(); ++i) usleep(10'000);
    return condition();
  }
};

TEST_F(DeleteWhenFreeTest, AFileInUseGoesWithItsScriptOnceItsUserEnds) {
  for (const char* system : {kNewSystem, kOldSystem}) {
    platform::UseProfile(system);
    Restart();
    std::ofstream(platform::HostPath(kUsed)) << "x";
    const int before = TemporaryFiles();
    const auto live = platform::LiveResources();
    const pid_t user = StartPeer(directory(), [] {
      CreateFileW(kUsed, GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr);
      return pause();
    });
    ASSERT_TRUE(WaitFor([] { return !CanWriteFile(kUsed); }));
    EXPECT_TRUE(DeleteWhenFree(kUsed));
    usleep(150'000);
    EXPECT_TRUE(IsThere()) << "in use";
    EXPECT_EQ(TemporaryFiles(), before + 1);
    kill(user, SIGKILL);
    FinishPeer(user);
    EXPECT_TRUE(WaitFor([] { return !IsThere(); }));
    EXPECT_TRUE(WaitFor([before] { return TemporaryFiles() == before; })) << "the script stays";
    EXPECT_EQ(platform::DescribeDifference(live, platform::LiveResources()), "");
  }
}

WideString startedCommand;

TEST_F(DeleteWhenFreeTest, TheScriptIsStartedHiddenAsTheSystemWantsIt) {
  platform::Replace(
      "CreateProcessW",
      +[](LPCWSTR, LPWSTR command, LPSECURITY_ATTRIBUTES, LPSECURITY_ATTRIBUTES, BOOL inherit,
          DWORD flags, LPVOID, LPCWSTR, LPSTARTUPINFOW startup, LPPROCESS_INFORMATION)
           WINAPI -> BOOL {
        startedCommand = command;
        EXPECT_FALSE(inherit);
        EXPECT_EQ(flags, 0x44u);
        EXPECT_EQ(startup->dwFlags, DWORD{STARTF_USESHOWWINDOW});
        EXPECT_EQ(startup->wShowWindow, SW_HIDE);
        return FALSE;
      });
  for (const char* system : {kNewSystem, kOldSystem}) {
    platform::UseProfile(system);
    Restart();
    const int before = TemporaryFiles();
    EXPECT_FALSE(DeleteWhenFree(kUsed));
    EXPECT_EQ(TemporaryFiles(), before);
    EXPECT_TRUE(WideView(startedCommand).ends_with(TEXT(".bat")));
    EXPECT_EQ(startedCommand.starts_with(TEXT("command.com /c C:\\")), system == kOldSystem);
  }
}

}  // namespace
}  // namespace kv::test
