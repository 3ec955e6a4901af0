#include "resources/string_ids.h"
#include "runtime/text/document_name.h"
#include "tools/kvctl/command.h"

namespace kvctl {
namespace {

constexpr WCHAR kStripScheme[] = TEXT("--strip-scheme");
constexpr WCHAR kStripExtension[] = TEXT("--strip-extension");
constexpr Option kOptions[] = {{kStripScheme, false}, {kStripExtension, false}};

ExitStatus ShowDocumentName(const Arguments& arguments) {
  WideString title = arguments.operands()[0];
  kv::DocumentNameFromTitle(title.data(), kv::StripScheme{arguments.Has(kStripScheme)},
                            kv::StripExtension{arguments.Has(kStripExtension)});
  PrintLine(title.c_str());
  return kDone;
}

}  // namespace

const Command kDocnameCommand = {
    TEXT("docname"), IDS_CTL_DOCNAME_SUMMARY, IDS_CTL_DOCNAME_USAGE, kOptions, 1, 1,
    ShowDocumentName};

}  // namespace kvctl
