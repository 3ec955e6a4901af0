// Directories and their files on every system.
#include <gtest/gtest.h>

#include <map>
#include <set>
#include <string>

#include "runtime/core/handles.h"
#include "runtime/core/messages.h"
#include "runtime/files/current_directory.h"
#include "runtime/files/directories.h"
#include "runtime/files/file_actions.h"
#include "runtime/files/file_list.h"
#include "runtime/files/temp_names.h"
#include "runtime/files/whole_files.h"

namespace kv {
namespace {

using WideString = std::basic_string<WCHAR>;
using Contents = std::map<WideString, std::string>;

// Works in an empty directory of its own, which is the current one.
class TreesPortableTest : public testing::Test {
 protected:
  void SetUp() override {
    WCHAR path[MAX_PATH];
    ASSERT_TRUE(MakeTempName(nullptr, path) && DeleteFileW(path));
    ASSERT_TRUE(CreateDirectoryW(path, nullptr));
    root_ = path;
    ASSERT_TRUE(SetCurrentDirectoryW(path));
    SetMessageSink([](LPCWSTR, LPCWSTR, UINT) { return IDOK; });
    Put(TEXT("a"), "one");
    Put(TEXT("b.txt"), "two");
  }
  void TearDown() override {
    SetMessageSink(nullptr);
    SetCurrentDirectoryW(TEXT("C:\\"));
    EXPECT_TRUE(DeleteTree(root_.c_str(), FilesOnly::kNo, Quiet::kYes));
    EXPECT_FALSE(DirectoryExists(root_.c_str()));
  }
  static void Put(LPCWSTR path, const std::string& content) {
    EXPECT_TRUE(WriteEntireFile(path, content.data(), static_cast<DWORD>(content.size())));
  }
  // The files of a directory.
  static Contents ContentsOf(LPCWSTR directory) {
    CFileList list;
    list.Scan(directory, TRUE, FALSE);
    Contents contents;
    for (int i = 0; i < list.count(); ++i) {
      std::unique_ptr<BYTE[]> bytes;
      DWORD size = 0;
      EXPECT_TRUE(ReadEntireFile(list.GetPath(i), 0, bytes, size));
      contents[list.GetName(i)].assign(reinterpret_cast<const char*>(bytes.get()), size);
    }
    return contents;
  }

  WideString root_;
};

TEST_F(TreesPortableTest, NothingIsCopiedOntoItself) {
  const Contents before = ContentsOf(TEXT("."));
  CFileList list;
  for (const LPCWSTR same : {root_.c_str(), TEXT("."), TEXT(".\\")}) {
    ASSERT_EQ(list.Scan(TEXT("."), TRUE, FALSE), 2);
    EXPECT_EQ(list.MoveTo(same), 0);
    EXPECT_EQ(ContentsOf(TEXT(".")), before);
  }
  EXPECT_FALSE(CopyFileTo(TEXT("a"), TEXT(".\\A"), Overwrite::kYes, Quiet::kYes));
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_SHARING_VIOLATION));
  EXPECT_EQ(ContentsOf(TEXT(".")), before);
  ASSERT_TRUE(CreateOneDirectory(TEXT("sub"), Quiet::kYes));
  EXPECT_EQ(CopyDirectory(TEXT("."), TEXT("sub"), Recurse::kYes), -1);
  EXPECT_FALSE(DirectoryExists(TEXT("sub\\sub")));
}

TEST_F(TreesPortableTest, CompleteCopiesReplaceTheirTargets) {
  SetFileAttributesW(TEXT("b.txt"), FILE_ATTRIBUTE_READONLY);
  {
    const UniqueFile open(CreateFileW(TEXT("b.txt"), GENERIC_READ, FILE_SHARE_READ, nullptr,
                                      OPEN_EXISTING, 0, nullptr));
    EXPECT_FALSE(CopyFileTo(TEXT("a"), TEXT("b.txt"), Overwrite::kYes, Quiet::kYes));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_SHARING_VIOLATION));
    EXPECT_FALSE(RemoveFile(TEXT("b.txt"), Quiet::kYes) || CanWriteFile(TEXT("b.txt")));
    EXPECT_EQ(GetFileAttributesW(TEXT("b.txt")) & FILE_ATTRIBUTE_READONLY,
              static_cast<DWORD>(FILE_ATTRIBUTE_READONLY));
  }
  EXPECT_FALSE(CopyFileTo(TEXT("none"), TEXT("b.txt"), Overwrite::kYes, Quiet::kYes));
  EXPECT_EQ(ContentsOf(TEXT(".")), (Contents{{TEXT("a"), "one"}, {TEXT("b.txt"), "two"}}));
  EXPECT_TRUE(CopyFileTo(TEXT("a"), TEXT("b.txt"), Overwrite::kNo, Quiet::kYes));
  EXPECT_EQ(ContentsOf(TEXT(".")), (Contents{{TEXT("a"), "one"}, {TEXT("b.txt"), "two"}}));
  EXPECT_TRUE(CopyFileTo(TEXT("a"), TEXT("b.txt"), Overwrite::kYes, Quiet::kYes));
  EXPECT_EQ(ContentsOf(TEXT(".")), (Contents{{TEXT("a"), "one"}, {TEXT("b.txt"), "one"}}));
}

TEST_F(TreesPortableTest, CopiesFindWhatListsFind) {
  ASSERT_TRUE(CreateDirectoryTree(TEXT("from\\sub"), Expand::kNo, Quiet::kYes));
  ASSERT_TRUE(CreateOneDirectory(TEXT("to"), Quiet::kYes));
  for (const LPCWSTR name :
       {TEXT("from\\a"), TEXT("from\\b"), TEXT("from\\c.txt"), TEXT("from\\sub\\d")}) {
    Put(name, "x");
  }
  for (const LPCWSTR pattern :
       {TEXT("from\\*."), TEXT("from\\*.t*"), TEXT("from"), TEXT("from\\."), TEXT("from\\C.TXT")}) {
    CFileList list;
    std::set<WideString> listed, copied;
    EXPECT_GT(list.Scan(pattern, TRUE, FALSE), 0);
    for (int i = 0; i < list.count(); ++i) listed.insert(list.GetName(i));
    EXPECT_EQ(CopyDirectory(pattern, TEXT("to"), Recurse::kNo), list.count());
    for (const auto& [name, content] : ContentsOf(TEXT("to"))) copied.insert(name);
    EXPECT_EQ(copied, listed);
    EXPECT_TRUE(DeleteTree(TEXT("to"), FilesOnly::kYes, Quiet::kYes));
  }
}

}  // namespace
}  // namespace kv
