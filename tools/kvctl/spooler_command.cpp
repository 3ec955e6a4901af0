#include "resources/string_ids.h"
#include "runtime/core/startup_context.h"
#include "runtime/ipc/administrator.h"
#include "runtime/printing/service_control.h"
#include "tools/kvctl/command.h"

namespace kvctl {
namespace {

ExitStatus ShowStatus(const Arguments&) {
  const BOOL runs = kv::IsSpoolerRunning();
  PrintLine(Text(runs ? IDS_CTL_SPOOLER_RUNS : IDS_CTL_SPOOLER_STOPPED));
  return runs ? kDone : kFailed;
}

ExitStatus Restart(const Arguments&) {
  if (kv::startupContext.platform.win9xKind == 0 && kv::IsAdministrator() < 1) {
    PrintError(Text(IDS_CTL_SPOOLER_NEEDS_RIGHTS));
    return kNeedsRights;
  }
  if (!kv::RestartSpooler()) {
    PrintError(Text(IDS_CTL_SPOOLER_NOT_RESTARTED));
    return kFailed;
  }
  PrintLine(Text(IDS_CTL_SPOOLER_RESTARTED));
  return kDone;
}

constexpr Action kActions[] = {{TEXT("status"), {}, 0, 0, ShowStatus},
                               {TEXT("restart"), {}, 0, 0, Restart}};

}  // namespace

const Command kSpoolerCommand = {TEXT("spooler"), IDS_CTL_SPOOLER_SUMMARY, IDS_CTL_SPOOLER_USAGE,
                                 kActions};

}  // namespace kvctl
