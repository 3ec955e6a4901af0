// Locales, fonts and metrics that follow them, and the texts of errors.
#include <algorithm>
#include <set>
#include <string>
#include <vector>

#include "tests/support/machine_test.h"

namespace {

using kv::test::WideView;
using Wide = std::basic_string<WCHAR>;

class LocaleTest : public kv::test::MachineTest {
 protected:
  void TearDown() override {
    seen.clear();
    MachineTest::TearDown();
  }
  static BOOL CALLBACK Collect(LPWSTR text) {
    seen.emplace_back(text);
    return seen.size() < stop_after;
  }
  static std::vector<Wide> Enumerate(size_t stop = ~size_t{0}) {
    seen.clear();
    stop_after = stop;
    EXPECT_TRUE(EnumSystemLocalesW(Collect, LCID_SUPPORTED));
    return seen;
  }

 private:
  static inline std::vector<Wide> seen;
  static inline size_t stop_after;
};

Wide Info(LCID locale, LCTYPE type) {
  WCHAR buffer[80];
  const int length = GetLocaleInfoW(locale, type, buffer, 80);
  return length == 0 ? Wide(TEXT("<none>")) : Wide(buffer, length - 1);
}

unsigned long Number(const Wide& text, int base) {
  const std::string narrow(text.begin(), text.end());
  char* end;
  const unsigned long value = std::strtoul(narrow.c_str(), &end, base);
  EXPECT_TRUE(!narrow.empty() && *end == 0) << narrow;
  return value;
}

TEST_F(LocaleTest, EveryLocaleAnswersEveryQuestion) {
  const std::vector<Wide> all = Enumerate();
  EXPECT_GE(all.size(), 100u);
  EXPECT_EQ(std::set<Wide>(all.begin(), all.end()).size(), all.size());
  std::set<Wide> names;
  for (const Wide& text : all) {
    ASSERT_EQ(text.size(), 8u);
    const LCID id = static_cast<LCID>(Number(text, 16));
    EXPECT_EQ(Number(Info(id, LOCALE_IDEFAULTLANGUAGE), 16), id);
    EXPECT_TRUE(names.insert(Info(id, LOCALE_SNAME)).second);
    EXPECT_EQ(Info(id, LOCALE_SABBREVLANGNAME).size(), 3u);
    EXPECT_EQ(Info(id, LOCALE_SABBREVCTRYNAME).size(), 3u);
    EXPECT_GT(Info(id, LOCALE_SENGLANGUAGE).size(), 2u);
    EXPECT_GT(Info(id, LOCALE_SENGCOUNTRY).size(), 3u);
    const unsigned long paper = Number(Info(id, LOCALE_IPAPERSIZE), 10);
    EXPECT_TRUE(paper == 1 || paper == 9);
    const unsigned long page = Number(Info(id, LOCALE_IDEFAULTANSICODEPAGE), 10);
    WCHAR wide[1];
    EXPECT_TRUE(page == 0 || MultiByteToWideChar(page, 0, "\x80", 1, wide, 1) == 1) << page;
  }
  EXPECT_EQ(Enumerate(3).size(), 3u);
}

TEST_F(LocaleTest, DefaultsComeFromTheMachine) {
  EXPECT_EQ(Info(LOCALE_SYSTEM_DEFAULT, LOCALE_IDEFAULTLANGUAGE), TEXT("0409"));
  EXPECT_EQ(Info(LOCALE_SYSTEM_DEFAULT, LOCALE_IPAPERSIZE), TEXT("1"));
  platform::SetFact(platform::facts::kSystemLocale, "0x0407");
  platform::SetFact(platform::facts::kUserLocale, "1041");
  EXPECT_EQ(Info(LOCALE_SYSTEM_DEFAULT, LOCALE_SENGCOUNTRY), TEXT("Germany"));
  EXPECT_EQ(Info(LOCALE_USER_DEFAULT, LOCALE_SENGLANGUAGE), TEXT("Japanese"));
  EXPECT_EQ(Info(LANG_ENGLISH, LOCALE_SNAME), TEXT("en-US"));
  platform::SetFactNumber(platform::facts::kMajor, 5);
  EXPECT_EQ(Info(0x0409, LOCALE_SNAME), TEXT("<none>"));
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_FLAGS));
}

TEST_F(LocaleTest, BufferRules) {
  WCHAR buffer[8] = TEXT("#######");
  EXPECT_EQ(GetLocaleInfoW(0x0409, LOCALE_SENGLANGUAGE, nullptr, 0), 8);
  EXPECT_EQ(GetLocaleInfoW(0x0409, LOCALE_SENGLANGUAGE, buffer, 7), 0);
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INSUFFICIENT_BUFFER));
  EXPECT_EQ(GetLocaleInfoW(0x0409, LOCALE_SENGLANGUAGE, buffer, 8), 8);
  EXPECT_EQ(WideView(buffer), TEXT("English"));
  EXPECT_EQ(GetLocaleInfoW(0xFFFF, LOCALE_SENGLANGUAGE, buffer, 8), 0);
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_PARAMETER));
}

TEST_F(LocaleTest, FontAndMetricsFollowTheCodePage) {
  struct Case {
    const char* locale;
    BYTE charset;
    int double_byte, middle_east;
  };
  for (const Case& c : {Case{"0x0409", ANSI_CHARSET, 0, 0}, Case{"0x0411", SHIFTJIS_CHARSET, 1, 0},
                        Case{"0x040D", HEBREW_CHARSET, 0, 1}}) {
    platform::SetFact(platform::facts::kSystemLocale, c.locale);
    LOGFONTW font = {};
    EXPECT_EQ(GetObjectW(GetStockObject(DEFAULT_GUI_FONT), sizeof(font), &font), 92);
    EXPECT_EQ(font.lfCharSet, c.charset);
    EXPECT_NE(font.lfFaceName[0], 0);
    EXPECT_EQ(GetSystemMetrics(SM_DBCSENABLED), c.double_byte);
    EXPECT_EQ(GetSystemMetrics(SM_MIDEASTENABLED), c.middle_east);
  }
  platform::SetFactNumber("metric.86", 1);
  EXPECT_EQ(GetSystemMetrics(SM_TABLETPC), 1);
  LOGFONTW font;
  EXPECT_EQ(GetObjectW(GetStockObject(DEFAULT_GUI_FONT), sizeof(font) - 1, &font), 0);
  EXPECT_EQ(GetObjectW(nullptr, sizeof(font), &font), 0);
  CHARSETINFO info;
  const auto charset = [](UINT_PTR number) { return reinterpret_cast<LPDWORD>(number); };
  EXPECT_TRUE(TranslateCharsetInfo(charset(JOHAB_CHARSET), &info, TCI_SRCCHARSET));
  EXPECT_EQ(info.ciACP, 1361u);
  EXPECT_FALSE(TranslateCharsetInfo(charset(3), &info, TCI_SRCCHARSET));
}

TEST_F(LocaleTest, ErrorTextsEndWithALineBreakAndNeedTheirWholeBuffer) {
  constexpr DWORD kFlags = FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS;
  WCHAR buffer[256];
  EXPECT_EQ(FormatMessageW(kFlags, nullptr, 5, 0, buffer, 256, nullptr), 19u);
  EXPECT_EQ(WideView(buffer), TEXT("Access is denied.\r\n"));
  EXPECT_EQ(FormatMessageW(kFlags, nullptr, 5, 0, buffer, 20, nullptr), 19u);
  EXPECT_EQ(FormatMessageW(kFlags, nullptr, 5, 0, buffer, 19, nullptr), 0u);
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INSUFFICIENT_BUFFER));
  FormatMessageW(kFlags, nullptr, 193, 0, buffer, 256, nullptr);
  EXPECT_EQ(WideView(buffer).substr(0, 2), TEXT("%1"));
  EXPECT_EQ(FormatMessageW(kFlags, nullptr, 0x20001234, 0, buffer, 256, nullptr), 0u);
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_MR_MID_NOT_FOUND));
}

}  // namespace
