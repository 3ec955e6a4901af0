#include <windows.h>

#include <atomic>

#include "platform/control/power.h"
#include "platform/kernel/api_call.h"
#include "platform/kernel/machine.h"
#include "platform/kernel/result.h"
#include "platform/security/rights.h"

namespace platform {
namespace {

struct ExitRequest {
  explicit ExitRequest(Machine&) {}
  std::atomic<UINT> flags = ~0u;
};

}  // namespace

UINT RequestedExit() {
  return Machine::Current().Part<ExitRequest>().flags;
}

}  // namespace platform

using namespace platform;

BOOL WINAPI ExitWindowsEx(UINT flags, DWORD reason) {
  KV_API(ExitWindowsEx, ERROR_PRIVILEGE_NOT_HELD, FALSE, flags, reason);
  if (flags != EWX_SHUTDOWN && flags != EWX_REBOOT) return Finish(ERROR_CALL_NOT_IMPLEMENTED);
  if (!CallerHasPrivilege(TEXT("SeShutdownPrivilege"))) return Finish(ERROR_PRIVILEGE_NOT_HELD);
  Machine::Current().Part<ExitRequest>().flags = flags;
  return TRUE;
}
