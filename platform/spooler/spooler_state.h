// What the spoolers of several processes share beside the registry: whether the service runs, which
// monitors it runs with, and the jobs.
#pragma once

#include <windows.h>

#include <optional>

#include "platform/registry/registry.h"

namespace platform {

struct JobRecord {
  DWORD id = 0;
  WideString printer;
  WideString document;
  WideString datatype;
  WideString user;
  DWORD status = 0;
  DWORD bytes = 0;  // accepted so far
  DWORD pages = 0;
  DWORD process = 0;  // the host's id of the process that prints
};

class SpoolerState {
 public:
  explicit SpoolerState(Machine& machine);

  // A monitor with which the service runs. What it has loaded lasts while it runs, whatever becomes
  // of the file.
  struct Monitor {
    WideString name;
    WideString file;
    WideString image;  // see PortMonitor::Load
  };

  // The service. A fresh machine's service runs with the monitors that are registered.
  bool Running() const;
  void Start(const std::vector<Monitor>& monitors);
  void Stop();
  // Grows whenever the monitors or the service's state change.
  DWORD Generation() const;
  std::vector<Monitor> Monitors() const;
  void AddMonitor(const Monitor& monitor);
  void RemoveMonitor(WideView name);

  // Keeps the job under a new id and returns it; 0 when that fails.
  DWORD AddJob(JobRecord job);
  void UpdateJob(const JobRecord& job);
  void RemoveJob(DWORD id);
  void RemoveJobs(WideView printer);
  // The printer's jobs by id. Those of processes that died are removed.
  std::vector<JobRecord> Jobs(WideView printer);
  std::optional<JobRecord> Job(DWORD id) const;

 private:
  void NextGeneration();
  void WriteMonitor(const Monitor& monitor);
  // Counts on and returns the new number; 0 when it cannot be kept.
  DWORD Increment(const WCHAR* counter);
  RegistryKey root_;
};

}  // namespace platform
