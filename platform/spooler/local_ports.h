// The system's own port monitor. Its ports are listed in the registry; "NUL:" swallows what is
// written, behind the others there is no device.
#pragma once

#include <windows.h>
#include <winsplp.h>

namespace platform {

MONITOR LocalPortOperations();

}  // namespace platform
