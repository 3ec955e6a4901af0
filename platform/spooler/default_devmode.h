// The device mode of a printer that has none of its own.
#pragma once

#include <windows.h>

#include "platform/spooler/level_packing.h"

namespace platform {

// A DEVMODEW without private part: portrait, one copy, Letter or A4 by the system's locale.
Bytes DefaultDevMode(WideView printer);

}  // namespace platform
