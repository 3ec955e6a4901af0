// Finding a program's group in the program menu.
#pragma once

#include "runtime/core/win.h"

namespace kv {

// The first group (a directory directly below the "Programs" folder of `root`, HKEY_CURRENT_USER or
// HKEY_LOCAL_MACHINE) with a shortcut directly inside to a program of that file name, A to Z
// without regard to case. TRUE with the group's full path in `group`, cut to `capacity` characters
// with the terminator; else FALSE with an empty `group`, after the internal-error box when memory
// runs out. `program` may stand in `group`. The calling thread has initialised COM.
BOOL FindProgramGroup(HKEY root, LPCWSTR program, LPWSTR group, int capacity);

}  // namespace kv
