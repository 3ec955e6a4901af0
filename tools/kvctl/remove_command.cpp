#include "resources/string_ids.h"
#include "tools/kvctl/removal.h"

namespace kvctl {
namespace {

constexpr Option kPurgeOption = {TEXT("--purge"), false};
constexpr Option kCancelJobsOption = {TEXT("--cancel-jobs"), false};

ExitStatus Remove(const Arguments& arguments) {
  const Purge purge{arguments.Has(kPurgeOption)};
  const CancelWaiting cancel{arguments.Has(kCancelJobsOption)};
  return Removal(purge, cancel).Run();
}

constexpr Option kOptions[] = {kPurgeOption, kCancelJobsOption};
constexpr Action kActions[] = {{nullptr, kOptions, 0, 0, Remove}};

}  // namespace

const Command kRemoveCommand = {TEXT("remove"), IDS_CTL_REMOVE_SUMMARY, IDS_CTL_REMOVE_USAGE,
                                kActions};

}  // namespace kvctl
