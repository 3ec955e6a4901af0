// Privileges: their names and the identifiers that the system gives them.
#pragma once

#include <windows.h>

#include "platform/kernel/text.h"

namespace platform {

// Who holds a privilege.
enum class PrivilegeHolders { kEveryone, kAdministrators, kSystem };

struct Privilege {
  const WCHAR* name;
  DWORD id;  // the low part of the LUID; the high part is 0
  PrivilegeHolders holders;
  bool enabled_by_default;
};

// By identifier, ascending.
const Privilege* PrivilegesBegin();
const Privilege* PrivilegesEnd();
// Null for a name that is no privilege's; case does not matter.
const Privilege* FindPrivilege(WideView name);

}  // namespace platform
