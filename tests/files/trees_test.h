// The fixture of tests about directories and what they hold.
#pragma once

#include <map>
#include <string>

#include "platform/control/message_boxes.h"
#include "runtime/text/wide_text.h"
#include "tests/support/machine_files.h"
#include "tests/support/runtime_test.h"

namespace kv::test {

using WideString = std::basic_string<WCHAR>;

class TreesTest : public RuntimeTest {
 protected:
  void SetUp() override {
    RuntimeTest::SetUp();
    MakeDirectory(TEXT("C:\\dir"));
  }
  static void MakeDirectory(LPCWSTR path) {
    std::filesystem::create_directories(platform::HostPath(path));
  }
  // The text of the last box, which the test expected.
  static WideView LastBox() {
    static WideString text;
    text = platform::ShownBoxes().empty() ? WideString() : platform::ShownBoxes().back().text;
    return text;
  }
  // What a directory holds: the paths below it, each with a file's content or "/".
  using Contents = std::map<std::string, std::string>;
  static Contents ContentsOf(LPCWSTR directory) {
    const std::filesystem::path host = platform::HostPath(directory);
    Contents contents;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(host)) {
      std::ifstream file(entry.path(), std::ios::binary);
      contents[std::filesystem::relative(entry.path(), host).string()] =
          entry.is_directory() ? "/" : std::string(std::istreambuf_iterator<char>(file), {});
    }
    return contents;
  }
};

}  // namespace kv::test
