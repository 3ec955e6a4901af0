// The matcher of names.
#include "runtime/text/wildcard.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

#include "runtime/text/wide_text.h"

namespace kv {
namespace {

using WideString = std::basic_string<WCHAR>;

// The rules themselves, without thought of time.
bool Reference(WideView pattern, WideView text) {
  if (pattern.empty()) return text.empty();
  if (pattern[0] == '*') {
    return Reference(pattern.substr(1), text) ||
           (!text.empty() && Reference(pattern, text.substr(1)));
  }
  return !text.empty() && (pattern[0] == '?' || ToUpper(pattern[0]) == ToUpper(text[0])) &&
         Reference(pattern.substr(1), text.substr(1));
}

TEST(WildcardTest, AgreesWithTheReferenceOnRandomTexts) {
  std::mt19937 random(1);
  const auto make = [&](WideView letters, size_t most) {
    WideString text(random() % (most + 1), 0);
    for (WCHAR& c : text) c = letters[random() % letters.size()];
    return text;
  };
  int matches = 0;
  for (int i = 0; i < 20000; ++i) {
    const WideString pattern = make(TEXT("aB**?"), 7), text = make(TEXT("Ab"), 9);
    const bool expected = Reference(pattern, text);
    matches += expected;
    ASSERT_EQ(MatchWildcard(pattern.c_str(), text.c_str()) != 0, expected) << "pair " << i;
  }
  EXPECT_GT(matches, 2000);
  EXPECT_FALSE(MatchWildcard(TEXT("a*"), TEXT("*a")));
  EXPECT_FALSE(MatchWildcard(nullptr, TEXT("a")));
  EXPECT_TRUE(MatchWildcard(TEXT("**"), nullptr));
  EXPECT_TRUE(MatchWildcard(TEXT("\u00C4*"), TEXT("\u00E4b"))) << "letters of any alphabet";
}

// A matcher that tries every way would not end within anybody's life.
TEST(WildcardTest, NoPatternTakesLong) {
  const WideString text(10000, 'a');
  WideString stars(10000, '*');
  EXPECT_TRUE(MatchWildcard(stars.c_str(), text.c_str()));
  stars.back() = 'b';
  EXPECT_FALSE(MatchWildcard(stars.c_str(), text.c_str()));
  WideString pairs;
  for (int i = 0; i < 5000; ++i) pairs += TEXT("*a");
  EXPECT_TRUE(MatchWildcard(pairs.c_str(), text.c_str()));
  EXPECT_FALSE(MatchWildcard((pairs + TEXT("*b")).c_str(), text.c_str()));
  EXPECT_FALSE(MatchWildcard((pairs + TEXT("b*")).c_str(), text.c_str()));
}

TEST(WildcardTest, Prefixes) {
  EXPECT_TRUE(BeginsWith(TEXT("FILE://"), TEXT("file://x"), MatchCase::kNo));
  EXPECT_FALSE(BeginsWith(TEXT("FILE://"), TEXT("file://x"), MatchCase::kYes));
  EXPECT_TRUE(BeginsWith(TEXT("file"), TEXT("file"), MatchCase::kYes));
  EXPECT_FALSE(BeginsWith(TEXT("files"), TEXT("file"), MatchCase::kNo));
  EXPECT_FALSE(BeginsWith(TEXT("\u00E4"), TEXT("\u00C4"), MatchCase::kNo)) << "A to Z only";
}

}  // namespace
}  // namespace kv
