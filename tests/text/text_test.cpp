// Texts without memory.
#include "runtime/text/text.h"

#include "platform/control/message_boxes.h"
#include "runtime/text/wide_text.h"
#include "runtime/text/wildcard.h"
#include "tests/support/failing_new.h"
#include "tests/support/runtime_test.h"
#include "tests/support/test_key.h"

namespace kv::test {
namespace {

using TextTest = RuntimeTest;

TEST_F(TextTest, WithoutMemoryThereIsNoCopyAndNoChange) {
  WCHAR text[] = TEXT("a TEXT"), wide[3] = TEXT("##");
  for (const uint64_t nth : {1, 2}) {
    FailAllocation(nth);
    ReplaceNoCase(text, TEXT("text"));
    EXPECT_EQ(WideView(text), TEXT("a TEXT"));
  }
  FailAllocation(1);
  EXPECT_EQ(CopyOf(TEXT("ab")), nullptr);
  FailAllocation(1);
  AnsiToWide(wide, 3, "abc", 1252);
  EXPECT_EQ(wide[0], 0);
  for (const bool narrow : {false, true}) {
    platform::AnswerNextBox(IDOK);
    FailAllocation(1);
    if (narrow) {
      EXPECT_EQ(UnicodeToAnsiNew(TEXT("ab"), 1252), nullptr);
    } else {
      EXPECT_EQ(AnsiToUnicodeNew("ab", 1252), nullptr);
    }
    EXPECT_EQ(platform::ShownBoxes().back().text,
              narrow ? TEXT("An internal error occurred: UnicodeToAnsiNew new char.")
                     : TEXT("An internal error occurred: AnsiToUnicodeNew new char."));
  }
}

TEST_F(TextTest, OnlyLongTextsNeedMemoryToBeMatched) {
  for (const size_t length : {127, 128}) {
    const WideString stars(length, '*'), text(length, 'T');
    for (const bool pattern : {true, false}) {
      FailAllocation(1);
      EXPECT_EQ(
          MatchWildcard(pattern ? stars.c_str() : TEXT("t*"), pattern ? TEXT("x") : text.c_str()),
          length == 127);
    }
    FailAllocation(0);
    EXPECT_TRUE(MatchWildcard(TEXT("t*"), text.c_str()));
  }
}

}  // namespace
}  // namespace kv::test
