#include "runtime/text/locale_list.h"

#include <algorithm>
#include <new>

#include "runtime/text/format.h"
#include "runtime/text/text.h"
#include "runtime/text/wide_text.h"
#include "runtime/ui/code_thunk.h"

namespace kv {
namespace {

constexpr int kNameCapacity = 80;
constexpr int kPartCapacity = 128;
constexpr int kLongNameCapacity = 256;

// Not in every SDK.
constexpr LCTYPE kLocaleName = 0x5C;

WCHAR ReadLocaleText(LCID locale, LCTYPE type, LPWSTR output, int capacity) {
  if (output == nullptr || capacity < 1) return 0;
  if (GetLocaleInfoW(locale, type, output, capacity) == 0) output[0] = 0;
  return output[0];
}

// A number in hexadecimal digits and nothing else; FALSE for anything else.
BOOL ParseLocaleId(WideView text, LCID& locale) {
  locale = 0;
  if (text.empty() || text.size() > 8) return FALSE;
  for (const WCHAR c : text) {
    const WCHAR upper = ToUpper(c);
    const bool digit = c >= '0' && c <= '9';
    if (!digit && !(upper >= 'A' && upper <= 'F')) return FALSE;
    locale = locale << 4 | static_cast<LCID>(digit ? c - '0' : upper - 'A' + 10);
  }
  return TRUE;
}

bool LessNoCase(LPCWSTR a, LPCWSTR b) {
  const WideView first = View(a), second = View(b);
  return std::lexicographical_compare(first.begin(), first.end(), second.begin(), second.end(),
                                      [](WCHAR x, WCHAR y) { return ToUpper(x) < ToUpper(y); });
}

bool EntryLess(const CLocaleEntry& a, const CLocaleEntry& b) {
  if (EqualNoCase(View(a.languageName), View(b.languageName)))
    return LessNoCase(a.countryName, b.countryName);
  return LessNoCase(a.languageName, b.languageName);
}

}  // namespace

WCHAR GetEnglishLanguageName(LCID locale, LPWSTR output, int capacity) {
  return ReadLocaleText(locale, LOCALE_SENGLANGUAGE, output, capacity);
}

WCHAR GetEnglishCountryName(LCID locale, LPWSTR output, int capacity) {
  return ReadLocaleText(locale, LOCALE_SENGCOUNTRY, output, capacity);
}

WCHAR GetAbbrevLanguageName(LCID locale, LPWSTR output, int capacity) {
  return ReadLocaleText(locale, LOCALE_SABBREVLANGNAME, output, capacity);
}

WCHAR GetLocaleShortName(LCID locale, LPWSTR output, int capacity) {
  if (output == nullptr || capacity < 1) return 0;
  output[0] = 0;
  const size_t room = static_cast<size_t>(capacity);
  WCHAR name[kPartCapacity], country[kPartCapacity];
  BOOL whole = FALSE;
  if (ReadLocaleText(locale, kLocaleName, name, kPartCapacity)) {
    whole = FormatText(output, room, TEXT("%s"), name);
  } else if (ReadLocaleText(locale, LOCALE_SABBREVLANGNAME, name, kPartCapacity) &&
             ReadLocaleText(locale, LOCALE_SABBREVCTRYNAME, country, kPartCapacity)) {
    whole = FormatText(output, room, TEXT("%s-%s"), name, country);
  }
  if (!whole) output[0] = 0;
  CharLowerW(output);
  return output[0];
}

UINT GetLocaleAnsiCodePage(LCID locale) {
  WCHAR number[kNameCapacity];
  ReadLocaleText(locale, LOCALE_IDEFAULTANSICODEPAGE, number, kNameCapacity);
  int codePage;
  ParseWholeDecimal(number, codePage);
  return codePage > 0 && codePage <= 0xFFFF ? static_cast<UINT>(codePage) : 0;
}

CLocaleList::CLocaleList() {
  CCodeThunk thunk;
  const auto callback = thunk.BuildAs<LOCALE_ENUMPROCW>(EnumerationTemplate(), this);
  const auto enumerate = [&] {
    return callback != nullptr && EnumSystemLocalesW(callback, LCID_SUPPORTED);
  };
  if (enumerate() && Allocate() && enumerate()) {
    SortEntries();
    DropNeedlessCountries();
    std::sort(locales_.get(), locales_.get() + filledCount_);
  } else {
    Clear();
  }
}

BOOL CLocaleList::Allocate() {
  entries_.reset(new (std::nothrow) CLocaleEntry[entryCount_ + 1]());
  pool_.reset(new (std::nothrow) WCHAR[poolLength_]);
  locales_.reset(new (std::nothrow) DWORD[entryCount_]);
  poolNext_ = pool_.get();
  return entries_ != nullptr && pool_ != nullptr && locales_ != nullptr;
}

void CLocaleList::Clear() {
  entries_.reset();
  pool_.reset();
  locales_.reset();
  filledCount_ = 0;
}

BOOL CALLBACK CLocaleList::OnLocale(LPWSTR localeText) {
  LCID locale;
  WCHAR language[kNameCapacity], country[kNameCapacity];
  if (!ParseLocaleId(localeText, locale) ||
      !GetEnglishLanguageName(locale, language, kNameCapacity) ||
      !GetEnglishCountryName(locale, country, kNameCapacity)) {
    return TRUE;
  }
  const DWORD length = static_cast<DWORD>(View(language).size() + View(country).size() + 2);
  if (entries_ == nullptr) {
    ++entryCount_;
    poolLength_ += length;
    return TRUE;
  }
  // The system may know more than when the locales were counted.
  const bool fits = filledCount_ < entryCount_ &&
                    poolLength_ - static_cast<DWORD>(poolNext_ - pool_.get()) >= length;
  if (fits) {
    CLocaleEntry& entry = entries_[filledCount_];
    entry.langId = LOWORD(locale);
    entry.languageName = AddToPool(language);
    entry.countryName = AddToPool(country);
    locales_[filledCount_++] = locale;
  }
  return TRUE;
}

LPCWSTR CLocaleList::AddToPool(LPCWSTR name) {
  const LPWSTR place = poolNext_;
  const WideView text = name;
  poolNext_ += text.copy(poolNext_, text.size());
  *poolNext_++ = 0;
  return place;
}

void CLocaleList::SortEntries() {
  std::sort(entries_.get(), entries_.get() + filledCount_, EntryLess);
}

void CLocaleList::DropNeedlessCountries() {
  CLocaleEntry* const end = entries_.get() + filledCount_;
  for (CLocaleEntry* run = entries_.get(); run != end;) {
    CLocaleEntry* const next = std::find_if(run, end, [&](const CLocaleEntry& entry) {
      return !EqualNoCase(View(entry.languageName), View(run->languageName));
    });
    const LPCWSTR first = run->countryName;
    const bool oneCountry = std::all_of(run, next, [&](const CLocaleEntry& entry) {
      return View(entry.countryName) == View(first);
    });
    if (oneCountry) {
      for (CLocaleEntry* entry = run; entry != next; ++entry) entry->countryName = nullptr;
    }
    run = next;
  }
}

WCHAR CLocaleList::GetLanguageName(LANGID langId, BOOL withCountry, LPWSTR output,
                                   int capacity) const {
  if (output == nullptr || capacity < 1) return 0;
  output[0] = 0;
  if (entryCount() == 0) return 0;
  if (withCountry) {
    const CLocaleEntry* const begin = entries_.get();
    const CLocaleEntry* const end = begin + filledCount_;
    const CLocaleEntry* const found =
        std::find_if(begin, end, [&](const CLocaleEntry& entry) { return entry.langId == langId; });
    if (found != end) {
      WCHAR name[kLongNameCapacity];
      FormatText(name, TEXT("%s"), found->languageName);
      if (found->countryName != nullptr) {
        AppendText(name, kLongNameCapacity, TEXT(" (%s)"), found->countryName);
      }
      CopyStringW(output, capacity, name);
    }
  }
  WCHAR plain[kLongNameCapacity];
  GetEnglishLanguageName(langId, plain, kLongNameCapacity);
  if (View(plain).size() > View(output).size()) CopyStringW(output, capacity, plain);
  return output[0];
}

LCID CLocaleList::FindLocaleByName(LPCWSTR name) const {
  for (DWORD i = 0; i < filledCount_; ++i) {
    WCHAR shortName[kLongNameCapacity];
    if (GetLocaleShortName(locales_[i], shortName, kLongNameCapacity) &&
        EqualNoCase(shortName, View(name))) {
      return locales_[i];
    }
  }
  return 0;
}

}  // namespace kv
