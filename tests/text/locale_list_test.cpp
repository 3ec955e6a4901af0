// The list of locales and what can be asked of it.
#include "runtime/text/locale_list.h"

#include "platform/control/profiles.h"
#include "platform/kernel/text.h"
#include "runtime/text/wide_text.h"
#include "tests/support/machine_test.h"

namespace kv::test {
namespace {

using WideString = std::basic_string<WCHAR>;

class LocaleListTest : public MachineTest {
 protected:
  static WideString Name(const CLocaleList& list, LANGID language, BOOL withCountry,
                         int capacity = 100) {
    WCHAR text[100] = TEXT("?");
    const WCHAR first = list.GetLanguageName(language, withCountry, text, capacity);
    EXPECT_EQ(first, text[0]);
    return text;
  }
};

TEST_F(LocaleListTest, LanguagesAreSortedAndCountriesStandWhereTheyTell) {
  const CLocaleList list;
  ASSERT_GE(list.entryCount(), 100u);
  for (DWORD i = 1; i < list.entryCount(); ++i) {
    const CLocaleEntry &before = list.entries()[i - 1], &entry = list.entries()[i];
    const WideString names[] = {before.languageName, entry.languageName};
    EXPECT_LE(platform::UpperCase(names[0]), platform::UpperCase(names[1]));
    if (names[0] != names[1]) continue;
    ASSERT_TRUE(before.countryName != nullptr && entry.countryName != nullptr) << entry.langId;
    EXPECT_LE(platform::UpperCase(before.countryName), platform::UpperCase(entry.countryName));
  }
  EXPECT_EQ(list.entries()[list.entryCount()].languageName, nullptr);

  EXPECT_EQ(Name(list, 0x0407, TRUE), TEXT("German (Germany)"));
  EXPECT_EQ(Name(list, 0x0407, FALSE), TEXT("German"));
  EXPECT_EQ(Name(list, 0x0411, TRUE), TEXT("Japanese"));
  EXPECT_EQ(Name(list, 0x0407, TRUE, 10), TEXT("German (G"));
  EXPECT_EQ(Name(list, 0x7777, TRUE), TEXT(""));
}

TEST_F(LocaleListTest, LocalesAreFoundByTheirShortNames) {
  for (const char* profile : {"windows-xp", "windows-10"}) {
    ASSERT_TRUE(platform::UseProfile(profile));
    const CLocaleList list;
    WCHAR name[100];
    EXPECT_EQ(GetLocaleShortName(0x0C0C, name, 100), 'f');
    EXPECT_EQ(WideView(name), profile == std::string("windows-10") ? WideView(TEXT("fr-ca"))
                                                                   : WideView(TEXT("frc-can")));
    EXPECT_EQ(list.FindLocaleByName(name), 0x0C0Cu);
    name[0] = 'F';
    EXPECT_EQ(list.FindLocaleByName(name), 0x0C0Cu);
    EXPECT_EQ(list.FindLocaleByName(TEXT("xx-yy")), 0u);
  }
  WCHAR name[4] = TEXT("?");
  EXPECT_EQ(GetLocaleShortName(0x0409, name, 4), 0) << "cut, it would name another";
  EXPECT_EQ(WideView(name), TEXT(""));
  EXPECT_EQ(GetEnglishCountryName(0x0409, name, 4), 0);
  EXPECT_EQ(GetLocaleShortName(0x7777, name, 4), 0);
  EXPECT_EQ(GetLocaleShortName(0x0409, nullptr, 4), 0);
  EXPECT_EQ(GetAbbrevLanguageName(0x0409, name, 4), 'E');
  EXPECT_EQ(GetLocaleAnsiCodePage(0x0411), 932u);
  EXPECT_EQ(GetLocaleAnsiCodePage(0x7777), 0u);
}

}  // namespace
}  // namespace kv::test
