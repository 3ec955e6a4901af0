#include "platform/spooler/spooler.h"

#include "platform/control/spooler.h"
#include "platform/kernel/clock.h"
#include "platform/kernel/wow64.h"
#include "platform/spooler/inbox_driver.h"
#include "platform/spooler/print_records.h"

namespace platform {

Spooler::Spooler(Machine& machine) : state_(machine), local_(PortMonitor::Local()) {
  InstallInboxDriver();
}

Spooler::~Spooler() {
  AbortJobs();
}

Spooler& Spooler::Current() {
  return Machine::Current().Part<Spooler>();
}

bool Spooler::RequireRunning() {
  if (state_.Running()) return true;
  SetLastError(RPC_S_SERVER_UNAVAILABLE);
  return false;
}

// False for a thread that is already loading and comes back from a module's code.
bool Spooler::BeginLoading() {
  const std::thread::id me = std::this_thread::get_id();
  bool mine = false;
  WaitOnClock(kNever, [&] {
    std::lock_guard lock(mutex_);
    if (loading_ && loader_ == me) return true;
    if (loading_) return false;
    loading_ = mine = true;
    loader_ = me;
    return true;
  });
  return mine;
}

void Spooler::EndLoading() {
  {
    std::lock_guard lock(mutex_);
    loading_ = false;
  }
  WakeWaiters();
}

void Spooler::LoadMonitors() {
  const DWORD generation = state_.Generation();
  MonitorMap before, now;
  {
    std::lock_guard lock(mutex_);
    if (generation == loaded_generation_) return;
    before = monitors_;
  }
  // A 64-bit spooler serves the 32-bit processes of its machine; its monitors cannot run in them.
  if (!IsWow64()) {
    for (const SpoolerState::Monitor& entry : state_.Monitors()) {
      const auto loaded = before.find(entry.name);
      const bool same = loaded != before.end() && EqualNoCase(loaded->second->file(), entry.file);
      auto monitor = same ? loaded->second : PortMonitor::Load(entry.name, entry.file, entry.image);
      if (monitor != nullptr) now.emplace(entry.name, std::move(monitor));
    }
  }
  std::lock_guard lock(mutex_);
  monitors_.swap(now);
  loaded_generation_ = generation;
}

std::vector<std::shared_ptr<PortMonitor>> Spooler::Monitors() {
  const DWORD error = GetLastError();
  if (BeginLoading()) {
    LoadMonitors();
    EndLoading();
  }
  SetLastError(error);
  std::vector<std::shared_ptr<PortMonitor>> monitors = {local_};
  std::lock_guard lock(mutex_);
  for (const auto& [name, monitor] : monitors_) monitors.push_back(monitor);
  return monitors;
}

std::shared_ptr<PortMonitor> Spooler::MonitorOfPort(WideView port) {
  for (const auto& monitor : Monitors()) {
    if (monitor->HasPort(port)) return monitor;
  }
  return nullptr;
}

void Spooler::Adopt(std::shared_ptr<PortMonitor> monitor) {
  state_.AddMonitor({monitor->name(), monitor->file(), PortMonitor::KeepImage(monitor->file())});
  std::lock_guard lock(mutex_);
  monitors_[monitor->name()] = std::move(monitor);
}

void Spooler::Drop(WideView name) {
  state_.RemoveMonitor(name);
  Monitors();
}

void Spooler::Watch(const std::shared_ptr<PrintJob>& job) {
  std::lock_guard lock(mutex_);
  std::erase_if(jobs_, [](const std::weak_ptr<PrintJob>& old) { return old.expired(); });
  jobs_.push_back(job);
}

void Spooler::AbortJobs() {
  std::vector<std::weak_ptr<PrintJob>> jobs;
  {
    std::lock_guard lock(mutex_);
    jobs.swap(jobs_);
  }
  for (const auto& weak : jobs) {
    if (const auto job = weak.lock()) job->Abort();
  }
}

void Spooler::Start() {
  if (state_.Running()) return;
  std::vector<SpoolerState::Monitor> running;
  MonitorMap loaded;
  for (const auto& [name, file] : ReadRegisteredMonitors()) {
    // In a process of another kind nothing can be tried.
    auto monitor = IsWow64() ? nullptr : PortMonitor::Load(name, file);
    if (monitor == nullptr && !IsWow64()) continue;
    running.push_back({name, file, PortMonitor::KeepImage(file)});
    if (monitor != nullptr) loaded.emplace(name, std::move(monitor));
  }
  state_.Start(running);
  std::lock_guard lock(mutex_);
  monitors_.swap(loaded);
  loaded_generation_ = state_.Generation();
}

void Spooler::Stop() {
  if (!state_.Running()) return;
  AbortJobs();
  state_.Stop();
  Monitors();
  PortMonitor::DropImages();
}

void StartSpooler() {
  Spooler::Current().Start();
}

void StopSpooler() {
  Spooler::Current().Stop();
}

bool SpoolerRuns() {
  return Spooler::Current().state().Running();
}

}  // namespace platform
