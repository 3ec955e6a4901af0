// The driver that comes with the system.
#pragma once

namespace platform {

// Puts "Generic / Text Only" on a machine that does not have it: its files and its entry.
void InstallInboxDriver();

}  // namespace platform
