// Registering the port monitor with the print spooler.
#pragma once

#include "runtime/core/win.h"

namespace kv {

// Makes the product's monitor known to this machine's spooler. Its file and the language resource
// library are taken from the product's directory of printer drivers when the system directory does
// not have them; a copy that fails is the spooler's to notice. A spooler that refuses is tried with
// RegisterMonitorDirectly. TRUE also when the monitor is installed already. FALSE after the message
// 12110: with the spooler's last error, or, when the system directory cannot be found out or is too
// long for the files' paths, with the reason for that, before anything was copied or registered.
BOOL InstallPortMonitor();

// Writes the monitor's entry into the registry while the spooler, with the services that depend on
// it, is stopped, so that the spooler loads it when it starts again. Failed service calls are
// reported. TRUE when the port exists afterwards, else FALSE with the last error of PortExists. The
// entry stays in any case, once it is written.
BOOL RegisterMonitorDirectly();

// Whether the spooler lists a port of that name, in whatever case. FALSE with ERROR_UNKNOWN_PORT
// when it does not, else with the reason why it cannot be asked.
BOOL PortExists(LPCWSTR port);

// The key below HKEY_LOCAL_MACHINE that makes the spooler load the monitor, as a format with the
// monitor's name.
inline constexpr WCHAR kMonitorKeyFormat[] =
    TEXT("SYSTEM\\CurrentControlSet\\Control\\Print\\Monitors\\%s");
// Its value with the name of the monitor's file.
inline constexpr WCHAR kMonitorFileValue[] = TEXT("Driver");

}  // namespace kv
