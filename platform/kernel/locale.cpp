#include "platform/kernel/locale.h"

#include <algorithm>
#include <cstdio>
#include <string>

#include "platform/control/facts.h"
#include "platform/kernel/api_call.h"
#include "platform/kernel/machine.h"
#include "platform/kernel/text.h"

namespace platform {
namespace {

// clang-format off
constexpr Locale kLocales[] = {
    {0x0401, "ar-SA", "ARA", "SAU", "Arabic", "Saudi Arabia", 1256, 9},
    {0x0402, "bg-BG", "BGR", "BGR", "Bulgarian", "Bulgaria", 1251, 9},
    {0x0403, "ca-ES", "CAT", "ESP", "Catalan", "Spain", 1252, 9},
    {0x0404, "zh-TW", "CHT", "TWN", "Chinese (Traditional)", "Taiwan", 950, 9},
    {0x0405, "cs-CZ", "CSY", "CZE", "Czech", "Czechia", 1250, 9},
    {0x0406, "da-DK", "DAN", "DNK", "Danish", "Denmark", 1252, 9},
    {0x0407, "de-DE", "DEU", "DEU", "German", "Germany", 1252, 9},
    {0x0408, "el-GR", "ELL", "GRC", "Greek", "Greece", 1253, 9},
    {0x0409, "en-US", "ENU", "USA", "English", "United States", 1252, 1},
    {0x040B, "fi-FI", "FIN", "FIN", "Finnish", "Finland", 1252, 9},
    {0x040C, "fr-FR", "FRA", "FRA", "French", "France", 1252, 9},
    {0x040D, "he-IL", "HEB", "ISR", "Hebrew", "Israel", 1255, 9},
    {0x040E, "hu-HU", "HUN", "HUN", "Hungarian", "Hungary", 1250, 9},
    {0x040F, "is-IS", "ISL", "ISL", "Icelandic", "Iceland", 1252, 9},
    {0x0410, "it-IT", "ITA", "ITA", "Italian", "Italy", 1252, 9},
    {0x0411, "ja-JP", "JPN", "JPN", "Japanese", "Japan", 932, 9},
    {0x0412, "ko-KR", "KOR", "KOR", "Korean", "Korea", 949, 9},
    {0x0413, "nl-NL", "NLD", "NLD", "Dutch", "Netherlands", 1252, 9},
    {0x0414, "nb-NO", "NOR", "NOR", "Norwegian Bokmål", "Norway", 1252, 9},
    {0x0415, "pl-PL", "PLK", "POL", "Polish", "Poland", 1250, 9},
    {0x0416, "pt-BR", "PTB", "BRA", "Portuguese", "Brazil", 1252, 9},
    {0x0417, "rm-CH", "RMC", "CHE", "Romansh", "Switzerland", 1252, 9},
    {0x0418, "ro-RO", "ROM", "ROU", "Romanian", "Romania", 1250, 9},
    {0x0419, "ru-RU", "RUS", "RUS", "Russian", "Russia", 1251, 9},
    {0x041A, "hr-HR", "HRV", "HRV", "Croatian", "Croatia", 1250, 9},
    {0x041B, "sk-SK", "SKY", "SVK", "Slovak", "Slovakia", 1250, 9},
    {0x041C, "sq-AL", "SQI", "ALB", "Albanian", "Albania", 1250, 9},
    {0x041D, "sv-SE", "SVE", "SWE", "Swedish", "Sweden", 1252, 9},
    {0x041E, "th-TH", "THA", "THA", "Thai", "Thailand", 874, 9},
    {0x041F, "tr-TR", "TRK", "TUR", "Turkish", "Turkey", 1254, 9},
    {0x0420, "ur-PK", "URD", "PAK", "Urdu", "Pakistan", 1256, 9},
    {0x0421, "id-ID", "IND", "IDN", "Indonesian", "Indonesia", 1252, 9},
    {0x0422, "uk-UA", "UKR", "UKR", "Ukrainian", "Ukraine", 1251, 9},
    {0x0423, "be-BY", "BEL", "BLR", "Belarusian", "Belarus", 1251, 9},
    {0x0424, "sl-SI", "SLV", "SVN", "Slovenian", "Slovenia", 1250, 9},
    {0x0425, "et-EE", "ETI", "EST", "Estonian", "Estonia", 1257, 9},
    {0x0426, "lv-LV", "LVI", "LVA", "Latvian", "Latvia", 1257, 9},
    {0x0427, "lt-LT", "LTH", "LTU", "Lithuanian", "Lithuania", 1257, 9},
    {0x0428, "tg-Cyrl-TJ", "TAJ", "TJK", "Tajik", "Tajikistan", 1251, 9},
    {0x0429, "fa-IR", "FAR", "IRN", "Persian", "Iran", 1256, 9},
    {0x042A, "vi-VN", "VIT", "VNM", "Vietnamese", "Vietnam", 1258, 9},
    {0x042B, "hy-AM", "HYE", "ARM", "Armenian", "Armenia", 0, 9},
    {0x042C, "az-Latn-AZ", "AZE", "AZE", "Azerbaijani", "Azerbaijan", 1254, 9},
    {0x042D, "eu-ES", "EUQ", "ESP", "Basque", "Spain", 1252, 9},
    {0x042E, "hsb-DE", "HSB", "DEU", "Upper Sorbian", "Germany", 1252, 9},
    {0x042F, "mk-MK", "MKI", "MKD", "Macedonian", "North Macedonia", 1251, 9},
    {0x0432, "tn-ZA", "TSN", "ZAF", "Setswana", "South Africa", 1252, 9},
    {0x0434, "xh-ZA", "XHO", "ZAF", "isiXhosa", "South Africa", 1252, 9},
    {0x0435, "zu-ZA", "ZUL", "ZAF", "isiZulu", "South Africa", 1252, 9},
    {0x0436, "af-ZA", "AFK", "ZAF", "Afrikaans", "South Africa", 1252, 9},
    {0x0437, "ka-GE", "KAT", "GEO", "Georgian", "Georgia", 0, 9},
    {0x0438, "fo-FO", "FOS", "FRO", "Faroese", "Faroe Islands", 1252, 9},
    {0x0439, "hi-IN", "HIN", "IND", "Hindi", "India", 0, 9},
    {0x043A, "mt-MT", "MLT", "MLT", "Maltese", "Malta", 0, 9},
    {0x043B, "se-NO", "SME", "NOR", "Northern Sami", "Norway", 1252, 9},
    {0x043E, "ms-MY", "MSL", "MYS", "Malay", "Malaysia", 1252, 9},
    {0x043F, "kk-KZ", "KKZ", "KAZ", "Kazakh", "Kazakhstan", 0, 9},
    {0x0440, "ky-KG", "KYR", "KGZ", "Kyrgyz", "Kyrgyzstan", 1251, 9},
    {0x0441, "sw-KE", "SWK", "KEN", "Kiswahili", "Kenya", 1252, 9},
    {0x0442, "tk-TM", "TUK", "TKM", "Turkmen", "Turkmenistan", 1250, 9},
    {0x0443, "uz-Latn-UZ", "UZB", "UZB", "Uzbek", "Uzbekistan", 1254, 9},
    {0x0444, "tt-RU", "TTT", "RUS", "Tatar", "Russia", 1251, 9},
    {0x0445, "bn-IN", "BNG", "IND", "Bangla", "India", 0, 9},
    {0x0446, "pa-IN", "PAN", "IND", "Punjabi", "India", 0, 9},
    {0x0447, "gu-IN", "GUJ", "IND", "Gujarati", "India", 0, 9},
    {0x0448, "or-IN", "ORI", "IND", "Odia", "India", 0, 9},
    {0x0449, "ta-IN", "TAI", "IND", "Tamil", "India", 0, 9},
    {0x044A, "te-IN", "TEL", "IND", "Telugu", "India", 0, 9},
    {0x044B, "kn-IN", "KDI", "IND", "Kannada", "India", 0, 9},
    {0x044C, "ml-IN", "MYM", "IND", "Malayalam", "India", 0, 9},
    {0x044D, "as-IN", "ASM", "IND", "Assamese", "India", 0, 9},
    {0x044E, "mr-IN", "MAR", "IND", "Marathi", "India", 0, 9},
    {0x044F, "sa-IN", "SAN", "IND", "Sanskrit", "India", 0, 9},
    {0x0450, "mn-MN", "MNN", "MNG", "Mongolian", "Mongolia", 1251, 9},
    {0x0452, "cy-GB", "CYM", "GBR", "Welsh", "United Kingdom", 1252, 9},
    {0x0453, "km-KH", "KHM", "KHM", "Khmer", "Cambodia", 0, 9},
    {0x0454, "lo-LA", "LAO", "LAO", "Lao", "Laos", 0, 9},
    {0x0456, "gl-ES", "GLC", "ESP", "Galician", "Spain", 1252, 9},
    {0x0457, "kok-IN", "KNK", "IND", "Konkani", "India", 0, 9},
    {0x045A, "syr-SY", "SYR", "SYR", "Syriac", "Syria", 0, 9},
    {0x045B, "si-LK", "SIN", "LKA", "Sinhala", "Sri Lanka", 0, 9},
    {0x045E, "am-ET", "AMH", "ETH", "Amharic", "Ethiopia", 0, 9},
    {0x0461, "ne-NP", "NEP", "NPL", "Nepali", "Nepal", 0, 9},
    {0x0462, "fy-NL", "FYN", "NLD", "Western Frisian", "Netherlands", 1252, 9},
    {0x0463, "ps-AF", "PAS", "AFG", "Pashto", "Afghanistan", 0, 9},
    {0x0464, "fil-PH", "FPO", "PHL", "Filipino", "Philippines", 1252, 1},
    {0x0465, "dv-MV", "DIV", "MDV", "Divehi", "Maldives", 0, 9},
    {0x0468, "ha-Latn-NG", "HAU", "NGA", "Hausa", "Nigeria", 1252, 9},
    {0x046A, "yo-NG", "YOR", "NGA", "Yoruba", "Nigeria", 1252, 9},
    {0x046E, "lb-LU", "LBX", "LUX", "Luxembourgish", "Luxembourg", 1252, 9},
    {0x046F, "kl-GL", "KAL", "GRL", "Greenlandic", "Greenland", 1252, 9},
    {0x0470, "ig-NG", "IBO", "NGA", "Igbo", "Nigeria", 1252, 9},
    {0x0481, "mi-NZ", "MRI", "NZL", "Maori", "New Zealand", 0, 9},
    {0x0482, "oc-FR", "OCI", "FRA", "Occitan", "France", 1252, 9},
    {0x0483, "co-FR", "COS", "FRA", "Corsican", "France", 1252, 9},
    {0x0488, "wo-SN", "WOL", "SEN", "Wolof", "Senegal", 1252, 9},
    {0x0801, "ar-IQ", "ARI", "IRQ", "Arabic", "Iraq", 1256, 9},
    {0x0804, "zh-CN", "CHS", "CHN", "Chinese (Simplified)", "China", 936, 9},
    {0x0807, "de-CH", "DES", "CHE", "German", "Switzerland", 1252, 9},
    {0x0809, "en-GB", "ENG", "GBR", "English", "United Kingdom", 1252, 9},
    {0x080A, "es-MX", "ESM", "MEX", "Spanish", "Mexico", 1252, 1},
    {0x080C, "fr-BE", "FRB", "BEL", "French", "Belgium", 1252, 9},
    {0x0810, "it-CH", "ITS", "CHE", "Italian", "Switzerland", 1252, 9},
    {0x0813, "nl-BE", "NLB", "BEL", "Dutch", "Belgium", 1252, 9},
    {0x0814, "nn-NO", "NON", "NOR", "Norwegian Nynorsk", "Norway", 1252, 9},
    {0x0816, "pt-PT", "PTG", "PRT", "Portuguese", "Portugal", 1252, 9},
    {0x081A, "sr-Latn-CS", "SRL", "SCG", "Serbian", "Serbia and Montenegro (Former)", 1250, 9},
    {0x081D, "sv-FI", "SVF", "FIN", "Swedish", "Finland", 1252, 9},
    {0x082E, "dsb-DE", "DSB", "DEU", "Lower Sorbian", "Germany", 1252, 9},
    {0x083C, "ga-IE", "IRE", "IRL", "Irish", "Ireland", 1252, 9},
    {0x083E, "ms-BN", "MSB", "BRN", "Malay", "Brunei", 1252, 9},
    {0x0845, "bn-BD", "BNB", "BGD", "Bangla", "Bangladesh", 0, 9},
    {0x0C01, "ar-EG", "ARE", "EGY", "Arabic", "Egypt", 1256, 9},
    {0x0C04, "zh-HK", "ZHH", "HKG", "Chinese (Traditional)", "Hong Kong SAR", 950, 9},
    {0x0C07, "de-AT", "DEA", "AUT", "German", "Austria", 1252, 9},
    {0x0C09, "en-AU", "ENA", "AUS", "English", "Australia", 1252, 9},
    {0x0C0A, "es-ES", "ESN", "ESP", "Spanish", "Spain", 1252, 9},
    {0x0C0C, "fr-CA", "FRC", "CAN", "French", "Canada", 1252, 1},
    {0x1001, "ar-LY", "ARL", "LBY", "Arabic", "Libya", 1256, 9},
    {0x1004, "zh-SG", "ZHI", "SGP", "Chinese (Simplified)", "Singapore", 936, 9},
    {0x1007, "de-LU", "DEL", "LUX", "German", "Luxembourg", 1252, 9},
    {0x1009, "en-CA", "ENC", "CAN", "English", "Canada", 1252, 1},
    {0x100A, "es-GT", "ESG", "GTM", "Spanish", "Guatemala", 1252, 1},
    {0x100C, "fr-CH", "FRS", "CHE", "French", "Switzerland", 1252, 9},
    {0x101A, "hr-BA", "HRB", "BIH", "Croatian", "Bosnia and Herzegovina", 1250, 9},
    {0x1401, "ar-DZ", "ARG", "DZA", "Arabic", "Algeria", 1256, 9},
    {0x1404, "zh-MO", "ZHM", "MAC", "Chinese (Traditional)", "Macao SAR", 950, 9},
    {0x1407, "de-LI", "DEC", "LIE", "German", "Liechtenstein", 1252, 9},
    {0x1409, "en-NZ", "ENZ", "NZL", "English", "New Zealand", 1252, 9},
    {0x140A, "es-CR", "ESC", "CRI", "Spanish", "Costa Rica", 1252, 1},
    {0x140C, "fr-LU", "FRL", "LUX", "French", "Luxembourg", 1252, 9},
    {0x141A, "bs-Latn-BA", "BSB", "BIH", "Bosnian", "Bosnia and Herzegovina", 1250, 9},
    {0x1801, "ar-MA", "ARM", "MAR", "Arabic", "Morocco", 1256, 9},
    {0x1809, "en-IE", "ENI", "IRL", "English", "Ireland", 1252, 9},
    {0x180A, "es-PA", "ESA", "PAN", "Spanish", "Panama", 1252, 1},
    {0x180C, "fr-MC", "FRM", "MCO", "French", "Monaco", 1252, 9},
    {0x1C01, "ar-TN", "ART", "TUN", "Arabic", "Tunisia", 1256, 9},
    {0x1C09, "en-ZA", "ENS", "ZAF", "English", "South Africa", 1252, 9},
    {0x1C0A, "es-DO", "ESD", "DOM", "Spanish", "Dominican Republic", 1252, 1},
    {0x2001, "ar-OM", "ARO", "OMN", "Arabic", "Oman", 1256, 9},
    {0x2009, "en-JM", "ENJ", "JAM", "English", "Jamaica", 1252, 9},
    {0x200A, "es-VE", "ESV", "VEN", "Spanish", "Venezuela", 1252, 1},
    {0x2401, "ar-YE", "ARY", "YEM", "Arabic", "Yemen", 1256, 9},
    {0x240A, "es-CO", "ESO", "COL", "Spanish", "Colombia", 1252, 1},
    {0x241A, "sr-Latn-RS", "SRM", "SRB", "Serbian", "Serbia", 1250, 9},
    {0x2801, "ar-SY", "ARS", "SYR", "Arabic", "Syria", 1256, 9},
    {0x2809, "en-BZ", "ENL", "BLZ", "English", "Belize", 1252, 1},
    {0x280A, "es-PE", "ESR", "PER", "Spanish", "Peru", 1252, 9},
    {0x281A, "sr-Cyrl-RS", "SRO", "SRB", "Serbian", "Serbia", 1251, 9},
    {0x2C01, "ar-JO", "ARJ", "JOR", "Arabic", "Jordan", 1256, 9},
    {0x2C09, "en-TT", "ENT", "TTO", "English", "Trinidad and Tobago", 1252, 9},
    {0x2C0A, "es-AR", "ESS", "ARG", "Spanish", "Argentina", 1252, 9},
    {0x3001, "ar-LB", "ARB", "LBN", "Arabic", "Lebanon", 1256, 9},
    {0x3009, "en-ZW", "ENW", "ZWE", "English", "Zimbabwe", 1252, 9},
    {0x300A, "es-EC", "ESF", "ECU", "Spanish", "Ecuador", 1252, 9},
    {0x3401, "ar-KW", "ARK", "KWT", "Arabic", "Kuwait", 1256, 9},
    {0x3409, "en-PH", "ENP", "PHL", "English", "Philippines", 1252, 1},
    {0x340A, "es-CL", "ESL", "CHL", "Spanish", "Chile", 1252, 1},
    {0x3801, "ar-AE", "ARU", "ARE", "Arabic", "United Arab Emirates", 1256, 9},
    {0x380A, "es-UY", "ESY", "URY", "Spanish", "Uruguay", 1252, 9},
    {0x3C01, "ar-BH", "ARH", "BHR", "Arabic", "Bahrain", 1256, 9},
    {0x3C0A, "es-PY", "ESZ", "PRY", "Spanish", "Paraguay", 1252, 9},
    {0x4001, "ar-QA", "ARQ", "QAT", "Arabic", "Qatar", 1256, 9},
    {0x4009, "en-IN", "ENN", "IND", "English", "India", 1252, 9},
    {0x400A, "es-BO", "ESB", "BOL", "Spanish", "Bolivia", 1252, 9},
    {0x4409, "en-MY", "ENM", "MYS", "English", "Malaysia", 1252, 9},
    {0x440A, "es-SV", "ESE", "SLV", "Spanish", "El Salvador", 1252, 1},
    {0x4809, "en-SG", "ENE", "SGP", "English", "Singapore", 1252, 9},
    {0x480A, "es-HN", "ESH", "HND", "Spanish", "Honduras", 1252, 1},
    {0x4C0A, "es-NI", "ESI", "NIC", "Spanish", "Nicaragua", 1252, 1},
    {0x500A, "es-PR", "ESU", "PRI", "Spanish", "Puerto Rico", 1252, 1},
    {0x540A, "es-US", "EST", "USA", "Spanish", "United States", 1252, 1},
};
// clang-format on

constexpr LANGID kEnglishUnitedStates = 0x0409;

LCID Resolve(LCID id) {
  if (id == LOCALE_SYSTEM_DEFAULT) return FactNumber(facts::kSystemLocale, kEnglishUnitedStates);
  if (id == LOCALE_USER_DEFAULT) return FactNumber(facts::kUserLocale, kEnglishUnitedStates);
  return SUBLANGID(id) == SUBLANG_NEUTRAL ? MAKELANGID(id, SUBLANG_DEFAULT) : id;
}

std::string Hexadecimal(unsigned value, int digits) {
  char text[16];
  std::snprintf(text, sizeof(text), "%0*X", digits, value);
  return text;
}

// Names of locales came with Windows Vista.
bool NamesAreKnown() {
  return FactNumber(facts::kMajor, 10) >= 6;
}

bool ReadFact(const Locale& locale, LCTYPE type, std::string& value) {
  switch (type) {
    case LOCALE_ILANGUAGE:
    case LOCALE_IDEFAULTLANGUAGE:
      value = Hexadecimal(locale.id, 4);
      return true;
    case LOCALE_SABBREVLANGNAME:
      value = locale.language_abbrev;
      return true;
    case LOCALE_SABBREVCTRYNAME:
      value = locale.country_abbrev;
      return true;
    case LOCALE_SNAME:
      value = locale.name;
      return NamesAreKnown();
    case LOCALE_SENGLANGUAGE:
      value = locale.english_language;
      return true;
    case LOCALE_SENGCOUNTRY:
      value = locale.english_country;
      return true;
    case LOCALE_IDEFAULTANSICODEPAGE:
      value = std::to_string(locale.ansi_code_page);
      return true;
    case LOCALE_IPAPERSIZE:
      value = std::to_string(locale.paper);
      return true;
    default:
      return false;
  }
}

}  // namespace

std::span<const Locale> Locales() {
  return kLocales;
}

const Locale* FindLocale(LCID id) {
  const LCID wanted = Resolve(id);
  const auto found = std::lower_bound(std::begin(kLocales), std::end(kLocales), wanted,
                                      [](const Locale& l, LCID w) { return l.id < w; });
  return found != std::end(kLocales) && found->id == wanted ? found : nullptr;
}

const Locale& SystemLocale() {
  const Locale* system = FindLocale(LOCALE_SYSTEM_DEFAULT);
  return *(system != nullptr ? system : FindLocale(kEnglishUnitedStates));
}

}  // namespace platform

using namespace platform;

int WINAPI GetLocaleInfoW(LCID id, LCTYPE type, LPWSTR buffer, int capacity) {
  KV_API(GetLocaleInfoW, ERROR_INVALID_PARAMETER, 0, id, type, buffer, capacity);
  const Locale* locale = FindLocale(id);
  if (locale == nullptr || capacity < 0 || (capacity > 0 && buffer == nullptr)) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return 0;
  }
  std::string value;
  if (!ReadFact(*locale, type, value)) {
    SetLastError(ERROR_INVALID_FLAGS);
    return 0;
  }
  const WideString text = ToWide(value);
  const int needed = static_cast<int>(text.size()) + 1;
  if (capacity != 0 && capacity < needed) {
    SetLastError(ERROR_INSUFFICIENT_BUFFER);
    return 0;
  }
  if (capacity != 0) std::copy_n(text.c_str(), needed, buffer);
  return needed;
}

BOOL WINAPI EnumSystemLocalesW(LOCALE_ENUMPROCW callback, DWORD flags) {
  KV_API(EnumSystemLocalesW, ERROR_INVALID_PARAMETER, FALSE, callback, flags);
  if (callback == nullptr) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return FALSE;
  }
  if (flags != LCID_SUPPORTED) {
    SetLastError(ERROR_CALL_NOT_IMPLEMENTED);
    return FALSE;
  }
  for (const Locale& locale : kLocales) {
    WideString text = ToWide(Hexadecimal(locale.id, 8));
    ProductCallback call;
    if (!callback(text.data())) break;
  }
  return TRUE;
}
