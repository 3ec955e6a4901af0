// What the registry keeps of printers for the calling process's user.
#pragma once

#include <windows.h>

#include "platform/spooler/level_packing.h"

namespace platform {

// The device mode that the user has set for a printer; empty when there is none.
Bytes ReadUserDevMode(WideView printer);
// An empty one removes it.
bool WriteUserDevMode(WideView printer, const Bytes& mode);

// The printers of other servers to which the user is connected ("\\SERVER\printer").
std::vector<WideString> ReadConnections();
bool WriteConnection(WideView printer);

// The section "Devices" of the user's profile lists the printers with their ports.
void AddDeviceEntry(WideView printer, WideView port);
void RemoveDeviceEntry(WideView printer);

}  // namespace platform
