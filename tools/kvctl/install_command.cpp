#include "resources/string_ids.h"
#include "runtime/core/startup_context.h"
#include "runtime/papers/paper_table.h"
#include "tools/kvctl/installation.h"

namespace kvctl {
namespace {

constexpr WCHAR kDriverOption[] = TEXT("--driver");
constexpr WCHAR kPaperOption[] = TEXT("--paper");
constexpr WCHAR kPrinterOption[] = TEXT("--printer");
constexpr Option kOptions[] = {{kDriverOption, true}, {kPaperOption, true}, {kPrinterOption, true}};

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

ExitStatus Install(const Arguments& arguments) {
  InstallOptions options;
  options.printer = arguments.Value(kPrinterOption, kv::startupContext.productName);
  options.driver = arguments.Value(kDriverOption, kv::startupContext.productNameVersion);
  if (arguments.Has(kPaperOption)) {
    options.paper = ParsePaper(arguments.Value(kPaperOption));
    if (options.paper == 0) return kUsage;
  }
  return Installation(std::move(options)).Run();
}

}  // namespace

const Command kInstallCommand = {
    TEXT("install"), IDS_CTL_INSTALL_SUMMARY, IDS_CTL_INSTALL_USAGE, kOptions, 0, 0, Install};

}  // namespace kvctl
