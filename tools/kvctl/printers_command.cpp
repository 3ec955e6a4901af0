#include <memory>

#include "resources/string_ids.h"
#include "runtime/printing/default_printer.h"
#include "runtime/printing/product_printer_lists.h"
#include "tools/kvctl/command.h"
#include "tools/kvctl/json.h"

namespace kvctl {
namespace {

constexpr WCHAR kAllOption[] = TEXT("--all");
constexpr WCHAR kJsonOption[] = TEXT("--json");
constexpr WCHAR kProductOption[] = TEXT("--product");
constexpr WCHAR kSiblingOption[] = TEXT("--sibling");
constexpr Option kOptions[] = {
    {kAllOption, false}, {kJsonOption, false}, {kProductOption, false}, {kSiblingOption, false}};
constexpr size_t kNameColumn = 28, kDriverColumn = 28, kPortColumn = 12;

WideString DefaultPrinter() {
  WCHAR name[MAX_PATH];
  kv::GetDefaultPrinterName(name, kv::CutAtComma::kYes);
  return name;
}

void AddJson(const kv::PrinterEntry& printer, bool isDefault, JsonWriter& json) {
  json.BeginObject();
  json.Add(TEXT("name"), printer.name);
  json.Add(TEXT("driver"), printer.driver);
  json.Add(TEXT("driverFile"), printer.driverFile);
  json.Add(TEXT("port"), printer.port);
  json.Add(TEXT("server"), kv::View(printer.server));
  json.Add(TEXT("share"), kv::View(printer.share));
  json.AddFlag(TEXT("default"), isDefault);
  json.EndObject();
}

WideString ToLine(const kv::PrinterEntry& printer, bool isDefault) {
  WideString line = (isDefault ? TEXT("*") : TEXT(" ")) + Padded(printer.name, kNameColumn) +
                    Padded(printer.driver, kDriverColumn) + Padded(printer.port, kPortColumn) +
                    WideString(kv::View(printer.share));
  if (printer.server != nullptr) line += WideString(TEXT("  \\\\")) + printer.server;
  return line;
}

std::unique_ptr<kv::CPrinterList> MakeList(const Arguments& arguments) {
  if (arguments.Has(kProductOption)) return std::make_unique<kv::CProductPrinterList>();
  if (arguments.Has(kSiblingOption)) return std::make_unique<kv::CSiblingPrinterList>();
  return std::make_unique<kv::CPrinterList>();
}

// A list is empty, too, when the spooler does not answer.
bool Load(kv::CPrinterList& list) {
  constexpr DWORD kFlags = PRINTER_ENUM_LOCAL | PRINTER_ENUM_CONNECTIONS;
  DWORD size = 0, count = 0;
  return list.LoadPrinters() || EnumPrintersW(kFlags, nullptr, 4, nullptr, 0, &size, &count);
}

ExitStatus ListPrinters(const Arguments& arguments) {
  if (arguments.Has(kAllOption) + arguments.Has(kProductOption) + arguments.Has(kSiblingOption) >
      1) {
    PrintError(Text(IDS_CTL_PRINTERS_ONE_CHOICE));
    return kUsage;
  }
  const std::unique_ptr<kv::CPrinterList> list = MakeList(arguments);
  if (!Load(*list)) {
    PrintLastError(IDS_CTL_CANNOT_LIST_PRINTERS);
    return kFailed;
  }
  const WideString defaultPrinter = DefaultPrinter();
  JsonWriter json;
  json.BeginList();
  for (const kv::PrinterEntry* printer = list->First(); printer != nullptr;
       printer = list->Next()) {
    const bool isDefault = kv::EqualNoCase(printer->name, defaultPrinter);
    if (arguments.Has(kJsonOption)) {
      AddJson(*printer, isDefault, json);
    } else {
      PrintLine(ToLine(*printer, isDefault));
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
