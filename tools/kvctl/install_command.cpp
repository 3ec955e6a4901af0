#include "resources/string_ids.h"
#include "runtime/core/startup_context.h"
#include "runtime/papers/paper_table.h"
#include "runtime/printing/connection_name.h"
#include "tools/kvctl/installation.h"

namespace kvctl {
namespace {

constexpr Option kDriverOption = {TEXT("--driver"), true};
constexpr Option kPaperOption = {TEXT("--paper"), true};
constexpr Option kPrinterOption = {TEXT("--printer"), true};
constexpr Option kNoPrinterOption = {TEXT("--no-printer"), false};

// What the spooler takes as the name of a printer.
constexpr size_t kLongestPrinterName = 220;
constexpr LPCWSTR kNotInPrinterNames = TEXT("\\,!");

// The number or the name of a standard paper; 0 after a message when there is no such paper.
WORD ParsePaper(const WideString& word) {
  const kv::CStandardPapers papers;
  const WORD number = static_cast<WORD>(kv::ParseDecimal(word.c_str()));
  const kv::PaperEntry* const paper = WideView(word) == Number(number)
                                          ? papers.FindPaperById(number)
                                          : papers.FindPaperByName(word.c_str());
  if (paper != nullptr) return paper->id;
  PrintError(Text(IDS_CTL_UNKNOWN_PAPER, word.c_str()));
  return 0;
}

// Whether a printer of this machine can have the name; says so when it cannot.
bool CheckPrinterName(const WideString& name) {
  if (kv::IsConnectionName(name.c_str())) {
    PrintError(Text(IDS_CTL_PRINTER_IS_CONNECTION, name.c_str()));
    return false;
  }
  if (!name.empty() && name.size() <= kLongestPrinterName &&
      name.find_first_of(kNotInPrinterNames) == WideString::npos) {
    return true;
  }
  PrintError(Text(IDS_CTL_BAD_PRINTER_NAME, name.c_str(), Number(kLongestPrinterName).c_str()));
  return false;
}

ExitStatus Install(const Arguments& arguments) {
  InstallOptions options;
  if (arguments.Has(kNoPrinterOption)) {
    for (const Option& other : {kDriverOption, kPaperOption, kPrinterOption}) {
      if (!arguments.Has(other)) continue;
      PrintError(Text(IDS_CTL_NOT_TOGETHER, other.name, kNoPrinterOption.name));
      return kUsage;
    }
    return Installation(std::move(options)).Run();
  }
  options.printer = arguments.Value(kPrinterOption, kv::startupContext.productName);
  if (!CheckPrinterName(*options.printer)) return kUsage;
  if (arguments.Has(kDriverOption)) options.driver = arguments.Value(kDriverOption);
  if (arguments.Has(kPaperOption)) {
    options.paper = ParsePaper(arguments.Value(kPaperOption));
    if (options.paper == 0) return kUsage;
  }
  return Installation(std::move(options)).Run();
}

constexpr Option kOptions[] = {kDriverOption, kPaperOption, kPrinterOption, kNoPrinterOption};
constexpr Action kActions[] = {{nullptr, kOptions, 0, 0, Install}};

}  // namespace

const Command kInstallCommand = {TEXT("install"), IDS_CTL_INSTALL_SUMMARY, IDS_CTL_INSTALL_USAGE,
                                 kActions};

}  // namespace kvctl
