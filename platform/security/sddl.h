// Security descriptors as text: "O:BAD:(A;CI;GA;;;SY)S:(ML;;NW;;;LW)".
#pragma once

#include "platform/security/descriptor.h"

namespace platform {

// Understood are entries that allow, deny and label (A, D, ML), the flags CI, OI and IO, rights in
// hexadecimal or by the commonest two letters, and SIDs as such or by two letters. 0 with the
// descriptor, else ERROR_INVALID_PARAMETER or ERROR_INVALID_ACL.
DWORD ParseDescriptorText(WideView text, SecurityDescriptor& descriptor);

}  // namespace platform
