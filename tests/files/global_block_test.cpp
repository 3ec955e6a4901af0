// Growing blocks of global memory.
#include "runtime/files/global_block.h"

#include <cstring>
#include <string>

#include "platform/control/clipboard.h"
#include "runtime/core/messages.h"
#include "runtime/text/wide_text.h"
#include "tests/support/runtime_test.h"

namespace kv::test {
namespace {

using WideString = std::basic_string<WCHAR>;
using Terminator = CGlobalBlock::Terminator;
using EmptyFirst = CGlobalBlock::EmptyFirst;

WideString last_box;

class GlobalBlockTest : public RuntimeTest {
 protected:
  void SetUp() override {
    RuntimeTest::SetUp();
    last_box.clear();
    SetMessageSink([](LPCWSTR text, LPCWSTR, UINT) {
      last_box = text;
      return IDOK;
    });
  }
  void TearDown() override {
    SetMessageSink(nullptr);
    RuntimeTest::TearDown();
  }
  static std::string Content(const CGlobalBlock& block) {
    return std::string(static_cast<const char*>(block.data()), block.size());
  }
};

TEST_F(GlobalBlockTest, GrowsByTheShortfallOrTheStep) {
  CGlobalBlock block;
  ASSERT_TRUE(block.Alloc(100, GMEM_MOVEABLE, 1024));
  EXPECT_EQ(block.Reserve(100), 1);
  EXPECT_EQ(block.size(), 100u);
  EXPECT_EQ(block.Reserve(110), 2);
  EXPECT_EQ(block.size(), 1124u);
  EXPECT_TRUE(block.Alloc(5000, GMEM_FIXED, 1)) << "a block that is there grows";
  EXPECT_EQ(block.size(), 5000u);
  EXPECT_TRUE(block.Grow(10));
  EXPECT_EQ(block.size(), 5010u);
  CGlobalBlock exact;
  EXPECT_TRUE(exact.AppendByte(1) && exact.AppendWord(2));
  EXPECT_EQ(exact.size(), 3u);
}

TEST_F(GlobalBlockTest, WritesAndReadsLikeAStream) {
  CGlobalBlock block;
  ASSERT_TRUE(block.Alloc(2, GMEM_MOVEABLE, 0));
  EXPECT_TRUE(block.AppendByte(1) && block.AppendWord(0x0302) && block.AppendDword(0x07060504));
  EXPECT_TRUE(block.AppendStringA("a", Terminator::kNo));
  EXPECT_TRUE(block.AppendStringA("b", Terminator::kYes));
  EXPECT_TRUE(block.AppendStringW(TEXT("c"), Terminator::kYes));
  EXPECT_EQ(Content(block), std::string("\1\2\3\4\5\6\7ab\0c\0\0\0", 14));
  EXPECT_TRUE(block.SetPosition(14));
  char read[16] = {};
  EXPECT_EQ(block.Read(read, 4), 0u);
  EXPECT_FALSE(block.SetPosition(15));
  EXPECT_EQ(block.position(), 14u) << "unchanged";
  EXPECT_TRUE(block.SetPosition(7));
  EXPECT_EQ(block.Read(read, 3), 3u);
  EXPECT_STREQ(read, "ab");
  EXPECT_EQ(block.Read(read, 16), 4u) << "what is left";
  EXPECT_TRUE(block.SetPosition(0) && block.AppendByte('x'));
  EXPECT_EQ(block.size(), 14u) << "overwritten in place";
}

TEST_F(GlobalBlockTest, WhatIsAppendedMayLieInTheBlock) {
  CGlobalBlock block;
  ASSERT_TRUE(block.AppendStringA("abc", Terminator::kYes));
  const auto text = [&] { return static_cast<LPCSTR>(block.data()); };
  EXPECT_TRUE(block.AppendStringA(text() + 1, Terminator::kYes));
  EXPECT_TRUE(block.Append(text(), block.size()));
  EXPECT_EQ(Content(block), std::string("abc\0bc\0abc\0bc\0", 14));
  EXPECT_TRUE(block.SetPosition(1) && block.Append(text(), 4)) << "overlapping";
  EXPECT_EQ(Content(block), std::string("aabc\0c\0abc\0bc\0", 14));
  EXPECT_TRUE(block.SetPosition(0));
  EXPECT_EQ(block.Read(static_cast<BYTE*>(block.data()) + 1, 4), 4u);
  EXPECT_EQ(Content(block), std::string("aaabcc\0abc\0bc\0", 14));
  CGlobalBlock wide;
  ASSERT_TRUE(wide.AppendStringW(TEXT("xy"), Terminator::kYes));
  EXPECT_TRUE(wide.AppendStringW(static_cast<LPCWSTR>(wide.data()), Terminator::kYes));
  EXPECT_EQ(wide.size(), 12u);
  EXPECT_EQ(WideView(static_cast<LPCWSTR>(wide.data()) + 3), TEXT("xy"));
  EXPECT_TRUE(wide.AppendStringA(nullptr, Terminator::kYes));
  EXPECT_EQ(wide.size(), 13u);
}

TEST_F(GlobalBlockTest, CopiesAreBlocksOfTheirOwn) {
  CGlobalBlock block;
  ASSERT_TRUE(block.AppendStringA("abc", Terminator::kNo));
  block.Unlock();
  CGlobalBlock copy(block);
  EXPECT_TRUE(block.Lock());
  EXPECT_TRUE(copy.AppendByte('d'));
  EXPECT_EQ(Content(copy), "abcd");
  EXPECT_EQ(Content(block), "abc");
  EXPECT_EQ(CGlobalBlock(CGlobalBlock()).data(), nullptr);
}

TEST_F(GlobalBlockTest, TakesOverAndGivesUpBlocks) {
  const HGLOBAL movable = GlobalAlloc(GMEM_MOVEABLE | GMEM_ZEROINIT, 5);
  const HGLOBAL fixed = GlobalAlloc(GMEM_FIXED, 6);
  CGlobalBlock block;
  ASSERT_TRUE(block.Alloc(1, GMEM_FIXED, 1024) && block.AppendByte(1));
  EXPECT_TRUE(block.Attach(movable)) << "the present one is freed and forgotten";
  EXPECT_EQ(block.size(), 5u);
  EXPECT_EQ(block.position(), 0u);
  EXPECT_EQ(GlobalFlags(movable) & GMEM_LOCKCOUNT, 1u);
  EXPECT_EQ(block.Reserve(6), 2);
  EXPECT_EQ(block.size(), 6u);
  EXPECT_EQ(block.Detach(), movable);
  EXPECT_EQ(GlobalFlags(movable) & GMEM_LOCKCOUNT, 0u);
  EXPECT_TRUE(block.Attach(movable) && block.Attach(fixed)) << "the first is freed";
  EXPECT_FALSE(block.Attach(nullptr));
  EXPECT_EQ(block.data(), nullptr);
  const HGLOBAL strange = GlobalAlloc(GMEM_MOVEABLE, 7);
  platform::FailCall("GlobalSize", 1);
  EXPECT_FALSE(block.Attach(strange)) << "growing it would cut it";
  EXPECT_EQ(block.Detach(), nullptr) << "it is still the caller's";
  EXPECT_EQ(GlobalFlags(strange) & GMEM_LOCKCOUNT, 0u);
  GlobalFree(strange);
  EXPECT_TRUE(last_box.empty());
}

TEST_F(GlobalBlockTest, MoreThanABlockCanHold) {
  CGlobalBlock block;
  ASSERT_TRUE(block.AppendStringA("abc", Terminator::kNo));
  EXPECT_FALSE(block.Append("", 0xFFFFFFFF));
  platform::FailCall("GlobalReAlloc", 1);
  EXPECT_EQ(block.Reserve(100), 0);
  EXPECT_EQ(Content(block), "abc");
  const auto reported = [](LPCWSTR text) { return last_box.find(text) != WideString::npos; };
  EXPECT_TRUE(reported(TEXT("GlobalReAlloc failed")));
  for (const auto& [call, report] : {std::pair{"GlobalAlloc", TEXT("GlobalAlloc failed")},
                                     {"GlobalLock", TEXT("GlobalLock failed")}}) {
    platform::FailCall(call, 1);
    EXPECT_FALSE(CGlobalBlock().Alloc(5, GMEM_MOVEABLE, 0));
    EXPECT_TRUE(reported(report));
  }
}

TEST_F(GlobalBlockTest, TheClipboardTakesTheBlockOrLeavesIt) {
  CGlobalBlock block;
  ASSERT_TRUE(block.AppendStringA("old", Terminator::kYes) &&
              block.PutOnClipboard(CF_TEXT, EmptyFirst::kNo));
  EXPECT_EQ(block.data(), nullptr);
  ASSERT_TRUE(block.AppendStringW(TEXT("new"), Terminator::kYes));
  const struct {
    const char* function;
    LPCWSTR box;
  } failures[] = {{"OpenClipboard", TEXT("OpenClipboard")},
                  {"SetClipboardData", TEXT("SetClipboardData")}};
  for (const auto& failure : failures) {
    platform::FailCall(failure.function, 1);
    EXPECT_FALSE(block.PutOnClipboard(CF_UNICODETEXT, EmptyFirst::kNo));
    EXPECT_TRUE(last_box.starts_with(failure.box));
    EXPECT_NE(block.data(), nullptr) << "here and locked";
  }
  EXPECT_TRUE(platform::ClipboardContent(CF_TEXT).has_value());
  platform::FailCall("CloseClipboard", 1);
  EXPECT_TRUE(block.PutOnClipboard(CF_UNICODETEXT, EmptyFirst::kYes));
  EXPECT_TRUE(last_box.starts_with(TEXT("CloseClipboard"))) << "reported, and no failure";
  EXPECT_FALSE(platform::ClipboardContent(CF_TEXT).has_value());
  const auto content = platform::ClipboardContent(CF_UNICODETEXT);
  ASSERT_TRUE(content.has_value());
  EXPECT_EQ(content->size(), 8u);
  EXPECT_FALSE(block.PutOnClipboard(CF_TEXT, EmptyFirst::kNo)) << "nothing to put";
}

}  // namespace
}  // namespace kv::test
