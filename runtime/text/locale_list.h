// The locales that the system supports, with their English names.
#pragma once

#include <memory>

#include "runtime/core/win.h"

namespace kv {

// Facts of one locale; `output` of `capacity` characters is emptied first. Each returns the first
// character, 0 with an empty output when the system does not know the fact, or it does not fit, and
// when the output is null.
WCHAR GetEnglishLanguageName(LCID locale, LPWSTR output, int capacity);
WCHAR GetEnglishCountryName(LCID locale, LPWSTR output, int capacity);
// Three letters, "ENU".
WCHAR GetAbbrevLanguageName(LCID locale, LPWSTR output, int capacity);
// The locale's name in lower case, "en-us"; before Windows Vista the abbreviations of language and
// country, "enu-usa".
WCHAR GetLocaleShortName(LCID locale, LPWSTR output, int capacity);
// The number of the locale's ANSI code page, at most 65535; 0 when it has none or it cannot be
// read.
UINT GetLocaleAnsiCodePage(LCID locale);

struct CLocaleEntry {
  WORD langId;
  LPCWSTR languageName;
  LPCWSTR countryName;  // null where the language is listed for one country only
};

// A snapshot, read by the constructor with EnumSystemLocalesW; empty when any step of that fails.
class CLocaleList {
 public:
  CLocaleList();
  CLocaleList(const CLocaleList&) = delete;
  CLocaleList& operator=(const CLocaleList&) = delete;

  // One locale of the enumeration by its hexadecimal number; TRUE lets the enumeration go on. For
  // the system only.
  virtual BOOL CALLBACK OnLocale(LPWSTR localeText);

  // By language name, then country; an entry without a name ends them. Null when the list could not
  // be read.
  const CLocaleEntry* entries() const { return entries_.get(); }
  DWORD entryCount() const { return entries_ == nullptr ? 0 : filledCount_; }

  // The English name of a language, with `withCountry` followed by " (country)" where the language
  // is listed for several. Cut to `capacity` characters; returns the first one, 0 when the list is
  // empty or the system does not know the language.
  WCHAR GetLanguageName(LANGID langId, BOOL withCountry, LPWSTR output, int capacity) const;
  // The first locale, by number, of that short name without regard to case; 0 when there is none.
  LCID FindLocaleByName(LPCWSTR name) const;

 private:
  BOOL Allocate();
  void Clear();
  LPCWSTR AddToPool(LPCWSTR name);
  void SortEntries();
  void DropNeedlessCountries();

  DWORD entryCount_ = 0;   // counted in the first pass
  DWORD poolLength_ = 0;   // characters, counted in the first pass
  DWORD filledCount_ = 0;  // written in the second pass
  LPWSTR poolNext_ = nullptr;
  std::unique_ptr<WCHAR[]> pool_;
  std::unique_ptr<CLocaleEntry[]> entries_;
  std::unique_ptr<DWORD[]> locales_;  // one for each entry, by number
};

}  // namespace kv
