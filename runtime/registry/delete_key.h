// Deleting whole registry keys.
#pragma once

#include "runtime/core/win.h"

namespace kv {

// Deletes parent\path with all its sub-keys, depth first. TRUE also when there is no such key, and
// when others delete it at the same time. FALSE when a key cannot be opened or listed, after a box
// that names the call, when it cannot be deleted, and on Windows 9x, after the box 12111; what was
// deleted until then stays deleted. An empty path (null, "") would be `parent` with all that it
// holds, which nobody means: FALSE with ERROR_INVALID_PARAMETER, and nothing is deleted.
BOOL MyDeleteKeyW(HKEY parent, LPCWSTR path);
// The same for a path in the ANSI code page, and for Windows 9x too, where a missing key gives
// FALSE. FALSE also, with ERROR_INSUFFICIENT_BUFFER, for a path of more than 511 characters.
BOOL MyDeleteKeyA(HKEY parent, LPCSTR path);

enum class CopiedKey {
  kDeleted,
  kNotWhollyCopied,  // a key or value that the copy lacks stays, with the keys above it
  kFailed,           // as MyDeleteKeyW, reports included
};
// Deletes parent\path as MyDeleteKeyW does, but of each key only what the key `copy` holds as well:
// sub-keys by name, values by name, type and data; without a copy (null) only an empty key. Only
// what is written to a key between the last look at it and its end goes unnoticed.
CopiedKey DeleteCopiedKey(HKEY parent, LPCWSTR path, HKEY copy);

}  // namespace kv
