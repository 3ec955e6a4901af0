// What security descriptors grant. Both tests take descriptors of either form that the system made
// or that IsValidSecurityDescriptor accepts.
#pragma once

#include "runtime/core/win.h"

namespace kv {

// Whether the built-in group Users may read it: 1 when the first access-control entry that counts
// (it is for that group, includes READ_CONTROL and is not for inheritance only) allows, 0 when it
// denies or there is none, -1 when the list cannot be read.
int UsersCanRead(PSECURITY_DESCRIPTOR descriptor);
// 1 when its owner is the built-in group Administrators, 0 when it is somebody else, -1 when that
// cannot be found out.
int IsOwnerAdministrators(PSECURITY_DESCRIPTOR descriptor);

}  // namespace kv
