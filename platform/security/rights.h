// What the caller may do to the machine as a whole: by the thread's token where it acts for
// somebody else, else by the process's.
#pragma once

#include <windows.h>

#include "platform/kernel/text.h"

namespace platform {

// Whether the caller carries the administrators group with its powers: always on Windows 9x and for
// the system's own account, for each administrator before user account control (6.0), for an
// elevated one from then on.
bool CallerIsElevatedAdministrator();
// Whether the caller's token holds the privilege (see privileges.h) and it is enabled; always on
// Windows 9x.
bool CallerHasPrivilege(WideView name);
// The caller's SID as text.
WideString CallerSid();
// The SID of the process's own user, whose keys HKEY_CURRENT_USER names.
WideString ProcessUserSid();

// Whether the system has the NT family's security; else ERROR_CALL_NOT_IMPLEMENTED is set.
bool RequireNtFamily();
// Whether `system` ("\\NAME", "NAME", null or empty) is this machine; else RPC_S_SERVER_UNAVAILABLE
// is set.
bool RequireThisSystem(LPCWSTR system);

}  // namespace platform
