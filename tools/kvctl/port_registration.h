// What the spooler knows of the port.
#pragma once

#include <optional>
#include <vector>

#include "tools/kvctl/command.h"

namespace kvctl {

// The file that the registry names for the product's monitor; empty when it is not registered.
WideString RegisteredMonitorFile();
// Takes the monitor from the spooler, and its entry out of the registry where the spooler does not
// know it. ERROR_SUCCESS also when it was not registered, else the spooler's or the registry's
// error.
DWORD UnregisterMonitor();

struct PortPrinter {
  WideString name;
  WideString port;
  WideString driver;
  DWORD jobs = 0;  // that wait on it
};
// The printers of this machine that print to the port. False, with the spooler's last error, when
// it does not say.
bool ListPortPrinters(std::vector<PortPrinter>& printers);
// The printer of this machine of that name, on whatever port; nothing when there is none. False,
// with the spooler's last error, when it does not say.
bool FindLocalPrinter(const WideString& name, std::optional<PortPrinter>& printer);
// These answer ERROR_SUCCESS or the spooler's error.
DWORD DeleteLocalPrinter(const WideString& name);
DWORD CancelJobs(const WideString& printer);
DWORD ChangeDriver(const WideString& printer, const WideString& driver);

// Whether this program may change the port of this machine; else a message was printed and the
// result is the exit status.
ExitStatus CheckMayAdminister();
// kNeedsRights for a denied access, else kFailed.
ExitStatus StatusOfError(DWORD error);

}  // namespace kvctl
