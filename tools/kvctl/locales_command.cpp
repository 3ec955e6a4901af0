#include "resources/string_ids.h"
#include "runtime/text/format.h"
#include "runtime/text/locale_list.h"
#include "tools/kvctl/command.h"

namespace kvctl {
namespace {

constexpr int kNameCapacity = 128;
constexpr size_t kNumberColumn = 8;
constexpr size_t kNameColumn = 16;
constexpr size_t kCodePageColumn = 8;

void ShowLocale(const kv::CLocaleList& locales, LANGID language) {
  WCHAR number[8], shortName[kNameCapacity], name[kNameCapacity];
  kv::FormatText(number, TEXT("%04x"), language);
  kv::GetLocaleShortName(language, shortName, kNameCapacity);
  locales.GetLanguageName(language, TRUE, name, kNameCapacity);
  const UINT codePage = kv::GetLocaleAnsiCodePage(language);
  PrintLine(Padded(number, kNumberColumn) + Padded(shortName, kNameColumn) +
            Padded(codePage == 0 ? WideString(TEXT("-")) : Number(codePage), kCodePageColumn) +
            name);
}

ExitStatus ShowLocales(const Arguments& arguments) {
  const kv::CLocaleList locales;
  if (locales.entryCount() == 0) {
    PrintError(Text(IDS_CTL_LOCALES_NONE));
    return kFailed;
  }
  if (arguments.operands().empty()) {
    for (const kv::CLocaleEntry* entry = locales.entries(); entry->languageName != nullptr;
         ++entry) {
      ShowLocale(locales, entry->langId);
    }
    return kDone;
  }
  const WideString& name = arguments.operands()[0];
  const LCID found = locales.FindLocaleByName(name.c_str());
  if (found == 0) {
    PrintError(Text(IDS_CTL_LOCALES_UNKNOWN, name.c_str()));
    return kFailed;
  }
  ShowLocale(locales, LOWORD(found));
  return kDone;
}

}  // namespace

const Command kLocalesCommand = {
    TEXT("locales"), IDS_CTL_LOCALES_SUMMARY, IDS_CTL_LOCALES_USAGE, {}, 0, 1, ShowLocales};

}  // namespace kvctl
