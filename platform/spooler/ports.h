// The structures that describe ports.
#pragma once

#include "platform/spooler/level_packing.h"
#include "platform/spooler/port_monitor.h"

namespace platform {

// PORT_INFO_1 and PORT_INFO_2; empty, with ERROR_INVALID_LEVEL, for other levels.
std::span<const LevelField<PortRecord>> PortFields(DWORD level);

}  // namespace platform
