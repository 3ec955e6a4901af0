// The list of locales and what can be asked of it.
#include "runtime/text/locale_list.h"

#include "platform/control/profiles.h"
#include "runtime/text/wide_text.h"
#include "tests/support/failing_new.h"
#include "tests/support/machine_test.h"

namespace kv::test {
namespace {

using WideString = std::basic_string<WCHAR>;

// What a system lists, in its order: what is no number first.
constexpr LPCWSTR kNumbers[] = {
    TEXT(""),     TEXT("000000407"), TEXT("40/"),      TEXT("40:"),  TEXT("40@"),      TEXT("41g"),
    TEXT("407 "), TEXT("0000281a"),  TEXT("241A"),     TEXT("200A"), TEXT("00000c0A"), TEXT("814"),
    TEXT("0435"), TEXT("0411"),      TEXT("0000040F"), TEXT("41f"),
};
constexpr WCHAR kListed[] = TEXT(
    "Icelandic/;isiZulu/;Japanese/;Norwegian Nynorsk/;Serbian/;Serbian/;Spanish/Spain;"
    "Spanish/Venezuela;Turkish/;");

// How the system's list changes once it has been counted, and how often it answers.
enum class Change { kNone, kLonger, kMore } change;
int passes, most_passes;

BOOL WINAPI ListLocales(LOCALE_ENUMPROCW callback, DWORD flags) {
  if (flags != LCID_SUPPORTED || ++passes > most_passes) return FALSE;
  for (WideString number : kNumbers) {
    const bool longer = passes == 2 && change == Change::kLonger && number == TEXT("0000281a");
    if (longer) number = TEXT("0C04");
    if (!callback(number.data())) return TRUE;
  }
  if (passes == 2 && change == Change::kMore) callback(WideString(TEXT("0409")).data());
  return TRUE;
}

// The same of every locale: a code page that is another one each time, and one name.
int WINAPI TellFact(LCID, LCTYPE type, LPWSTR buffer, int) {
  static int asked = 0;
  constexpr LPCWSTR kCodePages[] = {TEXT("1"), TEXT("65535"), TEXT("65536"), TEXT("-1"),
                                    TEXT("12x")};
  const WideView text = type == 0x1004 ? kCodePages[asked++ % 5] : TEXT("one");
  buffer[text.copy(buffer, text.size())] = 0;
  return 1;
}

class LocaleListTest : public MachineTest {
 protected:
  void SetUp() override {
    MachineTest::SetUp();
    passes = 0;
    most_passes = 2;
    change = Change::kNone;
    platform::Replace("EnumSystemLocalesW", &ListLocales);
  }
  // "language/country;" of each entry.
  static WideString Listed(const CLocaleList& list) {
    WideString text;
    for (DWORD i = 0; i < list.entryCount(); ++i) {
      const CLocaleEntry& entry = list.entries()[i];
      text.append(entry.languageName).append(TEXT("/")).append(View(entry.countryName));
      text.append(TEXT(";"));
      EXPECT_TRUE(entry.countryName == nullptr || entry.countryName[0] != 0);
    }
    EXPECT_TRUE(list.entries() == nullptr ||
                list.entries()[list.entryCount()].languageName == nullptr);
    return text;
  }
  static WideString Name(const CLocaleList& list, LANGID language, BOOL withCountry,
                         int capacity = 100) {
    WCHAR text[100] = TEXT("?");
    const WCHAR first = list.GetLanguageName(language, withCountry, text, capacity);
    EXPECT_EQ(first, capacity > 0 ? text[0] : 0);
    return text;
  }
};

TEST_F(LocaleListTest, LanguagesAreSortedAndCountriesStandWhereTheyTell) {
  const CLocaleList list;
  ASSERT_EQ(Listed(list), kListed);
  EXPECT_EQ(list.entries()[7].langId, 0x200A);
  EXPECT_EQ(Name(list, 0x0C0A, TRUE), TEXT("Spanish (Spain)"));
  EXPECT_EQ(Name(list, 0x0C0A, FALSE), TEXT("Spanish"));
  EXPECT_EQ(Name(list, 0x0411, TRUE), TEXT("Japanese"));
  EXPECT_EQ(Name(list, 0x0C0A, TRUE, 11), TEXT("Spanish (S"));
  EXPECT_EQ(Name(list, 0x0C0A, TRUE, 1), TEXT(""));
  EXPECT_EQ(Name(list, 0x0C0A, TRUE, 0), TEXT("?"));
  EXPECT_EQ(Name(list, 0x0407, TRUE), TEXT("German")) << "not in the list";
  EXPECT_EQ(Name(list, 0x7777, TRUE), TEXT(""));
  EXPECT_EQ(list.FindLocaleByName(TEXT("JA-jp")), 0x0411u);
  EXPECT_EQ(list.FindLocaleByName(TEXT("ja-j")), 0u);
  platform::Replace("GetLocaleInfoW", &TellFact);
  EXPECT_EQ(list.FindLocaleByName(TEXT("one")), 0x040Fu) << "the first by number";
  platform::ReplaceFunction("GetLocaleInfoW", nullptr);
  // What was not counted has no room.
  passes = 0;
  change = Change::kMore;
  EXPECT_EQ(Listed(CLocaleList()), kListed);
  passes = 0;
  change = Change::kLonger;
  EXPECT_EQ(Listed(CLocaleList()),
            TEXT("Chinese (Traditional)/;isiZulu/;Japanese/;Norwegian Nynorsk/;Serbian/;"
                 "Spanish/Spain;Spanish/Venezuela;"));
}

TEST_F(LocaleListTest, WithoutMemoryOrTheSystemsHelpItIsEmpty) {
  for (const int failing : {0, 1, 2, 3, 4}) {
    passes = 0;
    most_passes = failing < 2 ? failing : 2;
    FailAllocation(failing < 2 ? 0 : failing - 1);
    const CLocaleList list;
    EXPECT_TRUE(list.entries() == nullptr && list.entryCount() == 0) << failing;
    EXPECT_EQ(Name(list, 0x0411, TRUE), TEXT(""));
    EXPECT_EQ(list.FindLocaleByName(TEXT("ja-JP")), 0u);
  }
}

TEST_F(LocaleListTest, FactsOfLocales) {
  WCHAR name[100];
  for (const bool old : {true, false}) {
    ASSERT_TRUE(platform::UseProfile(old ? "windows-xp" : "windows-10"));
    platform::ReplaceFunction("EnumSystemLocalesW", nullptr);
    EXPECT_EQ(GetLocaleShortName(0x0C0C, name, 100), 'f');
    EXPECT_EQ(WideView(name), old ? TEXT("frc-can") : TEXT("fr-ca"));
    EXPECT_EQ(CLocaleList().FindLocaleByName(name), 0x0C0Cu);
  }
  // A name that is cut would be another one's.
  const struct {
    WCHAR (*read)(LCID, LPWSTR, int);
    LPCWSTR text;
  } kFacts[] = {{GetEnglishLanguageName, TEXT("English")},
                {GetEnglishCountryName, TEXT("United States")},
                {GetAbbrevLanguageName, TEXT("ENU")},
                {GetLocaleShortName, TEXT("en-us")}};
  for (const auto& fact : kFacts) {
    const int whole = static_cast<int>(View(fact.text).size()) + 1;
    for (const int capacity : {whole, whole - 1, 1, 0, -1}) {
      const WideView expected = capacity == whole ? fact.text : capacity > 0 ? TEXT("") : TEXT("#");
      name[0] = '#';
      name[1] = 0;
      EXPECT_EQ(fact.read(0x0409, name, capacity), capacity == whole ? fact.text[0] : 0);
      EXPECT_EQ(WideView(name), expected) << capacity;
    }
    EXPECT_EQ(fact.read(0x7777, name, 100) + name[0] + fact.read(0x0409, nullptr, 100), 0);
  }
  EXPECT_EQ(GetLocaleAnsiCodePage(0x0411), 932u);
  EXPECT_EQ(GetLocaleAnsiCodePage(0x7777), 0u);
  platform::Replace("GetLocaleInfoW", &TellFact);
  for (const UINT page : {1u, 65535u, 0u, 0u, 0u}) EXPECT_EQ(GetLocaleAnsiCodePage(1), page);
}

}  // namespace
}  // namespace kv::test
