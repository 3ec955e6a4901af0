// The ANSI code page as a fact of the machine, and where not every system converts alike.
#include "tests/support/machine_test.h"

namespace {

using kv::test::WideView;

class CodePageTest : public kv::test::MachineTest {};

std::basic_string<WCHAR> Format(LPCWSTR format, ...) {
  WCHAR buffer[1024];
  va_list arguments;
  va_start(arguments, format);
  wvsprintfW(buffer, format, arguments);
  va_end(arguments);
  return buffer;
}

TEST_F(CodePageTest, TheAnsiCodePageFollowsTheSystemLocaleUnlessItIsSet) {
  platform::SetFact(platform::facts::kSystemLocale, "0x0411");
  WCHAR wide[2];
  EXPECT_EQ(MultiByteToWideChar(CP_ACP, 0, "\x82\xA0", -1, wide, 2), 2);
  EXPECT_EQ(WideView(wide), TEXT("\u3042"));
  platform::SetFactNumber(platform::facts::kAnsiCodePage, 1251);
  EXPECT_EQ(Format(TEXT("%S"), "\xC0\x80"), TEXT("\u0410\u0402")) << "inserts, too";
}

// Wine differs in both.
TEST_F(CodePageTest, Utf8ReplacesEveryByteOfASurrogateAndTellsOfNoDefaultCharacter) {
  WCHAR wide[4];
  EXPECT_EQ(MultiByteToWideChar(CP_UTF8, 0, "\xED\xA0\x80", -1, wide, 4), 4);
  EXPECT_EQ(WideView(wide), TEXT("\uFFFD\uFFFD\uFFFD"));
  char byte;
  BOOL used = FALSE;
  EXPECT_EQ(WideCharToMultiByte(CP_UTF8, 0, TEXT("a"), 1, &byte, 1, nullptr, &used), 0);
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_PARAMETER));
}

}  // namespace
