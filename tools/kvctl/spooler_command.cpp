#include "resources/string_ids.h"
#include "runtime/core/startup_context.h"
#include "runtime/ipc/administrator.h"
#include "runtime/printing/service_control.h"
#include "tools/kvctl/command.h"

namespace kvctl {
namespace {

ExitStatus ShowStatus() {
  const BOOL runs = kv::IsSpoolerRunning();
  PrintLine(Text(runs ? IDS_CTL_SPOOLER_RUNS : IDS_CTL_SPOOLER_STOPPED));
  return runs ? kDone : kFailed;
}

ExitStatus Restart() {
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

ExitStatus ControlSpooler(const Arguments& arguments) {
  const WideString& action = arguments.operands()[0];
  if (action == TEXT("status")) return ShowStatus();
  if (action == TEXT("restart")) return Restart();
  PrintError(Text(IDS_CTL_UNEXPECTED_OPERAND, action.c_str()));
  PrintError(Text(IDS_CTL_SEE_HELP, TEXT("spooler")));
  return kUsage;
}

}  // namespace

const Command kSpoolerCommand = {
    TEXT("spooler"), IDS_CTL_SPOOLER_SUMMARY, IDS_CTL_SPOOLER_USAGE, {}, 1, 1, ControlSpooler};

}  // namespace kvctl
