// What the caller may do to the machine as a whole.
#pragma once

#include <windows.h>

#include "platform/kernel/text.h"

namespace platform {

// Whether the caller carries the administrators group with its powers: always on Windows 9x and for
// the system's own account, for each administrator before user account control (6.0), for an
// elevated one from then on.
bool CallerIsElevatedAdministrator();
// The caller's SID as text.
WideString CallerSid();

}  // namespace platform
