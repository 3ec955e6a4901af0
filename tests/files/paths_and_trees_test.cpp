// Paths, temporary names, single files, directory trees and their listings.
#include <fstream>
#include <functional>

#include "platform/control/profiles.h"
#include "runtime/core/handles.h"
#include "runtime/files/ansi_text.h"
#include "runtime/files/compare_files.h"
#include "runtime/files/current_directory.h"
#include "runtime/files/directories.h"
#include "runtime/files/file_actions.h"
#include "runtime/files/file_list.h"
#include "runtime/files/paths.h"
#include "runtime/files/temp_names.h"
#include "runtime/text/text.h"
#include "tests/files/trees_test.h"
#include "tests/support/failing_new.h"

namespace kv::test {
namespace {

TEST_F(TreesTest, PathsAreTakenApartAndPutTogether) {
  WCHAR out[MAX_PATH];
  const struct {
    LPCWSTR directory, name;
    int capacity;
    WideView path;
    bool fits;
  } kJoins[] = {
      {TEXT("X:\\dir"), TEXT("x.txt"), 13, TEXT("X:\\dir\\x.txt"), true},
      {TEXT("X:\\dir\\"), TEXT("x.txt"), MAX_PATH, TEXT("X:\\dir\\x.txt"), true},
      {TEXT("X:\\dir"), TEXT("Y:\\y"), MAX_PATH, TEXT("Y:\\y"), true},
      {TEXT("X:\\dir"), TEXT("\\\\server\\y"), MAX_PATH, TEXT("\\\\server\\y"), true},
      {TEXT(""), TEXT("Y:\\y"), MAX_PATH, TEXT("Y:\\y"), true},
      {TEXT("X:\\dir"), TEXT("abc"), 10, TEXT("X:\\dir\\ab"), false},
      {TEXT("X:\\dir"), TEXT("abc"), 7, TEXT("X:\\dir"), false},
      {TEXT("X:\\dir"), TEXT("abc"), 3, TEXT("X:"), false},
      {TEXT("X:\\dir"), TEXT("Y:\\abcdefg"), 10, TEXT("Y:\\abcdef"), false},
  };
  for (const auto& c : kJoins) {
    EXPECT_EQ(PathJoin(c.directory, c.name, out, c.capacity), c.fits) << &c - kJoins;
    EXPECT_EQ(WideView(out), c.path);
    EXPECT_TRUE(c.fits || GetLastError() == ERROR_FILENAME_EXCED_RANGE);
  }
  EXPECT_FALSE(PathJoin(TEXT("X:\\dir"), TEXT("abc"), out, 0));
  EXPECT_EQ(WideView(FindExtension(TEXT("a.b\\c"))), TEXT(""));
  EXPECT_EQ(WideView(FindExtension(TEXT("a.b.c"))), TEXT(".c"));
  EXPECT_EQ(FindExtension(TEXT("")), nullptr);
  EXPECT_EQ(GetBaseName(TEXT("a.b\\name.x.y"), out), 6);
  EXPECT_EQ(WideView(out), TEXT("name.x"));
  const struct {
    LPCWSTR path, extension;
    OldExtension old;
    LPCWSTR expected;
  } kChanges[] = {{TEXT("a.txt"), TEXT("doc"), OldExtension::kLeave, TEXT("a.txt")},
                  {TEXT("a.txt"), TEXT("doc"), OldExtension::kReplace, TEXT("a.doc")},
                  {TEXT("a.txt"), TEXT(".doc"), OldExtension::kKeep, TEXT("a.txt.doc")},
                  {TEXT("a"), TEXT("doc"), OldExtension::kLeave, TEXT("a.doc")}};
  for (const auto& c : kChanges) {
    CopyStringW(out, c.path);
    EXPECT_TRUE(ChangeExtension(out, MAX_PATH, c.extension, c.old));
    EXPECT_EQ(WideView(out), c.expected);
  }
  CopyStringW(out, TEXT("a"));
  EXPECT_FALSE(ChangeExtension(out, 5, TEXT("doc"), OldExtension::kKeep));
  EXPECT_EQ(WideView(out), TEXT("a")) << "nothing is changed when it does not fit";
  EXPECT_EQ(WideView(StripLongPathPrefix(TEXT("\\\\?\\unc\\s\\x"))), TEXT("s\\x"));
  EXPECT_EQ(WideView(StripLongPathPrefix(TEXT("!\\??\\C:\\x"))), TEXT("C:\\x"));
  EXPECT_EQ(WideView(StripLongPathPrefix(TEXT("\\??\\C:\\x"))), TEXT("C:\\x"));
  EXPECT_EQ(WideView(StripLongPathPrefix(TEXT("\\?\\C:\\x"))), TEXT("\\?\\C:\\x"));
  platform::FailCall("GetFullPathNameW", 1, ERROR_NOT_READY);
  EXPECT_FALSE(MakeFullPath(TEXT("x"), out));
  EXPECT_EQ(GetLastError(), DWORD{ERROR_NOT_READY});
  platform::FailCall("GetModuleFileNameW", 1);
  out[0] = '?';
  EXPECT_FALSE(PathBesideModule(nullptr, TEXT("x.dll"), out));
  EXPECT_EQ(out[0], 0);
  EXPECT_TRUE(PathBesideModule(nullptr, TEXT("x.dll"), out));
  EXPECT_TRUE(WideView(out).ends_with(TEXT("\\x.dll")));
  EXPECT_FALSE(PathBesideModule(nullptr, WideString(MAX_PATH, 'x').c_str(), out));
  EXPECT_EQ(GetLastError(), DWORD{ERROR_FILENAME_EXCED_RANGE});
  EXPECT_EQ(out[0], 0);
  for (const auto& [path, end] : {std::pair{TEXT("C:\\x\\y"), 2},
                                  {TEXT("\\\\server\\share\\x"), 14},
                                  {TEXT("\\\\server\\\\x"), -1},
                                  {TEXT("\\\\\\x\\y"), -1},
                                  {TEXT("C:"), -1}}) {
    CopyStringW(out, path);
    const LPCWSTR found = EndOfRoot(out);
    EXPECT_EQ(found == nullptr ? -1 : found - out, end) << end;
  }
  EXPECT_TRUE(IsTmpFile(TEXT("x.TMP")));
  EXPECT_FALSE(IsTmpFile(TEXT(".tmp")));
  EXPECT_EQ(GetBaseName((WideString(260, 'x') + TEXT(".y")).c_str(), out), 0);
  EXPECT_EQ(out[0], 0);
  PutFile(TEXT("C:\\dir\\file"), "x");
  const struct {
    LPCWSTR path, expected;
  } kDirectories[] = {{TEXT("C:\\dir"), TEXT("C:\\dir")},
                      {TEXT("C:\\dir\\file"), TEXT("C:\\dir")},
                      {TEXT("C:\\missing"), TEXT("C:\\")},
                      {TEXT("C:\\dir\\"), TEXT("C:\\dir\\")}};
  for (const auto& c : kDirectories) {
    GetDirectory(c.path, out);
    EXPECT_EQ(WideView(out), c.expected);
  }
  WideString beyond(MAX_PATH + 1, 'x');
  beyond.back() = '\\';
  GetDirectory(beyond.c_str(), out);
  EXPECT_EQ(WideView(out), TEXT("")) << "a part of the path is another directory";
  PutFile(TEXT("C:\\dir\\long name.html"), "x");
  CAnsiText text;
  EXPECT_TRUE(ShortPathForAnsi(TEXT("C:\\dir\\long name.html"), text));
  EXPECT_TRUE(std::string_view(text.Get()).ends_with("~1.HTM")) << text.Get();
  EXPECT_TRUE(ShortPathForAnsi(TEXT("C:\\none\\\u00E4"), text));
  EXPECT_STREQ(text.Get(), "C:\\none\\\xE4");
}

// What a function is given may stand in the buffer that it fills.
TEST_F(TreesTest, PathsAreMadeInPlace) {
  SetCurrentDirectoryW(TEXT("C:\\dir"));
  PutFile(TEXT("C:\\dir\\long name.html"), "x");
  using Act = std::function<void(WCHAR(&)[MAX_PATH])>;
  const struct {
    LPCWSTR before;
    Act act;
    WideView after;
  } kCases[] = {
      {TEXT("X:\\a"), [](auto& p) { PathJoin(p, TEXT("b"), p, MAX_PATH); }, TEXT("X:\\a\\b")},
      {TEXT("X:\\a"), [](auto& p) { PathJoin(p, p + 3, p, MAX_PATH); }, TEXT("X:\\a\\a")},
      {TEXT("X:\\a"), [](auto& p) { PathJoin(TEXT("Y:\\long"), p + 3, p, MAX_PATH); },
       TEXT("Y:\\long\\a")},
      {TEXT("X:\\a\\b"), [](auto& p) { PathJoin(p + 5, TEXT("c"), p, MAX_PATH); }, TEXT("b\\c")},
      {TEXT("X:\\a\\bc"), [](auto& p) { PathJoin(TEXT("Y:"), p + 5, p, MAX_PATH); },
       TEXT("Y:\\bc")},
      {TEXT("X:\\a.b\\c.d"), [](auto& p) { GetBaseName(p, p); }, TEXT("c")},
      {TEXT("x\\..\\y"), [](auto& p) { MakeFullPath(p, p); }, TEXT("C:\\dir\\y")},
      {TEXT("y"), [](auto& p) { GetDirectory(p, p); }, TEXT("C:\\dir")},
      {TEXT("a.b"), [](auto& p) { ChangeExtension(p, MAX_PATH, p + 1, OldExtension::kKeep); },
       TEXT("a.b.b")},
      {TEXT("a.b"), [](auto& p) { ChangeExtension(p, MAX_PATH, p + 1, OldExtension::kReplace); },
       TEXT("a.b")},
      {TEXT("long name.html"),
       [](auto& p) { EXPECT_TRUE(View(ShortPath(p, p)).ends_with(TEXT("~1.HTM"))); },
       TEXT("LO9210~1.HTM")},
  };
  for (const auto& c : kCases) {
    WCHAR path[MAX_PATH];
    CopyStringW(path, c.before);
    c.act(path);
    EXPECT_EQ(WideView(path), c.after) << &c - kCases;
  }
  WCHAR path[MAX_PATH] = TEXT("C:\\dir");
  EXPECT_TRUE(MakeTempName(path, path));
  EXPECT_TRUE(MakeTempNameWithExt(TEXT("C:\\dir"), FindExtension(path), path));
  EXPECT_TRUE(WideView(path).ends_with(TEXT(".tmp")));
  PutFile(path, "copied");
  EXPECT_TRUE(CopyToTempName(path, path));
  EXPECT_EQ(FileBytes(path), "copied");
  platform::AnswerNextBox(IDOK);
  EXPECT_FALSE(CopyToTempName(TEXT("C:\\none"), path));
  EXPECT_EQ(path[0], 0);
}

TEST_F(TreesTest, FilesAreComparedByTheirBytesOrTimes) {
  using namespace std::chrono_literals;
  constexpr LPCWSTR kA = TEXT("C:\\dir\\a"), kB = TEXT("C:\\dir\\b");
  const struct {
    const char *a, *b;
    std::chrono::nanoseconds difference;
    int bytes, times;
  } kCases[] = {{"abc", "abc", 2s, 1, 0},
                // Only the high half of the times differs.
                {"abc", "abc", 429'496'729'600ns, 1, 0},
                {"abc", "abc", 0s, 1, 1},
                {"abc", "abd", 0s, 0, 1},
                {"abc", "ab", 0s, 0, 0},
                {"", "", 2s, -1, 0}};
  for (const auto& c : kCases) {
    SCOPED_TRACE(&c - kCases);
    PutFile(kA, c.a);
    PutFile(kB, c.b);
    const auto later = std::filesystem::last_write_time(platform::HostPath(kB));
    std::filesystem::last_write_time(platform::HostPath(kA), later - c.difference);
    EXPECT_EQ(CompareFiles(kA, kB, CompareContents::kYes), c.bytes);
    EXPECT_EQ(CompareFiles(kA, kB, CompareContents::kNo), c.times);
    EXPECT_EQ(IsNewer(kB, kA), c.difference != 0s);
    EXPECT_FALSE(IsNewer(kA, kB) || IsNewer(kB, TEXT("C:\\dir")));
  }
  EXPECT_EQ(CompareFiles(kA, TEXT("C:\\none"), CompareContents::kNo), -1);
  PutFile(kA, "x");
  PutFile(kB, "x");
  platform::FailCall("CreateFileW", 2);
  EXPECT_EQ(CompareFiles(kA, kB, CompareContents::kYes), -1);
  EXPECT_EQ(CompareFiles(TEXT("C:\\dir"), kA, CompareContents::kNo), -1);
  // The first byte of each is equal, the rest is not looked at.
  for (const LPCWSTR path : {kA, kB}) {
    PutFile(path, path == kA ? "xa" : "xb");
    std::filesystem::resize_file(platform::HostPath(path), (uintmax_t{1} << 32) + 1);
  }
  EXPECT_EQ(CompareFiles(kA, kB, CompareContents::kYes), -1) << "too large to be mapped";
}

TEST_F(TreesTest, NewNamesAreFree) {
  WCHAR first[MAX_PATH], second[MAX_PATH];
  for (const LPCWSTR extension : {TEXT("bat"), TEXT(".bat"), TEXT(".tmp"), TEXT("")}) {
    ASSERT_TRUE(MakeTempNameWithExt(TEXT("C:\\dir"), extension, first));
    ASSERT_TRUE(MakeTempNameWithExt(TEXT("C:\\dir"), extension, second));
    EXPECT_NE(WideView(first), WideView(second));
    EXPECT_TRUE(WideView(GetFileName(first)).starts_with(TEXT("~KV")));
    EXPECT_TRUE(FileExists(first, Report::kNo));
  }
  CFileList list;
  EXPECT_EQ(list.Scan(TEXT("C:\\dir"), TRUE, TRUE), 8) << "no temporary file is left over";
  PutFile(TEXT("C:\\dir\\report.txt"), "x");
  PutFile(TEXT("C:\\dir\\report_1.txt"), "x");
  // No half of a character stays, and no path that is another one's.
  PutFile(TEXT("C:\\dir\\\U0001F600.txt"), "x");
  PutFile(TEXT("C:\\dir\\r.t"), "x");
  const struct {
    LPCWSTR path;
    int capacity;
    WideView unique;  // empty: there is no room
  } kCases[] = {
      {TEXT("C:\\dir\\new.txt"), 16, TEXT("C:\\dir\\new.txt")},
      {TEXT("C:\\dir\\report.txt"), MAX_PATH, TEXT("C:\\dir\\report_2.txt")},
      {TEXT("C:\\dir\\report.txt"), 19, TEXT("C:\\dir\\repor_1.txt")},
      {TEXT("C:\\dir\\\U0001F600.txt"), 15, TEXT("C:\\dir\\_1.txt")},
      {TEXT("C:\\dir\\r.t"), 12, TEXT("C:\\dir\\_1.t")},
      {TEXT("C:\\dir\\r.t"), 11, TEXT("")},
  };
  for (const auto& c : kCases) {
    CopyStringW(first, c.path);
    EXPECT_EQ(MakeUniqueFileName(first, c.capacity) != FALSE, !c.unique.empty());
    EXPECT_EQ(WideView(first), c.unique.empty() ? WideView(c.path) : c.unique);
  }
  EXPECT_EQ(GetLastError(), DWORD{ERROR_FILENAME_EXCED_RANGE});
  FailAllocation(1);
  EXPECT_FALSE(MakeUniqueFileName(first, MAX_PATH));
  FailAllocation(0);
  EXPECT_EQ(GetLastError(), DWORD{ERROR_NOT_ENOUGH_MEMORY});
}

TEST_F(TreesTest, SingleFilesAreCopiedAndDeletedWithTheirReports) {
  PutFile(TEXT("C:\\dir\\a"), "one");
  PutFile(TEXT("C:\\dir\\b"), "two");
  EXPECT_TRUE(CopyFileTo(TEXT("C:\\dir\\a"), TEXT("C:\\dir\\b"), Overwrite::kNo, Quiet::kNo));
  EXPECT_EQ(GetFileSizeByName(TEXT("C:\\dir\\b")), 3u);
  SetFileAttributesW(TEXT("C:\\dir\\b"), FILE_ATTRIBUTE_READONLY);
  EXPECT_TRUE(CopyFileTo(TEXT("C:\\dir\\a"), TEXT("C:\\dir\\b"), Overwrite::kYes, Quiet::kNo))
      << "read-only too";
  platform::AnswerNextBox(IDOK);
  EXPECT_FALSE(CopyFileTo(TEXT("C:\\dir\\none"), TEXT("C:\\dir\\c"), Overwrite::kYes, Quiet::kNo));
  EXPECT_EQ(LastBox(), TEXT("The file \"none\" could not be copied to \"C:\\dir\\c\"."));
  EXPECT_FALSE(CopyFileTo(TEXT("C:\\dir\\none"), TEXT("C:\\dir\\c"), Overwrite::kYes, Quiet::kYes));
  platform::AnswerNextBox(IDOK);
  EXPECT_FALSE(FileExists(TEXT("C:\\dir"), Report::kYes)) << "a directory";
  EXPECT_EQ(LastBox(), TEXT("The file \"C:\\dir\" could not be found."));
  platform::AnswerNextBox(IDOK);
  EXPECT_FALSE(FileExistsIn(TEXT("C:\\dir"), WideString(260, 'x').c_str(), Report::kYes));
  EXPECT_TRUE(CopyFileToDir(TEXT("C:\\dir"), TEXT("a"), TEXT("C:\\dir"), TEXT("new"),
                            Overwrite::kNo, Quiet::kNo));
  EXPECT_FALSE(CopyFileToDir(TEXT("C:\\dir"), TEXT("a"), TEXT("C:\\none"), nullptr, Overwrite::kNo,
                             Quiet::kNo));
  SetFileAttributesW(TEXT("C:\\dir\\b"), FILE_ATTRIBUTE_READONLY);
  EXPECT_TRUE(CanWriteFile(TEXT("C:\\dir\\b")));
  SetFileAttributesW(TEXT("C:\\dir\\a"), FILE_ATTRIBUTE_READONLY);
  {
    const UniqueFile open(
        CreateFileW(TEXT("C:\\dir\\a"), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr));
    EXPECT_FALSE(CanWriteFile(TEXT("C:\\dir\\a")) || CanWriteFile(TEXT("C:\\dir")));
    EXPECT_EQ(GetFileAttributesW(TEXT("C:\\dir\\a")), DWORD{FILE_ATTRIBUTE_READONLY});
    platform::AnswerNextBox(IDOK);
    EXPECT_FALSE(RemoveFile(TEXT("C:\\dir\\a"), Quiet::kNo));
    EXPECT_EQ(LastBox(), TEXT("The file \"C:\\dir\\a\" could not be deleted."));
  }
  EXPECT_TRUE(RemoveFile(TEXT("C:\\dir\\a"), Quiet::kNo));
  EXPECT_TRUE(RemoveFile(TEXT("C:\\dir\\a"), Quiet::kNo)) << "gone already";
  EXPECT_TRUE(RemoveFile(TEXT("C:\\none\\a"), Quiet::kNo));
  EXPECT_FALSE(RemoveFile((TEXT("C:\\dir\\") + WideString(MAX_PATH, 'x')).c_str(), Quiet::kYes));
  EXPECT_EQ(GetLastError(), DWORD{ERROR_FILENAME_EXCED_RANGE}) << "nobody has looked for it";
  EXPECT_TRUE(CanWriteFile(TEXT("C:\\dir\\a")));
  ULONGLONG size = 7;
  platform::AnswerNextBox(IDOK);
  EXPECT_FALSE(GetFileSizeChecked(TEXT("C:\\dir\\a"), size));
  EXPECT_EQ(size, 0u);
}

TEST_F(TreesTest, TreesAreMadeCopiedAndDeleted) {
  EXPECT_TRUE(CreateDirectoryTree(TEXT("%SystemRoot%\\one\\two"), Expand::kYes, Quiet::kNo));
  EXPECT_TRUE(DirectoryExists(TEXT("C:\\Windows\\one\\two")));
  EXPECT_TRUE(CreateDirectoryTree(TEXT("C:\\Windows\\one"), Expand::kNo, Quiet::kNo)) << "again";
  EXPECT_FALSE(CreateDirectoryTree(TEXT("\\\\server"), Expand::kNo, Quiet::kNo));
  EXPECT_FALSE(CreateDirectoryTree(WideString(300, 'x').c_str(), Expand::kNo, Quiet::kYes));
  EXPECT_EQ(GetLastError(), DWORD{ERROR_FILENAME_EXCED_RANGE});
  PutFile(TEXT("C:\\dir\\in the way"), "x");
  platform::AnswerNextBox(IDOK);
  EXPECT_FALSE(CreateDirectoryTree(TEXT("C:\\dir\\in the way\\deep"), Expand::kNo, Quiet::kNo));
  EXPECT_EQ(LastBox(), TEXT("The folder \"C:\\dir\\in the way\" could not be created."));
  EXPECT_FALSE(CreateDirectoryTree(TEXT("C:\\dir\\in the way"), Expand::kNo, Quiet::kYes));
  EXPECT_EQ(GetLastError(), DWORD{ERROR_ALREADY_EXISTS});
  PutFile(TEXT("C:\\tree\\a"), "1");
  PutFile(TEXT("C:\\tree\\sub\\b \u00E4\U0001F600.txt"), "22");
  PutFile(TEXT("C:\\tree\\sub\\deep\\c"), "333");
  std::filesystem::create_directories(platform::HostPath(TEXT("C:\\copy")));
  EXPECT_TRUE(IsDirectoryEmpty(TEXT("C:\\copy")));
  EXPECT_EQ(CopyDirectory(TEXT("C:\\tree"), TEXT("C:\\copy"), Recurse::kNo), 1);
  EXPECT_FALSE(IsDirectoryEmpty(TEXT("C:\\copy")));
  EXPECT_FALSE(IsDirectoryEmpty(TEXT("C:\\none")));
  platform::FailCall("FindFirstFileW", 1, ERROR_FILE_NOT_FOUND);
  EXPECT_TRUE(IsDirectoryEmpty(TEXT("C:\\"))) << "an empty root lists nothing at all";
  {
    const CCurrentDirectory scope(TEXT("C:\\tree"));
    EXPECT_EQ(CopyDirectory(TEXT("*.*"), TEXT("C:\\copy"), Recurse::kYes), 3);
  }
  EXPECT_EQ(GetFileSizeByName(TEXT("C:\\copy\\sub\\deep\\c")), 3u);
  EXPECT_EQ(CopyDirectory(TEXT("C:\\tree\\*.none"), TEXT("C:\\copy"), Recurse::kYes), -1);
  EXPECT_TRUE(DeleteTree(TEXT("C:\\copy"), FilesOnly::kYes, Quiet::kNo));
  EXPECT_FALSE(IsThere(TEXT("C:\\copy\\a")));
  EXPECT_TRUE(IsThere(TEXT("C:\\copy\\sub\\deep\\c")));
  {
    const UniqueFile open(
        CreateFileW(TEXT("C:\\tree\\a"), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr));
    EXPECT_FALSE(DeleteTree(TEXT("C:\\tree"), FilesOnly::kNo, Quiet::kYes));
    EXPECT_TRUE(IsThere(TEXT("C:\\tree\\a")));
    EXPECT_FALSE(IsThere(TEXT("C:\\tree\\sub"))) << "quietly, the rest goes";
  }
  {
    PutFile(TEXT("C:\\tree\\sub\\b"), "x");
    const UniqueFile open(
        CreateFileW(TEXT("C:\\tree\\sub\\b"), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr));
    platform::AnswerNextBox(IDOK);
    EXPECT_FALSE(DeleteTree(TEXT("C:\\tree"), FilesOnly::kNo, Quiet::kYes));
    EXPECT_TRUE(LastBox().starts_with(TEXT("The file \"C:\\tree\\sub\\b\" could not be deleted.")))
        << "below, nothing is quiet";
  }
  // Its short name still fits.
  std::ofstream(platform::HostPath(TEXT("C:\\copy\\sub")) / std::string(254, 'l')) << "x";
  EXPECT_FALSE(ResetSecurityTree(TEXT("C:\\copy"))) << "but it has no path of its own";
  EXPECT_EQ(GetLastError(), DWORD{ERROR_FILENAME_EXCED_RANGE});
  EXPECT_TRUE(DeleteTree(TEXT("C:\\copy"), FilesOnly::kNo, Quiet::kNo));
  EXPECT_FALSE(IsThere(TEXT("C:\\copy")));
  PutFile(TEXT("C:\\tree\\sub\\x"), "x");
  EXPECT_TRUE(ResetSecurityTree(TEXT("C:\\tree")));
  platform::FailCall("SetNamedSecurityInfoW", 3, ERROR_ACCESS_DENIED);
  EXPECT_FALSE(ResetSecurityTree(TEXT("C:\\tree"))) << "the file below";
  ASSERT_TRUE(platform::UseProfile("windows-98"));
  Restart();
  EXPECT_FALSE(ResetSecurityTree(TEXT("C:\\tree")));
}

TEST_F(TreesTest, LinksAreReparsePointsOfTheirKind) {
  for (const auto& [attributes, tag, is_link] :
       {std::tuple{DWORD{FILE_ATTRIBUTE_REPARSE_POINT}, 0xA000000Cu, true},
        {FILE_ATTRIBUTE_REPARSE_POINT, 0x80000017, false},
        {FILE_ATTRIBUTE_DIRECTORY, 0xA000000C, false}}) {
    WIN32_FIND_DATAW entry = {};
    entry.dwFileAttributes = attributes;
    entry.dwReserved0 = tag;
    EXPECT_EQ(IsLinkEntry(entry), is_link);
  }
}

TEST_F(TreesTest, ListsAreSortedJoinedCopiedAndPruned) {
  CFileList list;
  EXPECT_EQ(list.Scan(TEXT("C:\\dir"), TRUE, TRUE), 0);
  for (int i = 0; i < 8; ++i)
    PutFile((WideString(TEXT("C:\\dir\\f")) + WCHAR('0' + i)).c_str(),
            std::string(i * 10 % 70, 'x'));
  PutFile(TEXT("C:\\dir\\sub\\g"), "x");
  EXPECT_EQ(list.Scan(TEXT("C:\\dir"), TRUE, FALSE), 8);
  EXPECT_EQ(WideView(list.directory()), TEXT("C:\\dir\\"));
  list.Sort(CFileList::kBySize, TRUE);
  for (int i = 1; i < 8; ++i)
    EXPECT_LE(list.GetEntry(i - 1)->nFileSizeLow, list.GetEntry(i)->nFileSizeLow);
  list.Sort(CFileList::kByName, FALSE);
  for (const int no_key : {0, 4}) list.Sort(no_key, TRUE);
  EXPECT_EQ(WideView(list.GetPath(0)), TEXT("C:\\dir\\f7"));
  EXPECT_EQ(list.GetPath(8), nullptr);
  EXPECT_EQ(list.TotalSize(), 10u * (1 + 2 + 3 + 4 + 5 + 6));
  EXPECT_EQ(list.RemoveByName(TEXT("none")), 8);
  EXPECT_EQ(list.RemoveByName(TEXT("c:\\x\\F7")), 7);
  EXPECT_EQ(WideView(list.GetName(0)), TEXT("f6"));
  EXPECT_EQ(list.Add(TEXT("C:\\dir\\*"), TRUE, TRUE), 9) << "f7 and sub";
  EXPECT_EQ(list.Add(TEXT("C:\\dir\\sub\\*"), TRUE, TRUE), 9) << "another directory";
  // Without its end the pattern would match all.
  const WideString long_pattern = TEXT("C:\\dir\\") + WideString(249, '*') + TEXT("none");
  EXPECT_EQ(list.Find(TEXT("f9")), -1);
  EXPECT_EQ(list.Find(TEXT("SUB")), 8);
  EXPECT_EQ(list.Scan(long_pattern.c_str(), TRUE, FALSE), 0);
  EXPECT_EQ(GetLastError(), DWORD{ERROR_FILENAME_EXCED_RANGE});
  EXPECT_EQ(
      list.Scan((TEXT("C:\\") + WideString(MAX_PATH - 5, 'x') + TEXT("\\")).c_str(), TRUE, FALSE),
      0)
      << "no room for what lists it";
  EXPECT_EQ(list.Scan(TEXT("C:\\dir\\f?"), TRUE, FALSE), 8);
  std::filesystem::create_directories(platform::HostPath(TEXT("C:\\to")));
  EXPECT_EQ(list.CopyTo(TEXT("C:\\to"), CopyMode::kSkipExisting), 8);
  EXPECT_EQ(list.CopyTo(TEXT("C:\\to"), CopyMode::kSkipExisting), 0);
  EXPECT_EQ(list.CopyTo(TEXT("C:\\to"), CopyMode::kAlways), 8);
  EXPECT_EQ(CFileList().Add(TEXT("C:\\dir\\f?"), TRUE, FALSE), 8) << "to an empty list";
  PutFile(TEXT("C:\\to\\f3"), "changed");
  EXPECT_EQ(list.CopyTo(TEXT("C:\\to"), CopyMode::kSkipEqual), 1);
  EXPECT_EQ(GetFilesSize(TEXT("C:\\to\\*")), 210u);
  std::filesystem::resize_file(platform::HostPath(TEXT("C:\\to\\f0")), uintmax_t{1} << 32);
  EXPECT_EQ(GetFilesSize(TEXT("C:\\to\\*")), (ULONGLONG{1} << 32) + 210);
  for (int i = 0; i < 8; ++i) {
    const auto path = platform::HostPath(WideString(TEXT("C:\\dir\\f")) + WCHAR('0' + i));
    std::filesystem::last_write_time(
        path, std::filesystem::file_time_type::clock::now() - std::chrono::hours(10 + i));
  }
  EXPECT_TRUE(PruneOldFiles(TEXT("C:\\dir\\f*"), 9, -1, nullptr));
  EXPECT_TRUE(PruneOldFiles(TEXT("C:\\dir\\f*"), 5, 0, nullptr));
  EXPECT_TRUE(IsThere(TEXT("C:\\dir\\f7"))) << "none may go";
  for (const uint64_t allocation : {1, 2}) {
    FailAllocation(allocation);
    platform::AnswerNextBox(IDOK);
    EXPECT_FALSE(PruneOldFiles(TEXT("C:\\dir\\f*"), 5, -1, nullptr)) << allocation;
  }
  FailAllocation(0);
  EXPECT_TRUE(PruneOldFiles(TEXT("C:\\dir\\f*"), 7, 1, TEXT("c:\\DIR\\f7")));
  EXPECT_TRUE(IsThere(TEXT("C:\\dir\\f7"))) << "the oldest one is spared";
  EXPECT_FALSE(IsThere(TEXT("C:\\dir\\f6")));
  EXPECT_TRUE(PruneOldFiles(TEXT("C:\\dir\\f*"), 5, -1, nullptr));
  EXPECT_EQ(list.Scan(TEXT("C:\\dir\\f*"), TRUE, FALSE), 5);
  EXPECT_TRUE(IsThere(TEXT("C:\\dir\\f4")));
  EXPECT_EQ(list.MoveTo(TEXT("C:\\to")), 10);
  EXPECT_EQ(list.count(), 0);
  // A file whose path has no room, beside one that has.
  PutFile(TEXT("C:\\deep\\a"), "x");
  std::ofstream(platform::HostPath(TEXT("C:\\deep")) / std::string(254, 'l')) << "x";
  for (const BOOL useLibraryDelete : {FALSE, TRUE}) {
    EXPECT_EQ(list.Scan(TEXT("C:\\deep"), TRUE, FALSE), 2);
    EXPECT_EQ(list.CopyTo(TEXT("C:\\to"), CopyMode::kAlways), 1);
    EXPECT_EQ(list.DeleteAll(useLibraryDelete), 1);
    EXPECT_EQ(list.count(), 0);
    PutFile(TEXT("C:\\deep\\a"), "x");
  }
}

}  // namespace
}  // namespace kv::test
