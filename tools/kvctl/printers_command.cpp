#include "resources/string_ids.h"
#include "runtime/core/startup_context.h"
#include "runtime/printing/default_printer.h"
#include "runtime/printing/product_printer_lists.h"
#include "tools/kvctl/command.h"
#include "tools/kvctl/table.h"

namespace kvctl {
namespace {

constexpr Option kAllOption = {TEXT("--all"), false};
constexpr Option kProductOption = {TEXT("--product"), false};
constexpr Option kSiblingOption = {TEXT("--sibling"), false};
constexpr Column kColumns[] = {
    {TEXT("default"), IDS_CTL_HEADING_NOTHING, 2}, {TEXT("name"), IDS_CTL_HEADING_PRINTER, 28},
    {TEXT("driver"), IDS_CTL_HEADING_DRIVER, 28},  {TEXT("driverFile"), 0, 0},
    {TEXT("port"), IDS_CTL_HEADING_PORT, 12},      {TEXT("share"), IDS_CTL_HEADING_SHARE, 16},
    {TEXT("server"), IDS_CTL_HEADING_SERVER, 20}};

WideString DefaultPrinter() {
  WCHAR name[MAX_PATH];
  kv::GetDefaultPrinterName(name, kv::CutAtComma::kYes);
  return name;
}

void AddPrinter(const kv::PrinterEntry& printer, const WideString& defaultPrinter, Table& table) {
  table.Add({kv::EqualNoCase(printer.name, defaultPrinter), WideString(printer.name),
             WideString(printer.driver), WideString(printer.driverFile), WideString(printer.port),
             WideString(kv::View(printer.share)), WideString(kv::View(printer.server))});
}

// The printers of the product are those with its drivers and those on its port.
bool IsOnPort(const kv::PrinterEntry& printer) {
  return kv::EqualNoCase(printer.port, kv::startupContext.portName);
}

// Having no printers is no failure.
bool Load(kv::CPrinterList& list) {
  return list.LoadPrinters() || GetLastError() == ERROR_NO_MORE_ITEMS;
}

ExitStatus ListPrinters(const Arguments& arguments) {
  if (arguments.Has(kAllOption) + arguments.Has(kProductOption) + arguments.Has(kSiblingOption) >
      1) {
    PrintError(Text(IDS_CTL_PRINTERS_ONE_CHOICE));
    return kUsage;
  }
  kv::CPrinterList all;
  kv::CProductPrinterList product;
  kv::CSiblingPrinterList sibling;
  kv::CPrinterList& list = arguments.Has(kSiblingOption) ? sibling : all;
  const bool asksForProduct = arguments.Has(kProductOption);
  if (!Load(list) || (asksForProduct && !Load(product))) {
    PrintLastError(IDS_CTL_CANNOT_LIST_PRINTERS);
    return kFailed;
  }
  const WideString defaultPrinter = DefaultPrinter();
  Table table(kColumns, arguments);
  for (const kv::PrinterEntry* printer = list.First(); printer != nullptr; printer = list.Next()) {
    if (!asksForProduct || IsOnPort(*printer) || product.IndexOf(printer->name) >= 0) {
      AddPrinter(*printer, defaultPrinter, table);
    }
  }
  table.Finish();
  return kDone;
}

constexpr Option kOptions[] = {kAllOption, kJsonOption, kProductOption, kSiblingOption};
constexpr Action kActions[] = {{nullptr, kOptions, 0, 0, ListPrinters}};

}  // namespace

const Command kPrintersCommand = {TEXT("printers"), IDS_CTL_PRINTERS_SUMMARY,
                                  IDS_CTL_PRINTERS_USAGE, kActions};

}  // namespace kvctl
