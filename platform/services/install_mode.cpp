// The install mode of terminal servers, under its names of two generations.
#include <windows.h>

#include "platform/control/facts.h"
#include "platform/kernel/api_call.h"
#include "platform/kernel/machine.h"
#include "platform/security/rights.h"

extern "C" {
BOOL WINAPI TermsrvAppInstallMode();
BOOL WINAPI SetTermsrvAppInstallMode(BOOL install);
BOOL WINAPI CtxGetIniMapping();
BOOL WINAPI CtxSetIniMapping(BOOL map);
}

using namespace platform;

namespace {

BOOL IsInstallMode() {
  return FactNumber(facts::kInstallMode, 0) != 0;
}

BOOL SetInstallMode(bool install) {
  if (!CallerIsElevatedAdministrator()) {
    SetLastError(ERROR_ACCESS_DENIED);
    return FALSE;
  }
  SetFactNumber(facts::kInstallMode, install ? 1 : 0);
  return TRUE;
}

}  // namespace

BOOL WINAPI TermsrvAppInstallMode() {
  KV_API_NOFAIL(TermsrvAppInstallMode, FALSE);
  return IsInstallMode();
}

BOOL WINAPI SetTermsrvAppInstallMode(BOOL install) {
  KV_API(SetTermsrvAppInstallMode, ERROR_ACCESS_DENIED, FALSE, install);
  return SetInstallMode(install != FALSE);
}

// Files of the user are mapped while nothing is being installed.
BOOL WINAPI CtxGetIniMapping() {
  KV_API_NOFAIL(CtxGetIniMapping, FALSE);
  return !IsInstallMode();
}

BOOL WINAPI CtxSetIniMapping(BOOL map) {
  KV_API(CtxSetIniMapping, ERROR_ACCESS_DENIED, FALSE, map);
  return SetInstallMode(map == FALSE);
}
