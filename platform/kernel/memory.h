// Global and local memory that the layer's own functions hand out to callers.
#pragma once

#include <windows.h>

#include "platform/control/leaks.h"

namespace platform {

// A block that its receiver frees with LocalFree (kind kLocalMemory) or GlobalFree (kGlobalMemory);
// counted like one that the receiver had allocated. Flags are those of GlobalAlloc. Null when
// memory runs out.
HGLOBAL AllocateMemory(Resource kind, UINT flags, SIZE_T size);

}  // namespace platform
