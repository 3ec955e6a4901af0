#include "platform/services/services.h"

#include <algorithm>
#include <cstring>

#include "platform/control/facts.h"
#include "platform/control/services.h"
#include "platform/control/spooler.h"
#include "platform/kernel/clock.h"
#include "platform/registry/record_values.h"

namespace platform {
namespace {

constexpr const WCHAR* kState = TEXT("State");
constexpr const WCHAR* kTarget = TEXT("Target");
constexpr const WCHAR* kDue = TEXT("Due");
constexpr const WCHAR* kDeleteFlag = TEXT("DeleteFlag");
constexpr uint64_t kStuck = ~uint64_t{0};
constexpr long kUsualPending = 50;  // ms

constexpr TextValue<Service> kTexts[] = {{TEXT("DisplayName"), &Service::display_name},
                                         {TEXT("ImagePath"), &Service::binary_path},
                                         {TEXT("Group"), &Service::load_order_group}};
constexpr NumberValue<Service> kNumbers[] = {{TEXT("Type"), &Service::type},
                                             {TEXT("Start"), &Service::start_type},
                                             {TEXT("ErrorControl"), &Service::error_control}};
constexpr const WCHAR* kDependencies = TEXT("DependOnService");

// What a service that lives in the layer does.
struct Work {
  const WCHAR* service;
  void (*start)();
  void (*stop)();
  bool (*runs)();
};
constexpr Work kWorks[] = {{TEXT("Spooler"), StartSpooler, StopSpooler, SpoolerRuns}};

const Work* WorkOf(const Service& service) {
  for (const Work& work : kWorks) {
    if (EqualNoCase(service.name, work.service)) return &work;
  }
  return nullptr;
}

std::string ServiceFact(const Service& service, const char* name) {
  return Fact(facts::kServicePrefix + ToUtf8(service.name) + "." + name);
}

uint64_t PendingTime(const Service& service, const char* fact) {
  const std::string said = ServiceFact(service, fact);
  if (said == "never") return kStuck;
  return said.empty() ? kUsualPending : std::strtoul(said.c_str(), nullptr, 10);
}

DWORD Refusal(const Service& service, const char* fact) {
  return static_cast<DWORD>(std::strtoul(ServiceFact(service, fact).c_str(), nullptr, 10));
}

Service ReadService(const RegistryKey& key, const WideString& name) {
  Service service;
  service.name = name;
  ReadValues(key, kTexts, kNumbers, service);
  service.depends_on = key.Texts(kDependencies);
  service.delete_pending = key.Number(kDeleteFlag, 0) != 0;
  return service;
}

Service Own(const WCHAR* name, const WCHAR* display_name, const WCHAR* binary_path, DWORD type,
            std::vector<WideString> depends_on) {
  Service service;
  service.name = name;
  service.display_name = display_name;
  service.binary_path = binary_path;
  service.type = type;
  service.depends_on = std::move(depends_on);
  return service;
}

bool Needs(const Service& service, const Service& other) {
  return std::any_of(service.depends_on.begin(), service.depends_on.end(),
                     [&](const WideString& name) { return EqualNoCase(name, other.name); });
}

}  // namespace

Services::Services(Machine& machine)
    : definitions_(FindKey(TEXT("MACHINE\\SYSTEM\\CurrentControlSet\\Services"))),
      states_(Hive::Open(machine.directory() / "objects" / "services", TEXT("SERVICES")),
              KeyTree::kRoot) {
  if (definitions_) return;
  definitions_ = MakeKey(TEXT("MACHINE\\SYSTEM\\CurrentControlSet\\Services"));
  const WCHAR* const host = TEXT("%SystemRoot%\\System32\\svchost.exe");
  Add(Own(TEXT("RpcSs"), TEXT("Remote Procedure Call (RPC)"), host, SERVICE_WIN32_SHARE_PROCESS,
          {}));
  Add(Own(TEXT("Spooler"), TEXT("Print Spooler"), TEXT("%SystemRoot%\\System32\\spoolsv.exe"),
          SERVICE_WIN32_OWN_PROCESS | SERVICE_INTERACTIVE_PROCESS, {TEXT("RpcSs")}));
  Add(Own(TEXT("TermService"), TEXT("Terminal Services"), host, SERVICE_WIN32_SHARE_PROCESS,
          {TEXT("RpcSs")}));
}

Services& Services::Current() {
  return Machine::Current().Part<Services>();
}

std::optional<Service> Services::Find(WideView name) const {
  for (const WideString& known : definitions_.SubKeys()) {
    if (EqualNoCase(known, name)) return ReadService(definitions_.Open(known), known);
  }
  return std::nullopt;
}

bool Services::Add(const Service& service) {
  const RegistryKey key = definitions_.Create(service.name);
  return WriteValues(key, kTexts, kNumbers, service) &&
         key.SetText(TEXT("ObjectName"), TEXT("LocalSystem")) &&
         (service.depends_on.empty() || key.SetTexts(kDependencies, service.depends_on));
}

void Services::MarkForDeletion(const Service& service) {
  definitions_.Open(service.name).SetNumber(kDeleteFlag, 1);
}

void Services::RemoveIfMarked(WideView name) {
  const std::optional<Service> service = Find(name);
  if (!service || !service->delete_pending || State(*service) != SERVICE_STOPPED) return;
  definitions_.DeleteTree(service->name);
  states_.DeleteTree(service->name);
}

DWORD Services::State(const Service& service) {
  const RegistryKey key = states_.Open(service.name);
  const DWORD target = key ? key.Number(kTarget, 0) : 0;
  if (target != 0) {
    uint64_t due = kStuck;
    const auto value = key.Value(kDue);
    if (value && value->data.size() == sizeof due)
      std::memcpy(&due, value->data.data(), sizeof due);
    if (SystemTime100ns() < due) return key.Number(kState, SERVICE_STOPPED);
    SetState(service, target);
  }
  if (const Work* work = WorkOf(service)) return work->runs() ? SERVICE_RUNNING : SERVICE_STOPPED;
  // A service that nobody has touched is as the start of the machine left it.
  const DWORD initial =
      service.start_type <= SERVICE_AUTO_START ? SERVICE_RUNNING : SERVICE_STOPPED;
  return key ? key.Number(kState, initial) : initial;
}

void Services::SetState(const Service& service, DWORD state) {
  const RegistryKey key = states_.Create(service.name);
  key.SetNumber(kState, state);
  key.DeleteValue(kTarget);
}

bool Services::BeginPending(const Service& service, DWORD pending, DWORD target,
                            uint64_t milliseconds) {
  const uint64_t due = milliseconds == kStuck ? kStuck : SystemTime100ns() + milliseconds * 10'000;
  const RegistryKey key = states_.Create(service.name);
  return key && key.Modify([&](Hive::Change& hive) -> LSTATUS {
    if (hive.tree().Find(key.id())->Value(kTarget) != nullptr) return ERROR_BUSY;
    hive.SetValue(key.id(), kState, REG_DWORD, &pending, sizeof pending);
    hive.SetValue(key.id(), kDue, REG_QWORD, &due, sizeof due);
    hive.SetValue(key.id(), kTarget, REG_DWORD, &target, sizeof target);
    return ERROR_SUCCESS;
  }) == ERROR_SUCCESS;
}

DWORD Services::StartDependencies(const Service& service) {
  for (const WideString& name : service.depends_on) {
    const std::optional<Service> needed = Find(name);
    if (!needed) return ERROR_SERVICE_DEPENDENCY_FAIL;
    if (State(*needed) == SERVICE_STOPPED && Start(*needed) != ERROR_SUCCESS) {
      return ERROR_SERVICE_DEPENDENCY_FAIL;
    }
  }
  return ERROR_SUCCESS;
}

DWORD Services::Start(const Service& service) {
  if (service.delete_pending) return ERROR_SERVICE_MARKED_FOR_DELETE;
  if (service.start_type == SERVICE_DISABLED) return ERROR_SERVICE_DISABLED;
  if (State(service) != SERVICE_STOPPED) return ERROR_SERVICE_ALREADY_RUNNING;
  if (const DWORD refusal = Refusal(service, "start_error")) return refusal;
  const uint64_t time = PendingTime(service, "start_time");
  // Pending before the others are started, so that services that need each other come to an end.
  if (!BeginPending(service, SERVICE_START_PENDING, SERVICE_RUNNING, time)) {
    return ERROR_SERVICE_ALREADY_RUNNING;
  }
  if (const DWORD error = StartDependencies(service)) {
    SetState(service, SERVICE_STOPPED);
    return error;
  }
  const Work* const work = WorkOf(service);
  if (work != nullptr && time != kStuck) work->start();
  return ERROR_SUCCESS;
}

DWORD Services::Stop(const Service& service) {
  const DWORD state = State(service);
  if (state == SERVICE_STOPPED) return ERROR_SERVICE_NOT_ACTIVE;
  if (state != SERVICE_RUNNING) return ERROR_SERVICE_CANNOT_ACCEPT_CTRL;
  if (const DWORD refusal = Refusal(service, "stop_error")) return refusal;
  for (const Service& dependent : Dependents(service)) {
    if (State(dependent) != SERVICE_STOPPED) return ERROR_DEPENDENT_SERVICES_RUNNING;
  }
  const uint64_t time = PendingTime(service, "stop_time");
  if (!BeginPending(service, SERVICE_STOP_PENDING, SERVICE_STOPPED, time)) {
    return ERROR_SERVICE_CANNOT_ACCEPT_CTRL;
  }
  const Work* const work = WorkOf(service);
  if (work != nullptr && time != kStuck) work->stop();
  return ERROR_SUCCESS;
}

void Services::AddDependents(const Service& service, const std::vector<Service>& all,
                             std::vector<Service>& found) const {
  for (const Service& candidate : all) {
    const auto is_candidate = [&](const Service& other) { return other.name == candidate.name; };
    if (!Needs(candidate, service) || std::any_of(found.begin(), found.end(), is_candidate)) {
      continue;
    }
    AddDependents(candidate, all, found);
    if (std::none_of(found.begin(), found.end(), is_candidate)) found.push_back(candidate);
  }
}

std::vector<Service> Services::Dependents(const Service& service) const {
  std::vector<Service> all, found;
  for (const WideString& name : definitions_.SubKeys()) {
    all.push_back(ReadService(definitions_.Open(name), name));
  }
  AddDependents(service, all, found);
  return found;
}

void InstallService(std::basic_string_view<WCHAR> name, const std::vector<WideString>& depends_on) {
  Service service;
  service.name = service.display_name = name;
  service.depends_on = depends_on;
  Services::Current().Add(service);
}

DWORD ServiceState(std::basic_string_view<WCHAR> name) {
  const std::optional<Service> service = Services::Current().Find(name);
  return service ? Services::Current().State(*service) : 0;
}

void SetServiceState(std::basic_string_view<WCHAR> name, DWORD state) {
  if (const std::optional<Service> service = Services::Current().Find(name)) {
    Services::Current().SetState(*service, state);
  }
}

}  // namespace platform
