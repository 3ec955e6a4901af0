// What patterns find, on every system.
#include <gtest/gtest.h>

#include <set>
#include <string>

#include "runtime/files/directories.h"
#include "runtime/files/file_actions.h"
#include "runtime/files/file_list.h"
#include "runtime/files/temp_names.h"
#include "runtime/files/whole_files.h"

namespace kv {
namespace {

using WideString = std::basic_string<WCHAR>;

// Works in an empty directory of its own, which is the current one.
class TreesPortableTest : public testing::Test {
 protected:
  void SetUp() override {
    WCHAR path[MAX_PATH];
    ASSERT_TRUE(MakeTempName(nullptr, path) && DeleteFileW(path));
    ASSERT_TRUE(CreateDirectoryW(path, nullptr));
    root_ = path;
    ASSERT_TRUE(SetCurrentDirectoryW(path));
  }
  void TearDown() override {
    SetCurrentDirectoryW(TEXT("C:\\"));
    EXPECT_TRUE(DeleteTree(root_.c_str(), FilesOnly::kNo, Quiet::kYes));
    EXPECT_FALSE(DirectoryExists(root_.c_str()));
  }
  // The files that a list finds.
  static std::set<WideString> FilesOf(LPCWSTR pattern) {
    CFileList list;
    list.Scan(pattern, TRUE, FALSE);
    std::set<WideString> names;
    for (int i = 0; i < list.count(); ++i) names.insert(list.GetName(i));
    return names;
  }

  WideString root_;
};

TEST_F(TreesPortableTest, CopiesFindWhatListsFind) {
  ASSERT_TRUE(CreateDirectoryTree(TEXT("from\\sub"), Expand::kNo, Quiet::kYes));
  ASSERT_TRUE(CreateOneDirectory(TEXT("to"), Quiet::kYes));
  for (const LPCWSTR name :
       {TEXT("from\\a"), TEXT("from\\b"), TEXT("from\\c.txt"), TEXT("from\\sub\\d")}) {
    EXPECT_TRUE(WriteEntireFile(name, "x", 1));
  }
  for (const LPCWSTR pattern :
       {TEXT("from\\*."), TEXT("from\\*.t*"), TEXT("from"), TEXT("from\\."), TEXT("from\\C.TXT")}) {
    const std::set<WideString> listed = FilesOf(pattern);
    EXPECT_FALSE(listed.empty());
    EXPECT_EQ(CopyDirectory(pattern, TEXT("to"), Recurse::kNo), static_cast<int>(listed.size()));
    EXPECT_EQ(FilesOf(TEXT("to")), listed);
    EXPECT_TRUE(DeleteTree(TEXT("to"), FilesOnly::kYes, Quiet::kYes));
  }
}

}  // namespace
}  // namespace kv
