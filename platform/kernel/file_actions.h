// Copying, moving and deleting files by name, and what the system's next start shall do.
#pragma once

#include "platform/kernel/text.h"

namespace platform {

// The rules of MoveFileExW but for the delayed forms; the error code.
DWORD MoveHostFile(WideView from, WideView to, DWORD flags);
// Writes a move (a null target: a deletion) into the list that the system's next start works off.
DWORD MoveAtNextStart(WideView from, LPCWSTR to, bool replace);

}  // namespace platform
