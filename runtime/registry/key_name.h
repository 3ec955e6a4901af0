// From an open registry key back to its name, and keys whose place depends on the system.
#pragma once

#include "runtime/registry/reg_key.h"

namespace kv {

// Writes the key's name into `output` of `capacity` characters, with its root as HKCU (the hive of
// the user that the calling thread runs as), HKCR (the machine's classes) or HKLM; other names stay
// in the kernel's form ("\REGISTRY\USER\…"), which is what is cut to fit before. Returns the first
// character: 0, with an empty output, for predefined and closed keys, names of more than 259
// characters, and on Windows 9x.
WCHAR GetKeyName(HKEY key, LPWSTR output, int capacity);

// Whether `key` is HKEY_CURRENT_USER or a handle of that key itself.
BOOL IsCurrentUserKey(HKEY key);

// How the places of two open keys relate: `first` may lie below `second`, or the other way round.
// kUnknown on Windows 9x and whenever the kernel does not name one of them, as it does not for two
// different predefined keys, or memory runs out.
enum class KeyRelation { kUnknown, kApart, kSame, kFirstBelow, kSecondBelow };
KeyRelation RelateKeys(HKEY first, HKEY second);

// The store of the user's mail profiles.
class MessagingProfilesKey : public RegKey {
 public:
  // The key stays closed when it cannot be opened (kRead) or made (kWrite).
  explicit MessagingProfilesKey(KeyMode mode);
};

}  // namespace kv
