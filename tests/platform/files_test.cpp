// Files by attribute, name, size and mapping; searches; moves; initialisation files; scripts.
#include <unistd.h>

#include <fstream>
#include <functional>

#include "platform/control/clipboard.h"
#include "platform/control/profiles.h"
#include "platform/kernel/name_pattern.h"
#include "tests/support/machine_test.h"
#include "tests/support/peer.h"
#include "tests/support/test_key.h"

namespace {

using kv::test::WideView;
using WideString = std::basic_string<WCHAR>;
using platform::HostPath;
namespace fs = std::filesystem;

constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

class FilesTest : public kv::test::MachineTest {
 protected:
  static HANDLE Open(LPCWSTR path, DWORD access = GENERIC_READ | GENERIC_WRITE, DWORD share = 0,
                     DWORD disposition = OPEN_EXISTING, DWORD flags = FILE_ATTRIBUTE_NORMAL) {
    return CreateFileW(path, access, share, nullptr, disposition, flags, nullptr);
  }
  static void SetContent(LPCWSTR path, std::string_view content) {
    fs::create_directories(HostPath(path).parent_path());
    std::ofstream(HostPath(path)) << content;
  }
  static std::string Content(LPCWSTR path) {
    std::ifstream file(HostPath(path));
    return std::string(std::istreambuf_iterator<char>(file), {});
  }
  // The last error after a call that must fail, ERROR_SUCCESS after one that succeeds.
  static DWORD ErrorOf(bool succeeded) { return succeeded ? ERROR_SUCCESS : GetLastError(); }
  static WideString Found(LPCWSTR pattern) {
    WIN32_FIND_DATAW data;
    const HANDLE search = FindFirstFileW(pattern, &data);
    if (search == INVALID_HANDLE_VALUE) return {};
    WideString names;
    do {
      names += data.cFileName;
      names += ' ';
    } while (FindNextFileW(search, &data));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_NO_MORE_FILES});
    EXPECT_TRUE(FindClose(search));
    return names;
  }
};

TEST_F(FilesTest, AttributesAreKeptAndProtect) {
  constexpr LPCWSTR kFile = TEXT("C:\\d\\f");
  SetContent(kFile, "x");
  constexpr DWORD kArchive = FILE_ATTRIBUTE_ARCHIVE;
  EXPECT_EQ(GetFileAttributesW(kFile), kArchive);
  for (const DWORD attributes :
       {DWORD{FILE_ATTRIBUTE_READONLY}, DWORD{FILE_ATTRIBUTE_HIDDEN}, DWORD{FILE_ATTRIBUTE_SYSTEM},
        kArchive, DWORD{FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM | FILE_ATTRIBUTE_ARCHIVE},
        DWORD{FILE_ATTRIBUTE_NORMAL}}) {
    EXPECT_TRUE(SetFileAttributesW(kFile, attributes));
    EXPECT_EQ(GetFileAttributesW(kFile), attributes);
    EXPECT_TRUE(CopyFileW(kFile, TEXT("C:\\d\\copy"), FALSE));
    const DWORD expected = (attributes | kArchive) & ~DWORD{FILE_ATTRIBUTE_NORMAL};
    EXPECT_EQ(GetFileAttributesW(TEXT("C:\\d\\copy")), expected);
    SetFileAttributesW(TEXT("C:\\d\\copy"), FILE_ATTRIBUTE_NORMAL);
  }
  // A write makes it due for the archive again.
  HANDLE file = Open(kFile);
  DWORD written = 0;
  EXPECT_TRUE(WriteFile(file, "y", 1, &written, nullptr));
  EXPECT_TRUE(CloseHandle(file));
  EXPECT_EQ(GetFileAttributesW(kFile), kArchive);

  SetFileAttributesW(kFile, FILE_ATTRIBUTE_HIDDEN);
  EXPECT_EQ(ErrorOf(Open(kFile, GENERIC_WRITE, 0, CREATE_ALWAYS) != INVALID_HANDLE_VALUE),
            DWORD{ERROR_ACCESS_DENIED})
      << "whoever replaces a hidden file must know it";
  file = Open(kFile, GENERIC_WRITE, 0, CREATE_ALWAYS, FILE_ATTRIBUTE_HIDDEN);
  EXPECT_NE(file, INVALID_HANDLE_VALUE);
  CloseHandle(file);
  EXPECT_EQ(GetFileAttributesW(kFile), FILE_ATTRIBUTE_HIDDEN | kArchive);
  EXPECT_EQ(ErrorOf(SetFileAttributesW(TEXT("C:\\d\\none"), 0)), DWORD{ERROR_FILE_NOT_FOUND});
  EXPECT_TRUE(SetFileAttributesW(TEXT("C:\\d"), FILE_ATTRIBUTE_NORMAL));
}

TEST_F(FilesTest, PositionsBehind4GbNeedTheHighPart) {
  const HANDLE file = Open(TEXT("C:\\f"), GENERIC_READ | GENERIC_WRITE, 0, CREATE_NEW);
  LONG high = 1;
  EXPECT_EQ(SetFilePointer(file, 2, &high, FILE_BEGIN), 2u);
  EXPECT_EQ(high, 1);
  EXPECT_EQ(ErrorOf(SetFilePointer(file, 1, nullptr, FILE_CURRENT) != INVALID_SET_FILE_POINTER),
            DWORD{ERROR_INVALID_PARAMETER});
  high = 0;
  EXPECT_EQ(SetFilePointer(file, 0, &high, FILE_CURRENT), 2u) << "where it was";
  EXPECT_EQ(high, 1);
  CloseHandle(file);
}

TEST_F(FilesTest, AFullDiskTakesNothing) {
  platform::SetFact(platform::facts::kDiskFreeBytes, "10");
  const HANDLE file = Open(TEXT("C:\\f"), GENERIC_READ | GENERIC_WRITE, 0, CREATE_NEW);
  DWORD written = 7;
  EXPECT_TRUE(WriteFile(file, "12345678", 8, &written, nullptr));
  EXPECT_EQ(ErrorOf(WriteFile(file, "abc", 3, &written, nullptr)), DWORD{ERROR_DISK_FULL});
  EXPECT_EQ(written, 0u);
  EXPECT_EQ(GetFileSize(file, nullptr), 8u);
  SetFilePointer(file, 0, nullptr, FILE_BEGIN);
  EXPECT_TRUE(WriteFile(file, "0123456789", 10, &written, nullptr)) << "most of it is there";
  EXPECT_EQ(ErrorOf(CreateFileMappingW(file, nullptr, PAGE_READWRITE, 0, 11, nullptr) != nullptr),
            DWORD{ERROR_DISK_FULL});
  SetFilePointer(file, 4, nullptr, FILE_BEGIN);
  EXPECT_TRUE(SetEndOfFile(file));
  EXPECT_EQ(ErrorOf(CopyFileW(TEXT("C:\\Windows\\System32\\kernel32.dll"), TEXT("C:\\g"), TRUE)),
            DWORD{ERROR_DISK_FULL});
  EXPECT_EQ(GetFileAttributesW(TEXT("C:\\g")), INVALID_FILE_ATTRIBUTES) << "no half copies";
  CloseHandle(file);
  EXPECT_TRUE(DeleteFileW(TEXT("C:\\f")));
  const HANDLE other = Open(TEXT("C:\\h"), GENERIC_WRITE, 0, CREATE_NEW);
  EXPECT_TRUE(WriteFile(other, "0123456789", 10, &written, nullptr)) << "the room came back";
  CloseHandle(other);
}

TEST_F(FilesTest, MappedFilesCannotBeCutOrDeleted) {
  SetContent(TEXT("C:\\f"), "content");
  const HANDLE file = Open(TEXT("C:\\f"), GENERIC_READ | GENERIC_WRITE, kShareAll);
  const HANDLE mapping = CreateFileMappingW(file, nullptr, PAGE_READWRITE, 0, 0, nullptr);
  void* const view = MapViewOfFile(mapping, FILE_MAP_ALL_ACCESS, 0, 0, 0);
  ASSERT_NE(view, nullptr);
  EXPECT_TRUE(CloseHandle(mapping)) << "the view lasts";
  const auto cut = [&] {
    SetFilePointer(file, 3, nullptr, FILE_BEGIN);
    return ErrorOf(SetEndOfFile(file));
  };
  EXPECT_EQ(cut(), DWORD{ERROR_USER_MAPPED_FILE});
  EXPECT_EQ(kv::test::RunPeer(directory(),
                              [] {
                                return DeleteFileW(TEXT("C:\\f"))              ? 1
                                       : GetLastError() == ERROR_ACCESS_DENIED ? 0
                                                                               : 2;
                              }),
            0);
  EXPECT_EQ(
      ErrorOf(Open(TEXT("C:\\f"), GENERIC_WRITE, kShareAll, CREATE_ALWAYS) != INVALID_HANDLE_VALUE),
      DWORD{ERROR_USER_MAPPED_FILE});
  EXPECT_TRUE(UnmapViewOfFile(view));
  EXPECT_EQ(ErrorOf(UnmapViewOfFile(view)), DWORD{ERROR_INVALID_ADDRESS});
  EXPECT_EQ(cut(), DWORD{ERROR_SUCCESS});
  EXPECT_TRUE(CloseHandle(file));
}

TEST(NamePatternTest, WildcardsFollowTheRulesOfSearches) {
  const struct {
    WideView pattern, matching, others;
  } cases[] = {
      {TEXT("*.*"), TEXT("a a.b .b a.b.c"), TEXT("")},
      {TEXT("*"), TEXT("a a.b"), TEXT("")},
      {TEXT("*."), TEXT("a abc"), TEXT("a.b a.")},
      {TEXT("*.txt"), TEXT("a.txt A.TXT a.b.txt .txt"), TEXT("a.txt2 txt a.txt.b")},
      {TEXT("a.*"), TEXT("a a.b a.b.c"), TEXT("ab b.a")},
      {TEXT("a?"), TEXT("a ab"), TEXT("abc b")},
      {TEXT("a??.b"), TEXT("a.b ac.b acd.b"), TEXT("acde.b a.c")},
      {TEXT("?.?"), TEXT("a.b a"), TEXT("ab a.bc")},
      {TEXT("*b*c"), TEXT("bc abxc abcbc"), TEXT("bcd acb")},
      {TEXT("a*.b"), TEXT("a.b ax.b ax.y.b"), TEXT("a.b.c xa.b")},
  };
  const auto each = [](WideView names, const std::function<void(WideView)>& visit) {
    while (!names.empty()) {
      const size_t end = std::min(names.find(' '), names.size());
      visit(names.substr(0, end));
      names.remove_prefix(std::min(end + 1, names.size()));
    }
  };
  for (const auto& c : cases) {
    const platform::NamePattern pattern(c.pattern);
    each(c.matching, [&](WideView name) {
      EXPECT_TRUE(pattern.Matches(name)) << &c - cases << " " << platform::ToUtf8(name);
    });
    each(c.others, [&](WideView name) {
      EXPECT_FALSE(pattern.Matches(name)) << &c - cases << " " << platform::ToUtf8(name);
    });
  }
}

TEST_F(FilesTest, SearchesListInTheOrderOfNames) {
  for (LPCWSTR name : {TEXT("C:\\d\\b.txt"), TEXT("C:\\d\\A.txt"), TEXT("C:\\d\\c_1"),
                       TEXT("C:\\d\\cA"), TEXT("C:\\d\\long name.html"), TEXT("C:\\d\\sub\\x")}) {
    SetContent(name, "12345");
  }
  EXPECT_EQ(Found(TEXT("C:\\d\\*.*")), TEXT(". .. A.txt b.txt cA c_1 long name.html sub "));
  EXPECT_EQ(Found(TEXT("C:\\d\\*.htm")), TEXT("long name.html ")) << "by the short name";
  EXPECT_EQ(Found(TEXT("\\\\?\\C:\\d\\s*")), TEXT("sub "));
  EXPECT_FALSE(Found(TEXT("C:\\*")).starts_with(TEXT("."))) << "the root has no parent";
  EXPECT_TRUE(MoveFileW(TEXT("C:\\d\\b.txt"), TEXT("C:\\D\\B.TXT"))) << "only the case";
  EXPECT_EQ(Found(TEXT("C:\\d\\b.txt")), TEXT("B.TXT "));
  WIN32_FIND_DATAW data;
  EXPECT_EQ(ErrorOf(FindFirstFileW(TEXT("C:\\d\\A.txt\\*"), &data) != INVALID_HANDLE_VALUE),
            DWORD{ERROR_DIRECTORY});
  EXPECT_EQ(ErrorOf(FindClose(INVALID_HANDLE_VALUE)), DWORD{ERROR_INVALID_HANDLE});
}

TEST_F(FilesTest, ShortNamesStayAndLeadToTheFile) {
  SetContent(TEXT("C:\\some folder\\long name.html"), "x");
  SetContent(TEXT("C:\\some folder\\SHORT.TXT"), "y");
  WCHAR path[MAX_PATH] = {};
  const DWORD length = GetShortPathNameW(TEXT("C:\\some folder\\long name.html"), path, MAX_PATH);
  EXPECT_EQ(length, WideView(path).size());
  const WideString first = path;
  EXPECT_EQ(first.find(' '), WideString::npos);
  EXPECT_EQ(first.substr(first.size() - 4), TEXT(".HTM"));
  EXPECT_EQ(Content(path), "x");
  // Neighbours come and go without a change.
  SetContent(TEXT("C:\\some folder\\long name 2.html"), "z");
  GetShortPathNameW(TEXT("C:\\some folder\\long name.html"), path, MAX_PATH);
  EXPECT_EQ(first, path);
  GetShortPathNameW(TEXT("C:\\some folder\\SHORT.TXT"), path, MAX_PATH);
  EXPECT_TRUE(WideView(path).ends_with(TEXT("\\SHORT.TXT")));
  EXPECT_EQ(GetShortPathNameW(TEXT("C:\\some folder\\long name.html"), path, length), length + 1);
  SetCurrentDirectoryW(TEXT("C:\\some folder"));
  GetShortPathNameW(TEXT(".\\long name.html"), path, MAX_PATH);
  EXPECT_EQ(path, TEXT(".") + first.substr(first.rfind('\\')));
  EXPECT_EQ(ErrorOf(GetShortPathNameW(TEXT("C:\\none"), path, MAX_PATH) != 0),
            DWORD{ERROR_FILE_NOT_FOUND});
}

TEST_F(FilesTest, DelayedMovesAreWrittenDownForTheNextStart) {
  constexpr DWORD kDelay = MOVEFILE_DELAY_UNTIL_REBOOT;
  EXPECT_EQ(ErrorOf(MoveFileExW(TEXT("C:\\a"), nullptr, kDelay)), DWORD{ERROR_ACCESS_DENIED})
      << "for administrators only";
  platform::SetFact(platform::facts::kUserIsElevated, "1");
  EXPECT_TRUE(MoveFileExW(TEXT("C:\\a"), nullptr, kDelay));
  EXPECT_TRUE(MoveFileExW(TEXT("C:\\d\\..\\b"), TEXT("C:\\c"), kDelay));
  EXPECT_TRUE(MoveFileExW(TEXT("C:\\b"), TEXT("C:\\d"), kDelay | MOVEFILE_REPLACE_EXISTING));
  const auto key = kv::test::Key::Open(HKEY_LOCAL_MACHINE,
                                       TEXT("System\\CurrentControlSet\\Control\\Session Manager"));
  WCHAR list[200] = {};
  DWORD size = sizeof list, type = 0;
  ASSERT_EQ(RegQueryValueExW(key, TEXT("PendingFileRenameOperations"), nullptr, &type,
                             reinterpret_cast<BYTE*>(list), &size),
            ERROR_SUCCESS);
  constexpr WCHAR kExpected[] =
      TEXT("\\??\\C:\\a\0\0\\??\\C:\\b\0\\??\\C:\\c\0\\??\\C:\\b\0!\\??\\C:\\d\0");
  EXPECT_EQ(type, DWORD{REG_MULTI_SZ});
  EXPECT_EQ(WideView(list, size / sizeof(WCHAR)), WideView(kExpected, std::size(kExpected)));
  ASSERT_TRUE(platform::UseProfile("windows-98"));
  EXPECT_EQ(ErrorOf(MoveFileExW(TEXT("C:\\a"), nullptr, kDelay)),
            DWORD{ERROR_CALL_NOT_IMPLEMENTED});
}

TEST_F(FilesTest, InitialisationFilesKeepWhatNobodyWrites) {
  constexpr LPCWSTR kFile = TEXT("C:\\Windows\\test.ini");
  constexpr LPCWSTR kName = TEXT("test.ini");
  SetContent(kFile,
             "; head\r\n[One]\r\n a = 1 \r\nB=\"quoted \"\r\n;d=4\r\n\r\n"
             "[ two ]\r\nonly\r\nn=-12x\r\n[One]\r\na=9\r\n");
  WCHAR lines[100];
  EXPECT_EQ(GetPrivateProfileStringW(nullptr, nullptr, nullptr, lines, 100, kName), 12u);
  EXPECT_EQ(WideView(lines, 13), WideView(TEXT("One\0two\0One\0"), 13));
  EXPECT_EQ(GetPrivateProfileStringW(TEXT("One"), TEXT("d"), nullptr, lines, 100, kName), 0u)
      << "a comment";
  EXPECT_EQ(GetPrivateProfileSectionW(TEXT("two"), lines, 100, kName), 12u);
  EXPECT_EQ(WideView(lines, 13), WideView(TEXT("only\0n=-12x\0\0"), 13));
  EXPECT_TRUE(WritePrivateProfileStringW(TEXT("One"), TEXT("a"), TEXT("2"), kName));
  EXPECT_TRUE(WritePrivateProfileStringW(TEXT("One"), TEXT("e"), TEXT(" 5"), kName));
  EXPECT_TRUE(WritePrivateProfileStringW(TEXT("two"), TEXT("only"), nullptr, kName));
  EXPECT_TRUE(WritePrivateProfileStringW(TEXT("three"), TEXT("k"), TEXT("v"), kName));
  EXPECT_TRUE(WritePrivateProfileSectionW(TEXT("two"), TEXT("p=1\0q\0"), kName));
  EXPECT_EQ(Content(kFile),
            "; head\r\n[One]\r\na=2\r\nB=\"quoted \"\r\n;d=4\r\ne= 5\r\n\r\n"
            "[ two ]\r\np=1\r\nq\r\n[One]\r\na=9\r\n[three]\r\nk=v\r\n");
  EXPECT_TRUE(WritePrivateProfileStringW(TEXT("One"), nullptr, nullptr, kName));
  EXPECT_EQ(Content(kFile), "; head\r\n[ two ]\r\np=1\r\nq\r\n[One]\r\na=9\r\n[three]\r\nk=v\r\n");
  EXPECT_FALSE(WritePrivateProfileStringW(nullptr, nullptr, nullptr, kName));

  SetContent(kFile, std::string_view("\xFF\xFE[\0s\0]\0\n\0", 10));
  EXPECT_TRUE(WritePrivateProfileStringW(TEXT("s"), TEXT("k"), TEXT("\u1234"), kName));
  EXPECT_EQ(Content(kFile), std::string("\xFF\xFE[\0s\0]\0\r\0\n\0k\0=\0\x34\x12\r\0\n\0", 22));
  fs::permissions(HostPath(kFile), fs::perms::owner_write, fs::perm_options::remove);
  EXPECT_EQ(ErrorOf(WritePrivateProfileStringW(TEXT("s"), TEXT("k"), TEXT("1"), kName)),
            DWORD{ERROR_ACCESS_DENIED});
}

TEST_F(FilesTest, TheUsersSectionsOfWinIniAreTheRegistrys) {
  WCHAR value[100] = {};
  EXPECT_TRUE(WriteProfileStringW(TEXT("windows"), TEXT("Device"), TEXT("p,WINSPOOL,port")));
  const auto key = kv::test::Key::Open(
      HKEY_CURRENT_USER, TEXT("Software\\Microsoft\\Windows NT\\CurrentVersion\\Windows"));
  EXPECT_EQ(kv::test::Text(key, TEXT("Device")), TEXT("p,WINSPOOL,port"));
  EXPECT_EQ(GetProfileStringW(TEXT("Windows"), TEXT("device"), nullptr, value, 100), 15u);
  EXPECT_FALSE(fs::exists(HostPath(TEXT("C:\\Windows\\win.ini"))));
  EXPECT_TRUE(WriteProfileStringW(TEXT("other"), TEXT("n"), TEXT("7")));
  EXPECT_EQ(GetProfileIntW(TEXT("other"), TEXT("n"), 0), 7u);
  EXPECT_EQ(Content(TEXT("C:\\Windows\\win.ini")), "[other]\r\nn=7\r\n");
  ASSERT_TRUE(platform::UseProfile("windows-98"));
  EXPECT_EQ(GetProfileStringW(TEXT("windows"), TEXT("device"), TEXT("-"), value, 100), 1u);
}

TEST_F(FilesTest, TheClipboardIsOpenForOneAtATime) {
  const HGLOBAL data = GlobalAlloc(GMEM_MOVEABLE | GMEM_ZEROINIT, 3);
  EXPECT_EQ(ErrorOf(SetClipboardData(CF_TEXT, data) != nullptr), DWORD{ERROR_CLIPBOARD_NOT_OPEN});
  EXPECT_TRUE(OpenClipboard(nullptr));
  EXPECT_EQ(SetClipboardData(CF_TEXT, data), data);
  EXPECT_EQ(ErrorOf(GlobalSize(data) != 0), DWORD{ERROR_INVALID_HANDLE}) << "no longer ours";
  EXPECT_TRUE(CloseClipboard());
  EXPECT_EQ(ErrorOf(EmptyClipboard()), DWORD{ERROR_CLIPBOARD_NOT_OPEN});
  EXPECT_EQ(platform::ClipboardContent(CF_TEXT), std::vector<BYTE>(3));
}

// Starts a script as the product does: hidden, suspended, at the lowest priority.
DWORD StartScript(const WideString& command) {
  STARTUPINFOW startup = {};
  startup.cb = sizeof startup;
  PROCESS_INFORMATION process = {};
  WideString line = command;
  if (!CreateProcessW(nullptr, line.data(), nullptr, nullptr, FALSE,
                      CREATE_SUSPENDED | IDLE_PRIORITY_CLASS, nullptr, nullptr, &startup,
                      &process)) {
    return GetLastError();
  }
  EXPECT_TRUE(SetThreadPriority(process.hThread, THREAD_PRIORITY_IDLE));
  EXPECT_TRUE(CloseHandle(process.hProcess));
  EXPECT_EQ(ResumeThread(process.hThread), 1u);
  EXPECT_EQ(ResumeThread(process.hThread), 0u) << "it runs";
  EXPECT_TRUE(CloseHandle(process.hThread));
  return ERROR_SUCCESS;
}

bool WaitForDeletion(LPCWSTR path) {
  for (int i = 0; i < 500 && fs::exists(HostPath(path)); ++i) usleep(10'000);
  return !fs::exists(HostPath(path));
}

TEST_F(FilesTest, LinksAreNamesOfTheirOwn) {
  SetContent(TEXT("C:\\d\\f"), "12345");
  SetFileAttributesW(TEXT("C:\\d\\f"), FILE_ATTRIBUTE_READONLY);
  fs::create_directory_symlink(HostPath(TEXT("C:\\d")), HostPath(TEXT("C:\\link")));
  fs::create_symlink(HostPath(TEXT("C:\\d\\f")), HostPath(TEXT("C:\\file")));
  EXPECT_EQ(GetFileAttributesW(TEXT("C:\\link")),
            DWORD{FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_REPARSE_POINT});
  WIN32_FIND_DATAW data;
  const HANDLE search = FindFirstFileW(TEXT("C:\\file"), &data);
  FindClose(search);
  EXPECT_EQ(data.dwFileAttributes, DWORD{FILE_ATTRIBUTE_ARCHIVE | FILE_ATTRIBUTE_REPARSE_POINT});
  EXPECT_EQ(data.dwReserved0, DWORD{IO_REPARSE_TAG_SYMLINK});
  EXPECT_EQ(data.nFileSizeLow, 0u);
  // Opened, both are what they lead to.
  BY_HANDLE_FILE_INFORMATION facts[4] = {};
  const LPCWSTR kPaths[] = {TEXT("C:\\file"), TEXT("C:\\LINK\\F"), TEXT("C:\\link"), TEXT("C:\\d")};
  for (int i = 0; i < 4; ++i) {
    const HANDLE file = Open(kPaths[i], 0, kShareAll, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS);
    ASSERT_NE(file, INVALID_HANDLE_VALUE) << i;
    EXPECT_TRUE(GetFileInformationByHandle(file, &facts[i]));
    CloseHandle(file);
  }
  EXPECT_EQ(facts[0].nFileSizeLow, 5u);
  EXPECT_EQ(memcmp(&facts[0], &facts[1], sizeof facts[0]), 0);
  EXPECT_EQ(memcmp(&facts[2], &facts[3], sizeof facts[2]), 0);
  EXPECT_TRUE(facts[0].nFileIndexLow != facts[2].nFileIndexLow);
  EXPECT_EQ(ErrorOf(Open(TEXT("C:\\d"), GENERIC_READ, kShareAll, OPEN_EXISTING,
                         FILE_FLAG_BACKUP_SEMANTICS) != INVALID_HANDLE_VALUE),
            DWORD{ERROR_CALL_NOT_IMPLEMENTED});
  EXPECT_EQ(ErrorOf(DeleteFileW(TEXT("C:\\link"))), DWORD{ERROR_ACCESS_DENIED});
  EXPECT_TRUE(SetFileAttributesW(TEXT("C:\\file"), FILE_ATTRIBUTE_NORMAL));
  EXPECT_TRUE(DeleteFileW(TEXT("C:\\file")) && RemoveDirectoryW(TEXT("C:\\link")));
  EXPECT_EQ(GetFileAttributesW(TEXT("C:\\link")), INVALID_FILE_ATTRIBUTES);
  EXPECT_EQ(GetFileAttributesW(TEXT("C:\\d\\f")), DWORD{FILE_ATTRIBUTE_READONLY});
}

TEST_F(FilesTest, ScriptsReadTheirLinesAsTheShellDoes) {
  for (const LPCWSTR name : {TEXT("C:\\s\\a1"), TEXT("C:\\s\\a2"), TEXT("C:\\s\\ab\\x"),
                             TEXT("C:\\s\\b%c"), TEXT("C:\\s\\bVALUE"), TEXT("C:\\s\\c1"),
                             TEXT("C:\\s\\hidden"), TEXT("C:\\s\\\u03A3"), TEXT("C:\\s\\\u00E4")}) {
    SetContent(name, "x");
  }
  SetFileAttributesW(TEXT("C:\\s\\hidden"), FILE_ATTRIBUTE_HIDDEN);
  platform::SetFact("environment.KV", "VALUE");
  SetContent(TEXT("C:\\run.bat"),
             "del \"C:\\s\\a?\"\r\ndel \"C:\\s\\b%%c\"\r\ndel \"C:\\s\\b%kv%\"\r\n"
             "if not exist \"C:\\s\\c*\" goto END\r\ndel \"C:\\s\\c%1%none%1\"\r\n:END\r\n"
             "del \"C:\\s\\hidden\"\r\ndel \"C:\\s\\\xE4\"\r\ndel \"%0%\"\r\n");
  EXPECT_EQ(StartScript(TEXT("C:\\run.bat")), DWORD{ERROR_SUCCESS});
  EXPECT_TRUE(WaitForDeletion(TEXT("C:\\run.bat")));
  EXPECT_EQ(Found(TEXT("C:\\s\\*")), TEXT(". .. ab hidden \u00E4 "))
      << "the byte E4 is a sigma in the code page of the shell";
}

TEST_F(FilesTest, ScriptsThatAreEndedNeverRun) {
  SetContent(TEXT("C:\\run.bat"), "del \"C:\\run.bat\"\r\n");
  STARTUPINFOW startup = {};
  PROCESS_INFORMATION process = {};
  WCHAR line[] = TEXT("C:\\run.bat");
  ASSERT_TRUE(CreateProcessW(nullptr, line, nullptr, nullptr, FALSE,
                             CREATE_SUSPENDED | IDLE_PRIORITY_CLASS, nullptr, nullptr, &startup,
                             &process));
  EXPECT_TRUE(TerminateProcess(process.hProcess, 1));
  EXPECT_EQ(ErrorOf(TerminateProcess(process.hProcess, 1)), DWORD{ERROR_CALL_NOT_IMPLEMENTED});
  EXPECT_EQ(ResumeThread(process.hThread), 0u);
  CloseHandle(process.hProcess);
  CloseHandle(process.hThread);
  usleep(100'000);
  EXPECT_TRUE(fs::exists(HostPath(TEXT("C:\\run.bat"))));
}

TEST_F(FilesTest, ScriptsDeleteAFileOnceItIsFree) {
  constexpr LPCWSTR kUsed = TEXT("C:\\a b\\used.dll"), kScript = TEXT("C:\\a b\\clean.bat");
  SetContent(kUsed, "x");
  SetContent(
      kScript,
      "\t@echo off\r\n:LOOP\r\n\tif not exist \"C:\\a b\\used.dll\" goto DONE\r\n"
      "\tdel \"C:\\a b\\used.dll\"\r\n\tgoto LOOP\r\n:DONE\r\n\tdel \"C:\\a b\\clean.bat\"\r\n");
  SetContent(TEXT("C:\\a b\\other.bat"), "format C:\r\n");
  EXPECT_EQ(StartScript(kUsed), DWORD{ERROR_BAD_EXE_FORMAT});
  EXPECT_EQ(StartScript(TEXT("C:\\a b\\other.bat")), DWORD{ERROR_BAD_FORMAT});
  EXPECT_EQ(StartScript(TEXT("C:\\none.bat")), DWORD{ERROR_FILE_NOT_FOUND});
  const HANDLE user = Open(kUsed, GENERIC_READ, FILE_SHARE_READ);
  EXPECT_EQ(StartScript(kScript), DWORD{ERROR_SUCCESS});
  usleep(150'000);
  EXPECT_TRUE(fs::exists(HostPath(kUsed))) << "in use";
  EXPECT_TRUE(CloseHandle(user));
  EXPECT_TRUE(WaitForDeletion(kUsed));
  EXPECT_TRUE(WaitForDeletion(kScript)) << "last it deletes itself";
}

}  // namespace
