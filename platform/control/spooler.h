// The print spooler's service. It runs on a fresh machine; its state is the machine's, so that all
// processes see it.
#pragma once

namespace platform {

// Starts the service with those of the monitors that the registry lists now that can be loaded.
// What is loaded lasts until the service stops, for all processes and whatever becomes of the
// files. Nothing when it runs.
void StartSpooler();
// Aborts this process's print jobs and unloads the monitors; other processes unload theirs when
// they next turn to the spooler. While it is stopped, calls fail with RPC_S_SERVER_UNAVAILABLE.
void StopSpooler();
bool SpoolerRuns();

}  // namespace platform
