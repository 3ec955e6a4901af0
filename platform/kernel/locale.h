// The locales that the system supports.
#pragma once

#include <windows.h>

#include <span>

namespace platform {

struct Locale {
  LANGID id;
  const char* name;              // "en-US"
  const char* language_abbrev;   // "ENU"
  const char* country_abbrev;    // "USA"
  const char* english_language;  // "English"
  const char* english_country;   // "United States"
  WORD ansi_code_page;           // 0 for a language that has Unicode only
  WORD paper;                    // 1 Letter, 9 A4
};

// In the order of their identifiers.
std::span<const Locale> Locales();
// The locale of an identifier, which may be LOCALE_SYSTEM_DEFAULT or LOCALE_USER_DEFAULT; a
// language alone means its first locale. Null when it is not known.
const Locale* FindLocale(LCID id);
// English (United States) when the machine's fact names none that is known.
const Locale& SystemLocale();

}  // namespace platform
