// The environment variables of the machine's processes.
#pragma once

#include <optional>

#include "platform/kernel/text.h"

namespace platform {

// The value of a variable, whose name is compared without regard to case; nothing when there is
// none. What the facts say (facts::kEnvironmentPrefix) goes before what the system sets itself.
std::optional<WideString> EnvironmentVariable(WideView name);

}  // namespace platform
