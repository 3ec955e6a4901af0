// Deleting whole registry keys.
#pragma once

#include "runtime/core/win.h"

namespace kv {

// Deletes parent\path with all its sub-keys, depth first; an empty path names `parent` itself. TRUE
// also when there is no such key. FALSE when a key cannot be opened or listed, after a box that
// names the call, when it cannot be deleted, and on Windows 9x, after the box 12111; what was
// deleted until then stays deleted.
BOOL MyDeleteKeyW(HKEY parent, LPCWSTR path);
// The same for a path in the ANSI code page, and for Windows 9x too, where a missing key gives
// FALSE. FALSE also, with ERROR_INSUFFICIENT_BUFFER, for a path of more than 511 characters.
BOOL MyDeleteKeyA(HKEY parent, LPCSTR path);

}  // namespace kv
