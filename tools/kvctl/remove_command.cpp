#include "resources/string_ids.h"
#include "tools/kvctl/removal.h"

namespace kvctl {
namespace {

constexpr WCHAR kPurgeOption[] = TEXT("--purge");
constexpr Option kOptions[] = {{kPurgeOption, false}};

ExitStatus Remove(const Arguments& arguments) {
  return Removal(arguments.Has(kPurgeOption) ? Purge::kYes : Purge::kNo).Run();
}

}  // namespace

const Command kRemoveCommand = {
    TEXT("remove"), IDS_CTL_REMOVE_SUMMARY, IDS_CTL_REMOVE_USAGE, kOptions, 0, 0, Remove};

}  // namespace kvctl
