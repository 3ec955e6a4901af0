// Mapped files and the replacement of text in them.
#include "runtime/files/mapped_file.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "runtime/files/whole_files.h"
#include "tests/files/temporary_file.h"

namespace kv {
namespace {

using namespace std::string_literals;
using Access = CMappedFile::Access;
using CloseFile = CMappedFile::CloseFile;
using Occurrences = CMappedFile::Occurrences;

using MappedFilePortableTest = test::TemporaryFileTest;

TEST_F(MappedFilePortableTest, WhatIsWrittenToTheViewIsInTheFile) {
  SetContent("abc");
  CMappedFile mapped;
  char* view = static_cast<char*>(mapped.MapFile(path_, Access::kWrite, 5, Quiet::kNo));
  ASSERT_NE(view, nullptr);
  EXPECT_EQ(mapped.size(), 3u) << "as it was before";
  EXPECT_EQ(view[4], 0);
  view[3] = 'd';
  mapped.Close(CloseFile::kYes);
  EXPECT_EQ(Content(), "abcd\0"s);
  view = static_cast<char*>(mapped.MapFile(path_, Access::kWrite, 0, Quiet::kNo));
  view[0] = 'A';
  EXPECT_TRUE(mapped.Resize(2));
  EXPECT_EQ(mapped.view(), nullptr);
  EXPECT_EQ(mapped.size(), 2u);
  EXPECT_TRUE(mapped.Resize(4)) << "the file is still open";
  mapped.Close(CloseFile::kYes);
  EXPECT_EQ(Content(), "Ab\0\0"s);
}

TEST_F(MappedFilePortableTest, ReadersShareWritersDoNot) {
  SetContent("abc");
  CMappedFile first, second;
  EXPECT_NE(first.MapFile(path_, Access::kRead, 0, Quiet::kYes), nullptr);
  EXPECT_NE(second.MapFile(path_, Access::kRead, 0, Quiet::kYes), nullptr);
  EXPECT_EQ(second.MapFile(path_, Access::kWrite, 0, Quiet::kYes), nullptr);
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_SHARING_VIOLATION));
  first.Close(CloseFile::kYes);
  EXPECT_NE(second.MapFile(path_, Access::kWrite, 0, Quiet::kYes), nullptr);
  EXPECT_EQ(first.MapFile(path_, Access::kRead, 0, Quiet::kYes), nullptr);
}

TEST_F(MappedFilePortableTest, EmptyFilesAndMissingOnesAreNotMapped) {
  CMappedFile mapped;
  EXPECT_EQ(mapped.MapFile(path_, Access::kRead, 0, Quiet::kYes), nullptr);
  EXPECT_TRUE(DeleteFileW(path_)) << "and let go of";
  EXPECT_EQ(mapped.MapFile(path_, Access::kRead, 0, Quiet::kYes), nullptr);
  EXPECT_EQ(mapped.size(), 0u);
}

TEST_F(MappedFilePortableTest, TheCallersHandleStaysOpen) {
  SetContent("abc");
  const HANDLE file = CreateFileW(path_, GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                                  FILE_ATTRIBUTE_NORMAL, nullptr);
  CMappedFile mapped;
  const void* const view = mapped.MapHandle(file, Access::kRead, 0);
  ASSERT_NE(view, nullptr);
  EXPECT_EQ(std::string(static_cast<const char*>(view), mapped.size()), "abc");
  mapped.Close(CloseFile::kYes);
  EXPECT_EQ(GetFileSize(file, nullptr), 3u);
  CloseHandle(file);
}

TEST_F(MappedFilePortableTest, TextIsReplacedInPlace) {
  constexpr Occurrences kFirst = Occurrences::kFirst, kAll = Occurrences::kAll;
  const struct {
    std::string content;
    LPCSTR find, replacement;
    Occurrences occurrences;
    std::string expected;
    int count;
  } cases[] = {
      {"a cat, a cat.", "cat", "bird", kAll, "a bird, a bird.", 2},
      {"a cat, a cat.", "cat", "bird", kFirst, "a bird, a cat.", 1},
      {"a cat, a cat.", "cat", "dog", kAll, "a dog, a dog.", 2},
      {"a cat, a cat", "cat", "ox", kAll, "a ox, a ox", 2},
      {"a cat, a cat.", "a ", "", kFirst, "cat, a cat.", 1},
      {"a cat, a cat.", "a ", nullptr, kAll, "cat, cat.", 2},
      {"aaa", "aa", "aaaa", kAll, "aaaaa", 1},
      {"a", "a", "", kAll, "", 1},
      {"none", "x", "yy", kAll, "none", 0},
      {"none", "", "yy", kAll, "none", 0},
      // The text ends at a zero byte, and so does the file afterwards.
      {"cat\0cat"s, "cat", "bird", kAll, "bird", 1},
      {"", "x", "y", kAll, "", 0},
  };
  for (const auto& c : cases) {
    SetContent(c.content);
    EXPECT_EQ(CMappedFile::ReplaceInFile(path_, c.find, c.replacement, c.occurrences), c.count);
    EXPECT_EQ(Content(), c.expected) << "case " << (&c - cases);
  }
}

}  // namespace
}  // namespace kv
