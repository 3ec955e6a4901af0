// What the spooler's functions check first.
#pragma once

#include <windows.h>

#include "platform/kernel/text.h"

namespace platform {

// Sets the last error and gives FALSE.
inline BOOL FailSpooler(DWORD error) {
  SetLastError(error);
  return FALSE;
}

// Whether the server is this machine and its spooler runs; RPC_S_SERVER_UNAVAILABLE otherwise.
bool RequireLocalSpooler(LPCWSTR server);
// The same for what only an elevated administrator may do, else ERROR_ACCESS_DENIED.
bool RequireSpoolerAdministrator(LPCWSTR server);
// "\\NAME" or "\\NAME\printer" of this machine, without the part that names it; anything else as it
// is.
WideView WithoutOwnServer(WideView name);

}  // namespace platform
