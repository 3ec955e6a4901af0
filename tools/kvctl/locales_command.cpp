#include "resources/string_ids.h"
#include "runtime/text/format.h"
#include "runtime/text/locale_list.h"
#include "tools/kvctl/command.h"
#include "tools/kvctl/table.h"

namespace kvctl {
namespace {

constexpr int kNameCapacity = 128;
constexpr Column kColumns[] = {{TEXT("language"), IDS_CTL_HEADING_LANGUAGE, 10},
                               {TEXT("shortName"), IDS_CTL_HEADING_NAME, 16},
                               {TEXT("codePage"), IDS_CTL_HEADING_CODE_PAGE, 11},
                               {TEXT("name"), IDS_CTL_HEADING_DESCRIPTION, 20}};

void AddLocale(const kv::CLocaleList& locales, LANGID language, Table& table) {
  WCHAR number[8], shortName[kNameCapacity], name[kNameCapacity];
  kv::FormatText(number, TEXT("%04x"), language);
  kv::GetLocaleShortName(language, shortName, kNameCapacity);
  locales.GetLanguageName(language, TRUE, name, kNameCapacity);
  const UINT codePage = kv::GetLocaleAnsiCodePage(language);
  table.Add({WideString(number), WideString(shortName),
             codePage == 0 ? Cell() : Cell(LONGLONG{codePage}), WideString(name)});
}

ExitStatus ShowLocales(const Arguments& arguments) {
  const kv::CLocaleList locales;
  if (locales.entryCount() == 0) {
    PrintError(Text(IDS_CTL_LOCALES_NONE));
    return kFailed;
  }
  LANGID only = 0;
  if (!arguments.operands().empty()) {
    const WideString& name = arguments.operands()[0];
    only = LOWORD(locales.FindLocaleByName(name.c_str()));
    if (only == 0) {
      PrintError(Text(IDS_CTL_LOCALES_UNKNOWN, name.c_str()));
      return kFailed;
    }
  }
  Table table(kColumns, arguments);
  if (only != 0) AddLocale(locales, only, table);
  for (const kv::CLocaleEntry* entry = locales.entries();
       only == 0 && entry->languageName != nullptr; ++entry) {
    AddLocale(locales, entry->langId, table);
  }
  table.Finish();
  return kDone;
}

constexpr Option kOptions[] = {kJsonOption};
constexpr Action kActions[] = {{nullptr, kOptions, 0, 1, ShowLocales}};

}  // namespace

const Command kLocalesCommand = {TEXT("locales"), IDS_CTL_LOCALES_SUMMARY, IDS_CTL_LOCALES_USAGE,
                                 kActions};

}  // namespace kvctl
