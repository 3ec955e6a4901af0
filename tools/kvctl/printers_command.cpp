#include "resources/string_ids.h"
#include "runtime/printing/default_printer.h"
#include "runtime/printing/spooler_list.h"
#include "tools/kvctl/command.h"
#include "tools/kvctl/json.h"

namespace kvctl {
namespace {

constexpr WCHAR kJsonOption[] = TEXT("--json");
constexpr Option kOptions[] = {{kJsonOption, false}};
constexpr size_t kNameColumn = 28, kDriverColumn = 28, kPortColumn = 12;

bool IsDefault(const PRINTER_INFO_2W& printer) {
  WCHAR name[MAX_PATH];
  kv::GetDefaultPrinterName(name, kv::CutAtComma::kYes);
  return kv::EqualNoCase(name, kv::View(printer.pPrinterName));
}

void AddJson(const PRINTER_INFO_2W& printer, JsonWriter& json) {
  json.BeginObject();
  json.Add(TEXT("name"), kv::View(printer.pPrinterName));
  json.Add(TEXT("driver"), kv::View(printer.pDriverName));
  json.Add(TEXT("port"), kv::View(printer.pPortName));
  json.Add(TEXT("share"), kv::View(printer.pShareName));
  json.AddFlag(TEXT("default"), IsDefault(printer));
  json.EndObject();
}

WideString ToLine(const PRINTER_INFO_2W& printer) {
  return (IsDefault(printer) ? TEXT("*") : TEXT(" ")) +
         Padded(kv::View(printer.pPrinterName), kNameColumn) +
         Padded(kv::View(printer.pDriverName), kDriverColumn) +
         Padded(kv::View(printer.pPortName), kPortColumn) +
         WideString(kv::View(printer.pShareName));
}

ExitStatus ListPrinters(const Arguments& arguments) {
  constexpr DWORD kFlags = PRINTER_ENUM_LOCAL | PRINTER_ENUM_CONNECTIONS;
  kv::SpoolerList<PRINTER_INFO_2W> printers;
  if (!printers.Fetch([](BYTE* buffer, DWORD size, DWORD* needed, DWORD* count) {
        return EnumPrintersW(kFlags, nullptr, 2, buffer, size, needed, count);
      })) {
    PrintSystemError(Text(IDS_CTL_CANNOT_LIST_PRINTERS), GetLastError());
    return kFailed;
  }
  JsonWriter json;
  json.BeginList();
  for (const PRINTER_INFO_2W& printer : printers) {
    if (arguments.Has(kJsonOption)) {
      AddJson(printer, json);
    } else {
      PrintLine(ToLine(printer));
    }
  }
  json.EndList();
  if (arguments.Has(kJsonOption)) PrintLine(json.text());
  return kDone;
}

}  // namespace

const Command kPrintersCommand = {
    TEXT("printers"), IDS_CTL_PRINTERS_SUMMARY, IDS_CTL_PRINTERS_USAGE, kOptions, 0, 0,
    ListPrinters};

}  // namespace kvctl
