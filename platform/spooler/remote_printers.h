// Printers of other servers, as the machine's facts describe the network.
#pragma once

#include <windows.h>

#include <optional>

#include "platform/spooler/print_records.h"

namespace platform {

// The server of "\\SERVER\printer", or of "\\SERVER" itself; empty for names of another form.
WideView ServerOf(WideView name);
// Whether there is such a server.
bool HasServer(WideView server);
// The printers that a server shares, by their names "\\SERVER\printer".
std::vector<PrinterRecord> RemotePrinters(WideView server);
// A printer of that name on its server.
std::optional<PrinterRecord> RemotePrinter(WideView name);

}  // namespace platform
