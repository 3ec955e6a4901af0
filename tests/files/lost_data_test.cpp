// What is not lost: in directories that nobody knows, by copies onto the same file, by copies that
// fail, behind links, and while others change things.
#include <aclapi.h>

#include <functional>

#include "platform/control/profiles.h"
#include "resources/string_ids.h"
#include "runtime/core/handles.h"
#include "runtime/files/delete_when_free.h"
#include "runtime/files/directories.h"
#include "runtime/files/file.h"
#include "runtime/files/file_actions.h"
#include "runtime/files/file_list.h"
#include "runtime/files/paths.h"
#include "runtime/files/special_folders.h"
#include "runtime/files/temp_names.h"
#include "tests/files/trees_test.h"

namespace kv::test {
namespace {

class LostDataTest : public TreesTest {
 protected:
  void SetUp() override {
    TreesTest::SetUp();
    PutFile(TEXT("C:\\dir\\a"), "one");
    PutFile(TEXT("C:\\dir\\b"), "two");
  }
  static void LinkDirectory(LPCWSTR link, LPCWSTR target) {
    std::filesystem::create_directory_symlink(platform::HostPath(target), platform::HostPath(link));
  }
  static HANDLE Open(LPCWSTR path) {
    return CreateFileW(path, GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr);
  }
  static int ScanAll(CFileList& list, LPCWSTR directory) {
    return list.Scan(directory, TRUE, TRUE);
  }
};

TEST_F(LostDataTest, NothingIsDoneInAnUnknownDirectory) {
  PutFile(TEXT("C:\\precious"), "kept");
  SetCurrentDirectoryW(TEXT("C:\\dir"));
  const Contents before = ContentsOf(TEXT("C:\\"));
  WCHAR out[MAX_PATH];
  CFileList list;
  const auto copy = [](LPCWSTR from, LPCWSTR name, LPCWSTR to) {
    return CopyFileToDir(from, name, to, nullptr, Overwrite::kYes, Quiet::kYes);
  };
  for (const LPCWSTR unknown : {static_cast<LPCWSTR>(nullptr), TEXT("")}) {
    const std::function<BOOL()> kActions[] = {
        [&] { return PathJoin(unknown, TEXT("precious"), out, MAX_PATH) || out[0] != 0; },
        [&] { return FileExistsIn(unknown, TEXT("precious"), Report::kNo); },
        [&] { return RemoveFileIn(unknown, TEXT("precious"), Quiet::kYes); },
        [&] { return copy(unknown, TEXT("precious"), TEXT("C:\\dir")); },
        [&] { return copy(TEXT("C:\\dir"), TEXT("a"), unknown); },
        [&] { return CanWriteFile(unknown); },
        [&] { return CreateOneDirectory(unknown, Quiet::kYes); },
        [&] { return IsDirectoryEmpty(unknown); },
        [&] { return CopyDirectory(unknown, TEXT("C:\\dir"), Recurse::kYes) != -1; },
        [&] { return CopyDirectory(TEXT("C:\\dir"), unknown, Recurse::kYes) != -1; },
        [&] { return DeleteTree(unknown, FilesOnly::kNo, Quiet::kYes); },
        [&] { return DeleteTree(unknown, FilesOnly::kYes, Quiet::kYes); },
        [&] { return ResetSecurityTree(unknown); },
        [&] { return PruneOldFiles(unknown, 0, -1, nullptr); },
        [&] { return MakeTempName(TEXT(""), out) || out[0] != 0; },
        [&] { return MakeTempNameWithExt(TEXT(""), TEXT("bat"), out) || out[0] != 0; },
        [&] {
          return ScanAll(list, TEXT("C:\\dir")) != 2 || list.CopyTo(unknown, CopyMode::kAlways);
        },
        [&] { return list.MoveTo(unknown); },
        [&] { return ScanAll(list, unknown); },
    };
    for (const auto& act : kActions) {
      out[0] = '?';
      SetLastError(ERROR_SUCCESS);
      EXPECT_FALSE(act()) << &act - kActions;
      EXPECT_EQ(GetLastError(), DWORD{ERROR_PATH_NOT_FOUND}) << &act - kActions;
    }
  }
  EXPECT_EQ(ContentsOf(TEXT("C:\\")), before);
}

DWORD WINAPI TooLong(DWORD, LPWSTR) {
  return 300;
}

TEST_F(LostDataTest, DirectoriesThatCannotBeFoundOutAreUnknown) {
  WCHAR out[MAX_PATH];
  SetCurrentDirectoryW(TEXT("C:\\"));
  const Contents before = ContentsOf(TEXT("C:\\"));
  const std::function<BOOL()> kTemporaryNames[] = {
      [&] { return MakeTempName(nullptr, out) || out[0] != 0; },
      [&] { return MakeTempNameWithExt(nullptr, TEXT("bat"), out) || out[0] != 0; },
      [&] { return CopyToTempName(TEXT("C:\\dir\\a"), out) || out[0] != 0; },
      [&] { return DeleteWhenFree(TEXT("C:\\dir\\a")); },
      [&] { return File().Create(nullptr, Quiet::kYes); },
  };
  for (const auto& act : kTemporaryNames) {
    out[0] = '?';
    platform::FailCall("GetTempPathW", 1, ERROR_NOT_READY);
    EXPECT_FALSE(act()) << &act - kTemporaryNames;
    EXPECT_EQ(GetLastError(), DWORD{ERROR_NOT_READY}) << &act - kTemporaryNames;
    platform::Replace("GetTempPathW", &TooLong);
    EXPECT_FALSE(act()) << &act - kTemporaryNames;
    EXPECT_EQ(GetLastError(), DWORD{ERROR_FILENAME_EXCED_RANGE}) << &act - kTemporaryNames;
    platform::ResetFaults();
  }
  platform::FailCall("GetSystemDirectoryW", 1, ERROR_NOT_READY);
  out[0] = '?';
  EXPECT_FALSE(GetSystemFilePath(TEXT("x.dll"), out));
  EXPECT_EQ(GetLastError(), DWORD{ERROR_NOT_READY});
  EXPECT_EQ(WideView(out), TEXT("")) << "a name alone is a file of the current directory";
  EXPECT_EQ(ContentsOf(TEXT("C:\\")), before);
}

TEST_F(LostDataTest, AWholeDriveIsNoTree) {
  SetCurrentDirectoryW(TEXT("C:\\dir"));
  const Contents before = ContentsOf(TEXT("C:\\"));
  for (const LPCWSTR drive :
       {TEXT("C:\\"), TEXT("C:"), TEXT("\\"), TEXT("C:\\."), TEXT(".."), TEXT("C:\\dir\\..")}) {
    for (const FilesOnly filesOnly : {FilesOnly::kNo, FilesOnly::kYes}) {
      EXPECT_FALSE(DeleteTree(drive, filesOnly, Quiet::kYes));
      EXPECT_EQ(GetLastError(), DWORD{ERROR_ACCESS_DENIED});
    }
    EXPECT_FALSE(ResetSecurityTree(drive));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_ACCESS_DENIED});
  }
  EXPECT_EQ(ContentsOf(TEXT("C:\\")), before);
}

TEST_F(LostDataTest, ListsTakeTextsOfTheirOwn) {
  PutFile(TEXT("C:\\dir\\sub\\c"), "three");
  CFileList list;
  ASSERT_EQ(ScanAll(list, TEXT("C:\\dir")), 3);
  EXPECT_EQ(ScanAll(list, list.directory()), 3);
  list.Sort(CFileList::kByName, TRUE);
  const LPCWSTR sub = list.GetPath(2);
  EXPECT_EQ(list.CopyTo(sub, CopyMode::kAlways), 2);
  EXPECT_EQ(WideView(sub), TEXT("C:\\dir\\sub")) << "good until the next GetPath";
  EXPECT_EQ(FileBytes(TEXT("C:\\dir\\sub\\b")), "two");
  EXPECT_EQ(ScanAll(list, sub), 3);
  EXPECT_EQ(WideView(list.directory()), TEXT("C:\\dir\\sub\\"));
  SetCurrentDirectoryW(TEXT("C:\\dir"));
  EXPECT_EQ(list.Scan(list.GetName(1), TRUE, TRUE), 1);
  EXPECT_EQ(WideView(list.directory()), TEXT("C:\\dir\\"));
  list.Clear();
  EXPECT_EQ(WideView(list.directory()), TEXT(""));
  EXPECT_EQ(list.Add(list.directory(), TRUE, TRUE), 0);
}

TEST_F(LostDataTest, NothingIsCopiedOntoItself) {
  LinkDirectory(TEXT("C:\\link"), TEXT("C:\\dir"));
  std::filesystem::create_hard_link(platform::HostPath(TEXT("C:\\dir\\a")),
                                    platform::HostPath(TEXT("C:\\twin")));
  SetCurrentDirectoryW(TEXT("C:\\dir"));
  const Contents before = ContentsOf(TEXT("C:\\dir"));
  CFileList list;
  for (const LPCWSTR same : {TEXT("C:\\dir"), TEXT("c:\\DIR\\"), TEXT("."), TEXT("..\\dir"),
                             TEXT("C:\\link"), TEXT("C:\\link\\..\\dir")}) {
    ASSERT_EQ(list.Scan(TEXT("C:\\dir"), TRUE, FALSE), 2);
    EXPECT_EQ(list.CopyTo(same, CopyMode::kAlways), 0);
    EXPECT_EQ(list.MoveTo(same), 0);
    EXPECT_EQ(list.count(), 0);
    EXPECT_FALSE(
        CopyFileToDir(TEXT("C:\\dir"), TEXT("a"), same, nullptr, Overwrite::kYes, Quiet::kYes));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_SHARING_VIOLATION});
    EXPECT_EQ(ContentsOf(TEXT("C:\\dir")), before);
  }
  for (const LPCWSTR same :
       {TEXT("C:\\dir\\A"), TEXT("a"), TEXT("C:\\link\\a"), TEXT("C:\\twin")}) {
    platform::AnswerNextBox(IDOK);
    EXPECT_FALSE(CopyFileTo(TEXT("C:\\dir\\a"), same, Overwrite::kYes, Quiet::kNo));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_SHARING_VIOLATION});
    EXPECT_EQ(LastBox(),
              TEXT("The file \"a\" could not be copied to \"") + WideString(same) + TEXT("\"."));
    for (const LPCWSTR className : {static_cast<LPCWSTR>(nullptr), TEXT("KvCopy")}) {
      platform::AnswerNextBox(IDOK);
      EXPECT_FALSE(CopyFileWithProgress(TEXT("C:\\dir\\a"), same, className, IDS_CANCEL));
      EXPECT_EQ(GetLastError(), DWORD{ERROR_SHARING_VIOLATION});
    }
    EXPECT_EQ(ContentsOf(TEXT("C:\\dir")), before);
  }
  platform::AnswerNextBox(IDOK);
  EXPECT_EQ(CopyDirectory(TEXT("C:\\dir"), TEXT("C:\\link"), Recurse::kNo), -1);
  EXPECT_EQ(ContentsOf(TEXT("C:\\dir")), before);
}

// On a file system that does not number its files, paths tell which is which.
TEST_F(LostDataTest, FilesWithoutNumbersAreToldApartByTheirPaths) {
  platform::Replace(
      "GetFileInformationByHandle",
      +[](HANDLE, LPBY_HANDLE_FILE_INFORMATION information) WINAPI -> BOOL {
        *information = {};
        return TRUE;
      });
  SetCurrentDirectoryW(TEXT("C:\\dir"));
  EXPECT_TRUE(CopyFileTo(TEXT("C:\\dir\\a"), TEXT("C:\\dir\\b"), Overwrite::kYes, Quiet::kNo));
  EXPECT_EQ(FileBytes(TEXT("C:\\dir\\b")), "one");
  EXPECT_FALSE(CopyFileTo(TEXT("C:\\dir\\a"), TEXT(".\\A"), Overwrite::kYes, Quiet::kYes));
  EXPECT_EQ(FileBytes(TEXT("C:\\dir\\a")), "one");
}

TEST_F(LostDataTest, TheSparedFileStaysHoweverItIsWritten) {
  LinkDirectory(TEXT("C:\\link"), TEXT("C:\\dir"));
  SetCurrentDirectoryW(TEXT("C:\\dir"));
  for (const LPCWSTR spare : {TEXT("a"), TEXT("C:\\link\\A")}) {
    PutFile(TEXT("C:\\dir\\b"), "two");
    std::filesystem::last_write_time(
        platform::HostPath(TEXT("C:\\dir\\a")),
        std::filesystem::file_time_type::clock::now() - std::chrono::hours(1));
    EXPECT_TRUE(PruneOldFiles(TEXT("C:\\dir"), 1, -1, spare));
    EXPECT_EQ(ContentsOf(TEXT("C:\\dir")), (Contents{{"a", "one"}}));
  }
}

TEST_F(LostDataTest, NoDirectoryIsCopiedIntoItself) {
  PutFile(TEXT("C:\\dir\\sub\\c"), "three");
  LinkDirectory(TEXT("C:\\link"), TEXT("C:\\dir\\sub"));
  for (const LPCWSTR below : {TEXT("C:\\dir\\sub"), TEXT("C:\\link")}) {
    platform::AnswerNextBox(IDOK);
    EXPECT_EQ(CopyDirectory(TEXT("C:\\dir"), below, Recurse::kYes), -1);
    EXPECT_EQ(GetLastError(), DWORD{ERROR_BAD_PATHNAME});
    EXPECT_EQ(LastBox(), TEXT("The file \"sub\" could not be copied to \"") + WideString(below) +
                             TEXT("\\sub\"."));
    EXPECT_FALSE(IsThere(TEXT("C:\\dir\\sub\\sub")));
  }
  EXPECT_EQ(CopyDirectory(TEXT("C:\\dir\\?"), TEXT("C:\\dir\\sub"), Recurse::kYes), 2);
  // A link that leads up again.
  LinkDirectory(TEXT("C:\\dir\\sub\\up"), TEXT("C:\\dir"));
  MakeDirectory(TEXT("C:\\copy"));
  platform::AnswerNextBox(IDOK);
  EXPECT_EQ(CopyDirectory(TEXT("C:\\dir"), TEXT("C:\\copy"), Recurse::kYes), -1);
  EXPECT_FALSE(IsThere(TEXT("C:\\copy\\sub\\up")));
}

TEST_F(LostDataTest, WhatIsNoFileIsNotReplacedAndWhatIsNoPatternNotCopied) {
  MakeDirectory(TEXT("C:\\dir\\sub"));
  const Contents before = ContentsOf(TEXT("C:\\"));
  EXPECT_FALSE(CopyFileTo(TEXT("C:\\dir\\a"), TEXT("C:\\dir\\sub"), Overwrite::kYes, Quiet::kYes));
  EXPECT_EQ(GetLastError(), DWORD{ERROR_ACCESS_DENIED});
  const WideString tooLong = TEXT("C:\\") + WideString(MAX_PATH, 'x');
  EXPECT_EQ(CopyDirectory(tooLong.c_str(), TEXT("C:\\dir\\sub"), Recurse::kYes), -1);
  EXPECT_EQ(GetLastError(), DWORD{ERROR_FILENAME_EXCED_RANGE});
  EXPECT_EQ(ContentsOf(TEXT("C:\\")), before);
}

TEST_F(LostDataTest, WhatALinkLeadsToIsNotPartOfATree) {
  const auto outside = platform::HostPath(TEXT("C:\\dir\\a"));
  constexpr auto kOwner = std::filesystem::perms::owner_read | std::filesystem::perms::owner_write;
  std::filesystem::permissions(outside, kOwner);
  const Contents before = ContentsOf(TEXT("C:\\dir"));
  PutFile(TEXT("C:\\tree\\sub\\x"), "x");
  LinkDirectory(TEXT("C:\\tree\\link"), TEXT("C:\\dir"));
  std::filesystem::create_symlink(outside, platform::HostPath(TEXT("C:\\tree\\file")));
  const auto inside = platform::HostPath(TEXT("C:\\tree\\sub\\x"));
  std::filesystem::permissions(inside, kOwner);
  EXPECT_TRUE(ResetSecurityTree(TEXT("C:\\tree")));
  EXPECT_EQ(std::filesystem::status(outside).permissions(), kOwner);
  EXPECT_NE(std::filesystem::status(inside).permissions(), kOwner);
  const UniqueFile open(Open(TEXT("C:\\dir\\a")));
  EXPECT_TRUE(DeleteTree(TEXT("C:\\tree"), FilesOnly::kNo, Quiet::kNo));
  EXPECT_FALSE(IsThere(TEXT("C:\\tree")));
  for (const LPCWSTR link : {TEXT("C:\\link"), TEXT("C:\\link\\")}) {
    LinkDirectory(TEXT("C:\\link"), TEXT("C:\\dir"));
    platform::FailCall("RemoveDirectoryW", 1, ERROR_ACCESS_DENIED);
    platform::AnswerNextBox(IDOK);
    EXPECT_FALSE(DeleteTree(link, FilesOnly::kNo, Quiet::kNo));
    EXPECT_TRUE(LastBox().starts_with(TEXT("The file \"C:\\link\" could not be deleted.")));
    EXPECT_TRUE(DeleteTree(link, FilesOnly::kNo, Quiet::kNo));
    EXPECT_FALSE(IsThere(TEXT("C:\\link")));
  }
  EXPECT_EQ(ContentsOf(TEXT("C:\\dir")), before);
}

TEST_F(LostDataTest, ACopyThatFailsLeavesTheTarget) {
  constexpr LPCWSTR kSource = TEXT("C:\\dir\\a"), kTarget = TEXT("C:\\to\\a");
  const struct {
    const char *system, *function;
    uint64_t nth;
  } kFailures[] = {
      {"windows-10", "CopyFileW", 1},          {"windows-10", "GetTempFileNameW", 1},
      {"windows-10", "MoveFileExW", 1},        {"windows-10", "SetFileAttributesW", 1},
      {"windows-10", "GetFileAttributesW", 1}, {"windows-98", "CopyFileW", 1},
      {"windows-98", "MoveFileW", 1},          {"windows-98", "MoveFileW", 2},
      {"windows-98", "DeleteFileW", 1},        {"windows-98", "GetTempFileNameW", 2},
  };
  for (const auto& failure : kFailures) {
    SCOPED_TRACE(failure.system + std::string(" ") + failure.function);
    ASSERT_TRUE(platform::UseProfile(failure.system));
    Restart();
    PutFile(kTarget, "old");
    SetFileAttributesW(kTarget, FILE_ATTRIBUTE_READONLY);
    platform::FailCall(failure.function, failure.nth, ERROR_NOT_READY);
    EXPECT_FALSE(CopyFileTo(kSource, kTarget, Overwrite::kYes, Quiet::kYes));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_NOT_READY});
    EXPECT_EQ(ContentsOf(TEXT("C:\\to")), (Contents{{"a", "old"}}));
    EXPECT_NE(GetFileAttributesW(kTarget) & FILE_ATTRIBUTE_READONLY, 0u);
    EXPECT_TRUE(CopyFileTo(kSource, kTarget, Overwrite::kYes, Quiet::kNo));
    EXPECT_EQ(ContentsOf(TEXT("C:\\to")), (Contents{{"a", "one"}}));
  }
  // What cannot be put back stays under the other name.
  PutFile(kTarget, "old");
  platform::FailCall("MoveFileW", 2, ERROR_NOT_READY, 2);
  EXPECT_FALSE(CopyFileTo(kSource, kTarget, Overwrite::kYes, Quiet::kYes));
  const Contents kept = ContentsOf(TEXT("C:\\to"));
  ASSERT_EQ(kept.size(), 1u);
  EXPECT_EQ(kept.begin()->second, "old");
  ASSERT_TRUE(platform::UseProfile("windows-10"));
  Restart();
  DeleteTree(TEXT("C:\\to"), FilesOnly::kYes, Quiet::kNo);
  PutFile(kTarget, "old");
  platform::SetFact(platform::facts::kDiskFreeBytes, "2");
  CFileList list;
  ASSERT_EQ(list.Scan(kSource, TRUE, FALSE), 1);
  EXPECT_EQ(list.CopyTo(TEXT("C:\\to"), CopyMode::kAlways), 0);
  EXPECT_EQ(GetLastError(), DWORD{ERROR_DISK_FULL});
  EXPECT_EQ(list.MoveTo(TEXT("C:\\to")), 0);
  EXPECT_EQ(ContentsOf(TEXT("C:\\to")), (Contents{{"a", "old"}}));
  EXPECT_EQ(FileBytes(kSource), "one");
  platform::ClearFact(platform::facts::kDiskFreeBytes);
  {
    const UniqueFile shared(CreateFileW(kTarget, GENERIC_WRITE,
                                        FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                        nullptr, OPEN_EXISTING, 0, nullptr));
    EXPECT_TRUE(CopyFileTo(kSource, kTarget, Overwrite::kYes, Quiet::kNo)) << "nobody minds";
  }
  // Somebody uses the target: both the deletion and the copy are reported.
  const UniqueFile open(Open(kTarget));
  platform::AnswerNextBox(IDOK);
  platform::AnswerNextBox(IDOK);
  EXPECT_FALSE(CopyFileTo(kSource, kTarget, Overwrite::kYes, Quiet::kNo));
  EXPECT_EQ(GetLastError(), DWORD{ERROR_SHARING_VIOLATION});
  const auto boxes = platform::ShownBoxes();
  ASSERT_EQ(boxes.size(), 2u);
  EXPECT_EQ(boxes[0].text, TEXT("The file \"C:\\to\\a\" could not be deleted."));
  EXPECT_EQ(boxes[1].text, TEXT("The file \"a\" could not be copied to \"C:\\to\\a\"."));
}

// Deletes, and fails as if somebody else had been faster.
BOOL WINAPI DeleteAndFail(LPCWSTR path) {
  DeleteFileW(path);
  SetLastError(ERROR_SHARING_VIOLATION);
  return FALSE;
}

// Takes the directory that is about to be listed away.
HANDLE WINAPI RemoveAndFind(LPCWSTR pattern, LPWIN32_FIND_DATAW data) {
  const WideString path = pattern;
  if (path.find(TEXT("\\going")) != WideString::npos) {
    std::filesystem::remove_all(platform::HostPath(path.substr(0, path.rfind('\\'))));
  }
  return FindFirstFileW(pattern, data);
}

DWORD WINAPI RemoveAndReset(LPWSTR path, SE_OBJECT_TYPE type, SECURITY_INFORMATION parts,
                            PSID owner, PSID group, PACL dacl, PACL sacl) {
  if (WideView(path).ends_with(TEXT("\\a"))) std::filesystem::remove(platform::HostPath(path));
  return SetNamedSecurityInfoW(path, type, parts, owner, group, dacl, sacl);
}

BOOL WINAPI RemoveAndCopy(LPCWSTR source, LPCWSTR target, BOOL fail_if_exists) {
  if (WideView(source).ends_with(TEXT("\\a"))) {
    std::filesystem::remove(platform::HostPath(source));
  }
  return CopyFileW(source, target, fail_if_exists);
}

TEST_F(LostDataTest, WhatIsDeletedWhileItIsCopiedIsNoFailure) {
  PutFile(TEXT("C:\\dir\\sub\\c"), "three");
  MakeDirectory(TEXT("C:\\to"));
  const auto copy = [] { return CopyDirectory(TEXT("C:\\dir"), TEXT("C:\\to"), Recurse::kYes); };
  EXPECT_EQ(copy(), 3);
  // Behind both outer directories, the one below is asked about.
  platform::FailCall("CreateFileW", 3, ERROR_PATH_NOT_FOUND);
  EXPECT_EQ(copy(), 2);
  for (const auto& [call, nth] : {std::pair{"CreateFileW", 3}, {"CopyFileW", 2}}) {
    platform::FailCall(call, nth, ERROR_ACCESS_DENIED);
    platform::AnswerNextBox(IDOK);
    EXPECT_EQ(copy(), -1) << "it is there still";
  }
  platform::Replace("CopyFileW", &RemoveAndCopy);
  EXPECT_EQ(copy(), 2);
  platform::ReplaceFunction("CopyFileW", nullptr);
  const WideString deep = TEXT("C:\\") + WideString(100, 'd'), name(200, 'n');
  MakeDirectory(deep.c_str());
  PutFile((TEXT("C:\\dir\\") + name).c_str(), "x");
  platform::AnswerNextBox(IDOK);
  EXPECT_EQ(CopyDirectory((TEXT("C:\\dir\\") + name).c_str(), deep.c_str(), Recurse::kNo), -1);
  EXPECT_EQ(ContentsOf(deep.c_str()), Contents()) << "not under a part of its name";
}

TEST_F(LostDataTest, WhatOthersHaveDeletedIsNoFailure) {
  platform::Replace("DeleteFileW", &DeleteAndFail);
  EXPECT_TRUE(RemoveFile(TEXT("C:\\dir\\a"), Quiet::kNo));
  PutFile(TEXT("C:\\dir\\a"), "one");
  EXPECT_TRUE(DeleteTree(TEXT("C:\\dir"), FilesOnly::kYes, Quiet::kNo));
  platform::ReplaceFunction("DeleteFileW", nullptr);

  PutFile(TEXT("C:\\dir\\a"), "one");
  PutFile(TEXT("C:\\to\\a"), "old");
  CFileList list;
  for (const BOOL useLibraryDelete : {FALSE, TRUE}) {
    PutFile(TEXT("C:\\dir\\b"), "two");
    ASSERT_EQ(ScanAll(list, TEXT("C:\\dir")), 2);
    std::filesystem::remove(platform::HostPath(TEXT("C:\\dir\\a")));
    EXPECT_EQ(list.CopyTo(TEXT("C:\\to"), CopyMode::kAlways), 1);
    EXPECT_EQ(ContentsOf(TEXT("C:\\to")), (Contents{{"a", "old"}, {"b", "two"}}));
    EXPECT_EQ(list.DeleteAll(useLibraryDelete), 2) << "both are gone";
    PutFile(TEXT("C:\\dir\\a"), "one");
  }

  MakeDirectory(TEXT("C:\\dir\\going\\sub"));
  MakeDirectory(TEXT("C:\\dir\\stays"));
  EXPECT_TRUE(ResetSecurityTree(TEXT("C:\\dir")));
  platform::Replace("FindFirstFileW", &RemoveAndFind);
  platform::Replace("SetNamedSecurityInfoW", &RemoveAndReset);
  EXPECT_TRUE(ResetSecurityTree(TEXT("C:\\dir")));
  EXPECT_FALSE(IsThere(TEXT("C:\\dir\\a")));
  EXPECT_FALSE(IsThere(TEXT("C:\\dir\\going")));
  MakeDirectory(TEXT("C:\\dir\\going\\sub"));
  EXPECT_TRUE(DeleteTree(TEXT("C:\\dir"), FilesOnly::kNo, Quiet::kNo));
  EXPECT_FALSE(IsThere(TEXT("C:\\dir")));
}

}  // namespace
}  // namespace kv::test
