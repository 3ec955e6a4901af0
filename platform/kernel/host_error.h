// The system's error codes for the host's.
#pragma once

#include <windows.h>

namespace platform {

// The Windows error for an errno value of a file operation.
DWORD ErrorOfErrno(int error);

}  // namespace platform
