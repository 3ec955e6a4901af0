// The standard handles, which are no entries of the handle table.
#pragma once

#include <windows.h>

namespace platform {

// The host's descriptor behind a standard handle; -1 for other handles.
int StandardDescriptor(HANDLE handle);

}  // namespace platform
