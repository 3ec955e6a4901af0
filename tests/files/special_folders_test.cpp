// Where the system keeps things, and files that are deleted once they are free.
#include "runtime/files/special_folders.h"

#include <signal.h>
#include <unistd.h>

#include "platform/control/profiles.h"
#include "platform/kernel/text.h"
#include "runtime/files/delete_when_free.h"
#include "runtime/files/dll_directory.h"
#include "runtime/files/file_actions.h"
#include "runtime/files/file_list.h"
#include "runtime/text/text.h"
#include "runtime/text/wide_text.h"
#include "tests/support/machine_files.h"
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
  // 13 characters become 2.
  const WideString drive = TEXT("%SystemDrive%"), tail(MAX_PATH - 14, 'x');
  const struct {
    WideString stored;
    Expand expand;
    bool fits;
  } kLengths[] = {
      {WideString(MAX_PATH - 1, 'x'), Expand::kNo, true},
      {WideString(MAX_PATH, 'x'), Expand::kNo, false},
      {drive + tail, Expand::kYes, true},
      {drive + tail + TEXT("x"), Expand::kYes, false},
      // Ten characters more than its reference.
      {TEXT("%LONG%") + WideString(MAX_PATH - 16, 'x'), Expand::kYes, false},
  };
  platform::SetFact("environment.LONG", "0123456789ABCDEF");
  for (const auto& c : kLengths) {
    SetValue(HKEY_LOCAL_MACHINE, kWindows, TEXT("Dir"), c.stored, REG_EXPAND_SZ);
    EXPECT_EQ(GetCurrentVersionValue(TEXT("Dir"), out, c.expand) != 0, c.fits) << &c - kLengths;
    EXPECT_EQ(out[0] != 0, c.fits) << &c - kLengths;
  }
  // The name of a value may stand where its text shall go.
  SetValue(HKEY_LOCAL_MACHINE, kWindows, TEXT("Dir"), TEXT("C:\\x"));
  CopyStringW(out, TEXT("Dir"));
  EXPECT_TRUE(is(GetCurrentVersionValue(out, out, Expand::kNo), TEXT("C:\\x")));
  CopyStringW(out, TEXT("x.dll"));
  EXPECT_TRUE(GetSystemFilePath(out, out));
  EXPECT_EQ(WideView(out), TEXT("C:\\Windows\\System32\\x.dll"));
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

TEST_F(SpecialFoldersTest, LibrariesAreSearchedForInADirectoryForAWhile) {
  const struct {
    DWORD system;
    WORD service_pack;
    LPCWSTR before;       // null: the default search order
    const char* failing;  // with its second call; null for none
    bool sets;            // or else makes it current
  } kRows[] = {
      {kWindows2000, 4, nullptr, nullptr, false},
      {kWindowsXp, 0, nullptr, nullptr, false},
      {kWindowsXp, 1, nullptr, nullptr, true},
      {kServer2003, 0, TEXT("b"), nullptr, true},
      {kServer2003, 0, TEXT("C:\\b"), "GetDllDirectoryW", false},
  };
  std::filesystem::create_directory(platform::HostPath(TEXT("C:\\dir")));
  const auto directories = [] {
    WCHAR dll[MAX_PATH] = {}, current[MAX_PATH] = {};
    GetDllDirectoryW(MAX_PATH, dll);
    GetCurrentDirectoryW(MAX_PATH, current);
    return std::pair{WideString(dll), WideString(current)};
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(&row - kRows);
    startupContext.platform.ntKind = row.system;
    startupContext.platform.servicePackMajor = row.service_pack;
    SetDllDirectoryW(row.before);
    const auto before = directories();
    auto during = before;
    (row.sets ? during.first : during.second) = TEXT("C:\\dir");
    if (row.failing != nullptr) platform::FailCall(row.failing, 2);
    {
      const CDllDirectory scope(TEXT("C:\\dir")), none(TEXT("")), nowhere(nullptr);
      EXPECT_EQ(directories(), during);
    }
    EXPECT_EQ(directories(), before);
  }
  SetDllDirectoryW(nullptr);
}

class DeleteWhenFreeTest : public RuntimeTest {
 protected:
  static constexpr const char* kNewSystem = "windows-10";
  static constexpr const char* kOldSystem = "windows-98";
  static constexpr WCHAR kUsed[] = TEXT("C:\\a b\\used.dll");
  void SetUp() override {
    RuntimeTest::SetUp();
    PutFile(kUsed, "x");
  }
  // How many files the user's temporary directory holds.
  static int TemporaryFiles() {
    const platform::OutsideTest outside;
    WCHAR directory[MAX_PATH];
    GetTempPathW(MAX_PATH, directory);
    CFileList list;
    return list.Scan(directory, TRUE, TRUE);
  }
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
    PutFile(kUsed, "x");
    const int before = TemporaryFiles();
    const auto live = platform::LiveResources();
    const pid_t user = StartPeer(directory(), [] {
      // Not while the other process tries whether it can write.
      while (CreateFileW(kUsed, GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0,
                         nullptr) == INVALID_HANDLE_VALUE) {
        usleep(1000);
      }
      return pause();
    });
    ASSERT_TRUE(WaitFor([] { return !CanWriteFile(kUsed); }));
    EXPECT_TRUE(DeleteWhenFree(kUsed));
    usleep(150'000);
    EXPECT_TRUE(IsThere(kUsed)) << "in use";
    EXPECT_EQ(TemporaryFiles(), before + 1);
    kill(user, SIGKILL);
    FinishPeer(user);
    EXPECT_TRUE(WaitFor([] { return !IsThere(kUsed); }));
    EXPECT_TRUE(WaitFor([before] { return TemporaryFiles() == before; })) << "the script stays";
    EXPECT_EQ(platform::DescribeDifference(live, platform::LiveResources()), "");
  }
}

WideString startedCommand;
std::string startedScript;

// Takes the command and the script and starts nothing.
BOOL WINAPI TakeScript(LPCWSTR, LPWSTR command, LPSECURITY_ATTRIBUTES, LPSECURITY_ATTRIBUTES,
                       BOOL inherit, DWORD flags, LPVOID, LPCWSTR, LPSTARTUPINFOW startup,
                       LPPROCESS_INFORMATION) {
  EXPECT_FALSE(inherit);
  EXPECT_EQ(flags, 0x44u) << "suspended and idle";
  EXPECT_EQ(startup->cb, sizeof(STARTUPINFOW));
  EXPECT_EQ(startup->dwFlags, DWORD{STARTF_USESHOWWINDOW});
  EXPECT_EQ(startup->wShowWindow, SW_HIDE);
  startedCommand = command;
  startedScript = FileBytes(command);
  SetLastError(ERROR_NOT_READY);
  return FALSE;
}

TEST_F(DeleteWhenFreeTest, TheScriptNamesExactlyTheFile) {
  const struct {
    WideString path;
    const char* code_page;
    bool has_short_path;
    std::string name;  // in the script; empty: refused
  } kCases[] = {
      {kUsed, "1252", true, "C:\\a b\\used.dll"},
      {TEXT("C:/a b/./used.dll"), "1252", true, "C:\\a b\\used.dll"},
      {TEXT("C:\\a b\\100%TEMP%^&.dll"), "1252", false, "C:\\a b\\100%%TEMP%%^&.dll"},
      {TEXT("C:\\a b\\\u0416.dll"), "1252", true, "C:\\A"},
      {TEXT("C:\\a b\\\u0416.dll"), "1252", false, ""},
      // The shell takes the byte for another character.
      {TEXT("C:\\a b\\\u00E4.dll"), "1252", true, "C:\\A"},
      {TEXT("C:\\a b\\\u00E4.dll"), "1252", false, ""},
      {TEXT("C:\\a b\\\u30BD.dll"), "932", false, "C:\\a b\\\x83\\.dll"},
      // With delayed expansion the shell looks for variables between exclamation marks.
      {TEXT("C:\\a b\\wow! !.dll"), "1252", true, "C:\\A"},
      {TEXT("C:\\a b\\wow!.dll"), "1252", true, ""},
      {TEXT("C:\\a b\\us?d.dll"), "1252", true, ""},
      {TEXT("C:\\a b\\*"), "1252", true, ""},
      {TEXT("\\\\?\\C:\\a b\\used.dll"), "1252", true, ""},
      {TEXT("C:\\a b"), "1252", true, ""},
      {TEXT("C:\\a b\\"), "1252", true, ""},
      {TEXT(""), "1252", true, ""},
  };
  for (const auto& c : kCases) {
    SCOPED_TRACE(&c - kCases);
    platform::SetFact(platform::facts::kAnsiCodePage, c.code_page);
    if (!c.name.empty()) PutFile(c.path.c_str(), "x");
    const int before = TemporaryFiles();
    startedCommand.clear();
    platform::Replace("CreateProcessW", &TakeScript);
    // The temporary directory needs no short form.
    if (!c.has_short_path) platform::FailCall("GetShortPathNameW", 1, 0, 9);
    SetLastError(ERROR_SUCCESS);
    EXPECT_FALSE(DeleteWhenFree(c.path.c_str()));
    const DWORD error = GetLastError();
    EXPECT_EQ(TemporaryFiles(), before);
    platform::ResetFaults();
    EXPECT_EQ(startedCommand.empty(), c.name.empty());
    if (c.name.empty()) {
      EXPECT_NE(error, DWORD{ERROR_SUCCESS});
      continue;
    }
    EXPECT_EQ(error, DWORD{ERROR_NOT_READY});
    std::string name = c.name;
    if (name == "C:\\A") {
      const size_t begin = startedScript.find('"') + 1;
      name = startedScript.substr(begin, startedScript.find('"', begin) - begin);
      EXPECT_TRUE(name.starts_with("C:\\A") && name.ends_with("~1.DLL")) << name;
    }
    EXPECT_EQ(startedScript, "\t@echo off\r\n:LOOP\r\n\tif not exist \"" + name +
                                 "\" goto DONE\r\n\tdel \"" + name +
                                 "\"\r\n\tgoto LOOP\r\n:DONE\r\n\tdel \"" +
                                 platform::ToUtf8(startedCommand) + "\"\r\n");
  }
}

WideString temporaryPath;

TEST_F(DeleteWhenFreeTest, NeighboursWithSimilarNamesStay) {
  platform::SetFact("environment.X", "ed");
  const LPCWSTR kGoing[] = {TEXT("C:\\a b\\us\u0416\u0416.dll"), TEXT("C:\\a b\\us%X%.dll"),
                            TEXT("C:\\a b\\\u00E4.dll")};
  const LPCWSTR kStaying[] = {kUsed, TEXT("C:\\a b\\u.dll"), TEXT("C:\\a b\\\u03A3.dll")};
  for (const LPCWSTR path : kStaying) std::ofstream(platform::HostPath(path)) << "x";
  for (const LPCWSTR path : kGoing) {
    std::ofstream(platform::HostPath(path)) << "x";
    SetFileAttributesW(path, FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN);
    const int before = TemporaryFiles();
    EXPECT_TRUE(DeleteWhenFree(path));
    EXPECT_TRUE(WaitFor([&] { return !std::filesystem::exists(platform::HostPath(path)); }));
    EXPECT_TRUE(WaitFor([before] { return TemporaryFiles() == before; }));
  }
  for (const LPCWSTR path : kStaying)
    EXPECT_TRUE(std::filesystem::exists(platform::HostPath(path)));
}

DWORD WINAPI UnusualTempPath(DWORD, LPWSTR path) {
  std::filesystem::create_directory(platform::HostPath(temporaryPath));
  CopyStringW(path, MAX_PATH, temporaryPath.c_str());
  return static_cast<DWORD>(temporaryPath.size());
}

TEST_F(DeleteWhenFreeTest, TheScriptsOwnPathIsWrittenSoThatItCanBeStarted) {
  platform::Replace("GetTempPathW", &UnusualTempPath);
  platform::Replace("CreateProcessW", &TakeScript);
  temporaryPath = TEXT("C:\\azAZ09-_.~#$\\");
  EXPECT_FALSE(DeleteWhenFree(kUsed));
  EXPECT_TRUE(startedCommand.starts_with(temporaryPath)) << "it may stand there as it is";
  std::filesystem::remove(platform::HostPath(kUsed));
  temporaryPath = TEXT("C:\\\u0416x & 100%\\");
  EXPECT_FALSE(DeleteWhenFree(kUsed));
  EXPECT_TRUE(startedCommand.starts_with(TEXT("C:\\_")) && startedCommand.ends_with(TEXT(".bat")));
  EXPECT_EQ(startedCommand.find_first_of(TEXT("\u0416 &%")), WideString::npos);
  EXPECT_TRUE(startedScript.ends_with("del \"" + platform::ToUtf8(startedCommand) + "\"\r\n"));
  platform::ReplaceFunction("GetTempPathW", nullptr);
  platform::UseProfile("windows-xp");
  Restart();
  EXPECT_FALSE(DeleteWhenFree(kUsed));
  EXPECT_EQ(startedCommand.find(' '), WideString::npos);
  EXPECT_NE(startedScript.find("\tdel \"C:\\Documents and Settings\\"), std::string::npos);
  platform::Replace("GetTempPathW", &UnusualTempPath);
  platform::FailCall("GetShortPathNameW", 1, 0, 9);
  startedCommand.clear();
  EXPECT_FALSE(DeleteWhenFree(kUsed));
  EXPECT_TRUE(startedCommand.empty()) << "no form of it can be started";
  platform::ResetFaults();
  platform::UseProfile(kOldSystem);
  Restart();
  platform::Replace("CreateProcessW", &TakeScript);
  EXPECT_FALSE(DeleteWhenFree(kUsed));
  EXPECT_TRUE(startedCommand.starts_with(TEXT("command.com /c C:\\")));
  EXPECT_TRUE(std::filesystem::is_empty(platform::HostPath(TEXT("C:\\\u0416x & 100%"))));
}

TEST_F(DeleteWhenFreeTest, AScriptThatCannotBeResumedIsEnded) {
  const int before = TemporaryFiles();
  SetFileAttributesW(kUsed, FILE_ATTRIBUTE_READONLY);
  platform::FailCall("ResumeThread", 1, ERROR_NOT_READY);
  EXPECT_FALSE(DeleteWhenFree(kUsed));
  EXPECT_EQ(GetLastError(), DWORD{ERROR_NOT_READY});
  EXPECT_EQ(platform::CallCount("TerminateProcess"), 1u);
  EXPECT_EQ(TemporaryFiles(), before);
  EXPECT_EQ(GetFileAttributesW(kUsed), DWORD{FILE_ATTRIBUTE_READONLY});
}

}  // namespace
}  // namespace kv::test
