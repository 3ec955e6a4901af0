// This process's side of the spooler: the monitors it has loaded and the jobs that print through
// them.
#pragma once

#include <windows.h>

#include <map>
#include <mutex>
#include <thread>

#include "platform/spooler/port_monitor.h"
#include "platform/spooler/print_job.h"
#include "platform/spooler/spooler_state.h"

namespace platform {

class Spooler {
 public:
  explicit Spooler(Machine& machine);
  // Ends what still prints and unloads the monitors.
  ~Spooler();
  static Spooler& Current();

  SpoolerState& state() { return state_; }
  // Whether the service runs; sets RPC_S_SERVER_UNAVAILABLE when it does not.
  bool RequireRunning();

  // The service starts with the registered monitors that it can load.
  void Start();
  void Stop();
  // The monitors with which the service runs, loaded in this process. One that cannot be loaded is
  // left out. No lock is held while they load.
  std::vector<std::shared_ptr<PortMonitor>> Monitors();
  // The monitor that owns the port; null when there is none.
  std::shared_ptr<PortMonitor> MonitorOfPort(WideView port);
  // Takes a monitor that was just registered.
  void Adopt(std::shared_ptr<PortMonitor> monitor);
  void Drop(WideView name);

  // Jobs that the destructor must end.
  void Watch(const std::shared_ptr<PrintJob>& job);
  void AbortJobs();

 private:
  using MonitorMap = std::map<WideString, std::shared_ptr<PortMonitor>, LessNoCase>;
  bool BeginLoading();
  void EndLoading();
  void LoadMonitors();

  SpoolerState state_;
  std::mutex mutex_;
  bool loading_ = false;
  std::thread::id loader_;
  DWORD loaded_generation_ = 0;
  MonitorMap monitors_;
  std::shared_ptr<PortMonitor> local_;
  std::vector<std::weak_ptr<PrintJob>> jobs_;
};

}  // namespace platform
