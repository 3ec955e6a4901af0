// Texts when calls and allocations fail.
#include "runtime/text/document_name.h"
#include "runtime/text/locale_list.h"
#include "runtime/text/text.h"
#include "runtime/text/wide_text.h"
#include "runtime/text/wildcard.h"
#include "tests/support/sweep.h"
#include "tests/support/test_key.h"

namespace kv::test {
namespace {

SWEEP_AREA(Text, RuntimeTest);

SCENARIO(Text, Conversions) {
  WCHAR wide[8], cut[4], counted[8];
  char narrow[8], narrow_cut[4];
  BOOL used_default = FALSE;
  attempt.Call([&] {
    AnsiToWide(wide, 8, "text", 1252);
    AnsiToWide(cut, 4, "text", 1252);
    AnsiToWideCounted(counted, 8, reinterpret_cast<const BYTE*>("\4text"), 1252);
    WideToAnsi(narrow, 8, TEXT("text"), 1252, &used_default);
    WideToAnsi(narrow_cut, 4, TEXT("text"), 1252);
  });
  attempt.Expect(wide[0] != 0, WideView(wide) == TEXT("text"));
  attempt.Expect(cut[0] != 0, WideView(cut) == TEXT("tex"));
  attempt.Expect(counted[0] != 0, WideView(counted) == TEXT("text"));
  attempt.Expect(narrow[0] != 0, std::string(narrow) == "text");
  attempt.Expect(narrow_cut[0] != 0, std::string(narrow_cut) == "tex");
}

SCENARIO(Text, NewCopies) {
  std::unique_ptr<WCHAR[]> copy, wide;
  std::unique_ptr<char[]> narrow;
  attempt.Call([&] {
    copy = CopyOf(TEXT("text"));
    wide.reset(AnsiToUnicodeNew("text", 1252));
    narrow.reset(UnicodeToAnsiNew(TEXT("text"), 1252));
  });
  attempt.Expect(copy != nullptr, View(copy.get()) == TEXT("text"));
  attempt.Expect(wide != nullptr,
                 View(wide.get()) == TEXT("text") || (attempt.hit() && View(wide.get()).empty()));
  attempt.Expect(narrow != nullptr,
                 narrow == nullptr || narrow[0] == 't' || (attempt.hit() && narrow[0] == 0));
}

SCENARIO(Text, ReplaceNoCase) {
  WCHAR text[] = TEXT("a TEXT");
  attempt.Call([&] { ReplaceNoCase(text, TEXT("text")); });
  attempt.Expect(WideView(text) == TEXT("a text"), true, WideView(text) == TEXT("a TEXT"));
}

SCENARIO(Text, MatchWildcard) {
  const WideString text(300, 'x');
  attempt.Expect(attempt.Call([&] { return MatchWildcard(TEXT("x*x"), text.c_str()); }), true);
}

SCENARIO(Text, DocumentNameFromTitle) {
  // Without memory for the copies a caption may not be recognised; the title stays whole.
  platform::SetFact(platform::facts::kUserIsElevated, "1");
  Key::Create(HKEY_CLASSES_ROOT, TEXT(".txt"));
  const WideString whole = WideString(200, 'x') + TEXT(".txt - Notepad");
  WideString title = whole;
  attempt.Call([&] {
    DocumentNameFromTitle(title.data(), StripScheme::kYes, StripExtension::kYes);
    return IsRegisteredExtension(TEXT(".txt"));
  });
  const WideView name = title.c_str();
  attempt.Expect(name.size() == 200, true, WideView(whole).starts_with(name) && name.size() > 200);
}

SCENARIO(Text, LocaleNames) {
  WCHAR language[40], country[40], abbreviation[8], name[16];
  UINT code_page = 0;
  attempt.Call([&] {
    GetEnglishLanguageName(0x0407, language, 40);
    GetEnglishCountryName(0x0407, country, 40);
    GetAbbrevLanguageName(0x0407, abbreviation, 8);
    GetLocaleShortName(0x0407, name, 16);
    code_page = GetLocaleAnsiCodePage(0x0407);
  });
  attempt.Expect(language[0] != 0, WideView(language) == TEXT("German"));
  attempt.Expect(country[0] != 0, WideView(country) == TEXT("Germany"));
  attempt.Expect(abbreviation[0] != 0, WideView(abbreviation) == TEXT("DEU"));
  // The form of systems that do not know the other one.
  const bool old_form = attempt.hit() && WideView(name) == TEXT("deu-deu");
  attempt.Expect(name[0] != 0, WideView(name) == TEXT("de-de") || old_form);
  attempt.Expect(code_page != 0, code_page == 1252);
}

SCENARIO(Text, LocaleList) {
  WCHAR name[64];
  LCID found = 0;
  attempt.Call([&] {
    const CLocaleList list;
    list.GetLanguageName(0x0407, TRUE, name, 64);
    found = list.FindLocaleByName(TEXT("de-de"));
  });
  // Locales that cannot be read are left out.
  attempt.Expect(name[0] != 0, WideView(name).starts_with(TEXT("German")));
  attempt.Expect(found != 0, found == 0x0407);
}

}  // namespace
}  // namespace kv::test
