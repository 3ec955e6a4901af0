// Registry handles of this process.
#pragma once

#include "platform/registry/registry.h"

namespace platform {

// What a handle of a key stands for.
struct OpenKey {
  RegistryKey key;
  REGSAM access = 0;  // granted, without KEY_WOW64 flags
};

// A new handle.
HKEY OpenKeyHandle(OpenKey key);
// The key behind a handle, predefined ones included; nothing for any other value.
std::optional<OpenKey> KeyOfHandle(HKEY handle);
// The same for a use that needs `right`: ERROR_INVALID_HANDLE, ERROR_ACCESS_DENIED or success.
LSTATUS UseKey(HKEY handle, REGSAM right, OpenKey& key);
// Closes a handle; true for predefined ones, which stay. False when it is not open.
bool CloseKeyHandle(HKEY handle);
bool IsPredefined(HKEY handle);
// Whether a handle of this process leads into the hive.
bool HasOpenHandles(const Hive& hive);

// What the caller may do with a key: everything with his own, everything with the machine's and
// other users' keys as an elevated administrator, else reading the machine's.
REGSAM AllowedAccess(const RegistryKey& key);
// The rights asked for, generic ones resolved; MAXIMUM_ALLOWED asks for all that are allowed. False
// (access denied) when one of them is not allowed.
bool GrantAccess(const RegistryKey& key, REGSAM asked, REGSAM& granted);

}  // namespace platform
