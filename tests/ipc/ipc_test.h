// What the tests of processes and their objects share.
#pragma once

#include <string>

#include "platform/control/message_boxes.h"
#include "platform/control/profiles.h"
#include "runtime/text/wide_text.h"
#include "tests/support/failing_new.h"
#include "tests/support/helper_thread.h"
#include "tests/support/runtime_test.h"

namespace kv::test {

namespace facts = platform::facts;
using WideString = std::basic_string<WCHAR>;

class IpcTest : public RuntimeTest {
 protected:
  void UseProfile(const char* name) {
    ASSERT_TRUE(platform::UseProfile(name, "x86"));
    Restart();
  }
  // Whether the last report holds the text.
  static bool Reported(LPCWSTR text) {
    return platform::ShownBoxes().back().text.find(text) != WideString::npos;
  }
};

}  // namespace kv::test
