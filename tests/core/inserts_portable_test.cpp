#include <gtest/gtest.h>

#include <string>

#include "runtime/core/resource_text.h"
#include "runtime/text/wide_text.h"

namespace kv {
namespace {

struct InsertCase {
  LPCWSTR text;
  LPCWSTR inserts[3];
  LPCWSTR expected;
};

constexpr InsertCase kCases[] = {
    {TEXT("^1 of ^2"), {TEXT("3"), TEXT("5"), nullptr}, TEXT("3 of 5")},
    {TEXT("^1^1"), {TEXT("ab"), nullptr, nullptr}, TEXT("abab")},
    {TEXT("[^1]"), {nullptr, nullptr, nullptr}, TEXT("[]")},
    {TEXT("^2^1"),
     {TEXT("^2"), TEXT("^1"), nullptr},
     TEXT("^1^2")},  // inserted texts are not searched
    {TEXT("^0^9^x^"), {TEXT("a"), nullptr, nullptr}, TEXT("^0^9^x^")},
    {TEXT("^^1"), {TEXT("a"), nullptr, nullptr}, TEXT("^a")},
    {TEXT("^1-^3"),
     {TEXT("a"), TEXT("b"), TEXT("c")},
     TEXT("a-")},  // a gap: two inserts, there is no third
    {TEXT(""), {nullptr, nullptr, nullptr}, TEXT("")},
};

TEST(FillInsertsTest, FillsIntoAnotherBufferAndInPlaceAlike) {
  for (const InsertCase& c : kCases) {
    const std::basic_string<WCHAR> expected(c.expected);
    for (int capacity = 1; capacity <= static_cast<int>(expected.size()) + 2; ++capacity) {
      WCHAR out[64];
      FillInserts(c.text, out, capacity, c.inserts);
      EXPECT_EQ(WideView(out), WideView(expected).substr(0, capacity - 1))
          << "case " << (&c - kCases);
    }
    WCHAR buffer[64] = {};
    WideView(c.text).copy(buffer, 63);
    FillInserts(buffer, buffer, 64, c.inserts);
    EXPECT_EQ(WideView(buffer), expected) << "in place, case " << (&c - kCases);
  }
}

TEST(FillInsertsTest, FewerTextsThanInsertsLeaveTheRestEmpty) {
  WCHAR out[64];
  const LPCWSTR one[] = {TEXT("a")};
  FillInserts(TEXT("^1^2^3."), out, 64, one);
  EXPECT_EQ(WideView(out), TEXT("a."));
  FillTwoInserts(TEXT("^2^1"), out, 64, TEXT("x"), TEXT("y"));
  EXPECT_EQ(WideView(out), TEXT("yx"));
}

}  // namespace
}  // namespace kv
