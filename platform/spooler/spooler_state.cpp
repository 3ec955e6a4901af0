#include "platform/spooler/spooler_state.h"

#include <signal.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <string>

#include "platform/registry/record_values.h"
#include "platform/spooler/print_records.h"

namespace platform {
namespace {

constexpr const WCHAR* kRunning = TEXT("Running");
constexpr const WCHAR* kGeneration = TEXT("Generation");
constexpr const WCHAR* kLastJob = TEXT("LastJob");
constexpr const WCHAR* kMonitors = TEXT("Monitors");
constexpr const WCHAR* kJobs = TEXT("Jobs");
constexpr const WCHAR* kFile = TEXT("File");
constexpr const WCHAR* kImage = TEXT("Image");

constexpr TextValue<JobRecord> kJobTexts[] = {{TEXT("Printer"), &JobRecord::printer},
                                              {TEXT("Document"), &JobRecord::document},
                                              {TEXT("Datatype"), &JobRecord::datatype},
                                              {TEXT("User"), &JobRecord::user}};
// Those behind the first change while the job prints.
constexpr NumberValue<JobRecord> kJobNumbers[] = {{TEXT("Process"), &JobRecord::process},
                                                  {TEXT("Status"), &JobRecord::status},
                                                  {TEXT("Bytes"), &JobRecord::bytes},
                                                  {TEXT("Pages"), &JobRecord::pages}};

WideString JobName(DWORD id) {
  return ToWide(std::to_string(id));
}

JobRecord JobFrom(const RegistryKey& key, DWORD id) {
  JobRecord job;
  job.id = id;
  ReadValues(key, kJobTexts, kJobNumbers, job);
  return job;
}

bool IsAlive(DWORD process) {
  return kill(static_cast<pid_t>(process), 0) == 0 || errno == EPERM;
}

}  // namespace

SpoolerState::SpoolerState(Machine& machine)
    : root_(Hive::Open(machine.directory() / "objects" / "spooler", TEXT("SPOOLER")),
            KeyTree::kRoot) {
  if (!root_) {
    throw std::filesystem::filesystem_error("cannot open the spooler's state",
                                            std::make_error_code(std::errc::io_error));
  }
  if (root_.Value(kRunning)) return;
  std::vector<Monitor> registered;
  for (auto& [name, file] : ReadRegisteredMonitors()) registered.push_back({name, file, {}});
  Start(registered);
}

bool SpoolerState::Running() const {
  return root_.Number(kRunning, 0) != 0;
}

void SpoolerState::Start(const std::vector<Monitor>& monitors) {
  for (const Monitor& monitor : monitors) WriteMonitor(monitor);
  root_.SetNumber(kRunning, 1);
  NextGeneration();
}

void SpoolerState::Stop() {
  root_.DeleteTree(kMonitors);
  root_.SetNumber(kRunning, 0);
  NextGeneration();
}

DWORD SpoolerState::Generation() const {
  return root_.Number(kGeneration, 0);
}

void SpoolerState::NextGeneration() {
  Increment(kGeneration);
}

DWORD SpoolerState::Increment(const WCHAR* counter) {
  DWORD next = 1;
  const LSTATUS status = root_.Modify([&](Hive::Change& hive) -> LSTATUS {
    const RegistryValue* last = hive.tree().Find(KeyTree::kRoot)->Value(counter);
    if (last != nullptr && last->data.size() == sizeof next) {
      std::memcpy(&next, last->data.data(), sizeof next);
      ++next;
    }
    hive.SetValue(KeyTree::kRoot, counter, REG_DWORD, &next, sizeof next);
    return ERROR_SUCCESS;
  });
  return status == ERROR_SUCCESS ? next : 0;
}

std::vector<SpoolerState::Monitor> SpoolerState::Monitors() const {
  std::vector<Monitor> monitors;
  const RegistryKey all = root_.Open(kMonitors);
  for (const WideString& name : all.SubKeys()) {
    const RegistryKey key = all.Open(name);
    monitors.push_back({name, key.Text(kFile), key.Text(kImage)});
  }
  return monitors;
}

void SpoolerState::WriteMonitor(const Monitor& monitor) {
  const RegistryKey key = root_.Create(kMonitors).Create(monitor.name);
  key.SetText(kFile, monitor.file);
  key.SetText(kImage, monitor.image);
}

void SpoolerState::AddMonitor(const Monitor& monitor) {
  WriteMonitor(monitor);
  NextGeneration();
}

void SpoolerState::RemoveMonitor(WideView name) {
  root_.Open(kMonitors).DeleteTree(name);
  NextGeneration();
}

DWORD SpoolerState::AddJob(JobRecord job) {
  job.id = Increment(kLastJob);
  if (job.id == 0) return 0;
  const RegistryKey key = root_.Create(kJobs).Create(JobName(job.id));
  return WriteValues(key, kJobTexts, kJobNumbers, job) ? job.id : 0;
}

void SpoolerState::UpdateJob(const JobRecord& job) {
  const RegistryKey key = root_.Open(kJobs).Open(JobName(job.id));
  for (const auto& number : kJobNumbers) {
    if (key.Number(number.name, 0) != job.*number.member) {
      key.SetNumber(number.name, job.*number.member);
    }
  }
}

void SpoolerState::RemoveJobs(WideView printer) {
  for (const JobRecord& job : Jobs(printer)) RemoveJob(job.id);
}

void SpoolerState::RemoveJob(DWORD id) {
  root_.Open(kJobs).DeleteTree(JobName(id));
}

std::optional<JobRecord> SpoolerState::Job(DWORD id) const {
  const RegistryKey key = root_.Open(kJobs).Open(JobName(id));
  return key ? std::optional(JobFrom(key, id)) : std::nullopt;
}

std::vector<JobRecord> SpoolerState::Jobs(WideView printer) {
  std::vector<JobRecord> jobs;
  const RegistryKey all = root_.Open(kJobs);
  for (const WideString& name : all.SubKeys()) {
    JobRecord job = JobFrom(all.Open(name), std::stoul(ToUtf8(name)));
    const bool kept = (job.status & JOB_STATUS_PRINTED) != 0;
    if (!kept && !IsAlive(job.process)) {
      RemoveJob(job.id);
    } else if (EqualNoCase(job.printer, printer)) {
      jobs.push_back(std::move(job));
    }
  }
  std::sort(jobs.begin(), jobs.end(),
            [](const JobRecord& a, const JobRecord& b) { return a.id < b.id; });
  return jobs;
}

}  // namespace platform
