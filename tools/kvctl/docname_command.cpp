#include "resources/string_ids.h"
#include "runtime/text/document_name.h"
#include "tools/kvctl/command.h"

namespace kvctl {
namespace {

constexpr Option kStripScheme = {TEXT("--strip-scheme"), false};
constexpr Option kStripExtension = {TEXT("--strip-extension"), false};

ExitStatus ShowDocumentName(const Arguments& arguments) {
  WideString title = arguments.operands()[0];
  kv::DocumentNameFromTitle(title.data(), kv::StripScheme{arguments.Has(kStripScheme)},
                            kv::StripExtension{arguments.Has(kStripExtension)});
  PrintLine(title.c_str());
  return kDone;
}

constexpr Option kOptions[] = {kStripScheme, kStripExtension};
constexpr Action kActions[] = {{nullptr, kOptions, 1, 1, ShowDocumentName}};

}  // namespace

const Command kDocnameCommand = {TEXT("docname"), IDS_CTL_DOCNAME_SUMMARY, IDS_CTL_DOCNAME_USAGE,
                                 kActions};

}  // namespace kvctl
