// The fixture of portable tests about one file: a temporary one, with its content as bytes.
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "runtime/files/temp_names.h"
#include "runtime/files/whole_files.h"

namespace kv::test {

class TemporaryFileTest : public testing::Test {
 protected:
  void SetUp() override { ASSERT_TRUE(MakeTempName(nullptr, path_)); }
  void TearDown() override { DeleteFileW(path_); }

  void SetContent(const std::string& content) const {
    ASSERT_TRUE(WriteEntireFile(path_, content.data(), static_cast<DWORD>(content.size())));
  }
  std::string Content() const {
    std::unique_ptr<BYTE[]> bytes;
    DWORD size = 0;
    EXPECT_TRUE(ReadEntireFile(path_, 0, bytes, size));
    return std::string(reinterpret_cast<const char*>(bytes.get()), size);
  }

  WCHAR path_[MAX_PATH] = {};
};

}  // namespace kv::test
