// 32-bit processes on 64-bit systems.
#pragma once

#include <vector>

#include "platform/kernel/text.h"

namespace platform {

// Whether the installed system is a 64-bit one.
bool SystemIs64Bit();
// Whether this process runs under WOW64.
bool IsWow64();
// Leads a path on drive C: (its components, without the drive) to the directories of 32-bit
// programs, as a WOW64 process sees them unless its thread has turned that off.
void RedirectSystemPath(std::vector<WideString>& components);

}  // namespace platform
