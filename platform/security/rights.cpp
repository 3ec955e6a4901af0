#include "platform/security/rights.h"

#include "platform/kernel/system_version.h"
#include "platform/security/privileges.h"
#include "platform/security/token.h"

namespace platform {
namespace {

bool IsNtFamily() {
  return InstalledVersion().platform == VER_PLATFORM_WIN32_NT;
}

}  // namespace

bool CallerIsElevatedAdministrator() {
  return !IsNtFamily() || EffectiveToken()->Owner().IsElevated();
}

bool CallerHasPrivilege(WideView name) {
  if (!IsNtFamily()) return true;
  const Privilege* const privilege = FindPrivilege(name);
  return privilege != nullptr && EffectiveToken()->HoldsEnabled(privilege->id);
}

WideString CallerSid() {
  return EffectiveToken()->Owner().SidText();
}

WideString ProcessUserSid() {
  return User::OfProcess().SidText();
}

bool RequireNtFamily() {
  if (IsNtFamily()) return true;
  SetLastError(ERROR_CALL_NOT_IMPLEMENTED);
  return false;
}

bool RequireThisSystem(LPCWSTR system) {
  WideView name = View(system);
  if (name.starts_with(TEXT("\\\\"))) name.remove_prefix(2);
  if (name.empty() || EqualNoCase(name, ComputerName())) return true;
  SetLastError(RPC_S_SERVER_UNAVAILABLE);
  return false;
}

}  // namespace platform
