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

// The files that a list finds.
std::set<WideString> FilesOf(LPCWSTR pattern) {
  CFileList list;
  list.Scan(pattern, TRUE, FALSE);
  std::set<WideString> names;
  for (int i = 0; i < list.count(); ++i) names.insert(list.GetName(i));
  return names;
}

TEST(TreesPortableTest, CopiesFindWhatListsFind) {
  WCHAR root[MAX_PATH];
  ASSERT_TRUE(MakeTempName(nullptr, root) && DeleteFileW(root));
  ASSERT_TRUE(CreateOneDirectory(root, Quiet::kYes) && SetCurrentDirectoryW(root));
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
  SetCurrentDirectoryW(TEXT("C:\\"));
  EXPECT_TRUE(DeleteTree(root, FilesOnly::kNo, Quiet::kYes));
  EXPECT_FALSE(DirectoryExists(root));
}

}  // namespace
}  // namespace kv
