#include "platform/spooler/spooler_calls.h"

#include "platform/security/rights.h"
#include "platform/security/users.h"
#include "platform/spooler/spooler.h"

namespace platform {

WideView WithoutOwnServer(WideView name) {
  if (!name.starts_with(TEXT("\\\\"))) return name;
  const size_t end = std::min(name.find(TEXT('\\'), 2), name.size());
  if (!EqualNoCase(name.substr(2, end - 2), ComputerName())) return name;
  return name.substr(std::min(end + 1, name.size()));
}

bool RequireLocalSpooler(LPCWSTR server) {
  if (!WithoutOwnServer(View(server)).empty()) {
    SetLastError(RPC_S_SERVER_UNAVAILABLE);
    return false;
  }
  return Spooler::Current().RequireRunning();
}

bool RequireSpoolerAdministrator(LPCWSTR server) {
  if (!RequireLocalSpooler(server)) return false;
  if (CallerIsElevatedAdministrator()) return true;
  SetLastError(ERROR_ACCESS_DENIED);
  return false;
}

}  // namespace platform
