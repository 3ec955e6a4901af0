#include "runtime/printing/service_control.h"

#include "resources/string_ids.h"
#include "runtime/core/handles.h"
#include "runtime/core/messages.h"
#include "runtime/core/startup_context.h"
#include "runtime/ipc/administrator.h"
#include "runtime/printing/growing_fetch.h"

namespace kv {
namespace {

constexpr WCHAR kSpooler[] = TEXT("spooler");
constexpr DWORD kDependentAccess = SERVICE_QUERY_STATUS | SERVICE_START | SERVICE_STOP;
constexpr DWORD kWait = 30000;         // ms
constexpr DWORD kStartInterval = 100;  // ms
// What a service that has reached its state is given before it is used, in ms.
constexpr DWORD kSettle = 250;

struct ServiceTraits {
  using Handle = SC_HANDLE;
  static Handle Empty() { return nullptr; }
  static void Close(Handle handle) { CloseServiceHandle(handle); }
};
using UniqueService = UniqueResource<ServiceTraits>;

BOOL IsWindows9x() {
  return startupContext.platform.win9xKind != 0;
}

DWORD AccessMask(ServiceAccess access) {
  return access == ServiceAccess::kFull ? SERVICE_ALL_ACCESS : GENERIC_READ;
}

BOOL ReportTimeout(LPCWSTR routine) {
  ShowError(IDS_CALL_FAILED, routine, TEXT("--timed out waiting for service"));
  return FailWith(ERROR_TIMEOUT);
}

// A deadline on the tick count, which starts anew every 49.7 days.
class Deadline {
 public:
  explicit Deadline(DWORD timeout) : start_(GetTickCount()), timeout_(timeout) {}
  BOOL HasPassed() const { return GetTickCount() - start_ > timeout_; }

 private:
  DWORD start_;
  DWORD timeout_;
};

}  // namespace

CServiceControl::CServiceControl(LPCWSTR name, ServiceAccess access) {
  OpenNamedService(name, access);
}

CServiceControl::~CServiceControl() {
  if (service_ != nullptr) CloseServiceHandle(service_);
  if (manager_ != nullptr) CloseServiceHandle(manager_);
}

BOOL CServiceControl::OpenServiceManager(ServiceAccess access) {
  if (IsWindows9x()) return FailWith(ERROR_CALL_NOT_IMPLEMENTED);
  if (manager_ == nullptr) {
    manager_ = OpenSCManagerW(
        nullptr, nullptr, access == ServiceAccess::kFull ? SC_MANAGER_ALL_ACCESS : GENERIC_READ);
  }
  return manager_ != nullptr;
}

BOOL CServiceControl::RequireService() const {
  return IsOpen() || FailWith(ERROR_INVALID_HANDLE);
}

BOOL CServiceControl::OpenNamedService(LPCWSTR name, ServiceAccess access) {
  if (!OpenServiceManager(access)) return FALSE;
  const SC_HANDLE opened = OpenServiceW(manager_, name, AccessMask(access));
  if (opened == nullptr) return FALSE;
  if (service_ != nullptr) CloseServiceHandle(service_);
  service_ = opened;
  return TRUE;
}

BOOL CServiceControl::CreateNamedService(const ServiceSettings& settings) {
  if (service_ != nullptr || OpenNamedService(settings.name, ServiceAccess::kFull)) return TRUE;
  if (!OpenServiceManager(ServiceAccess::kFull)) return FALSE;
  const DWORD interactive = settings.interactive ? SERVICE_INTERACTIVE_PROCESS : 0;
  service_ = CreateServiceW(manager_, settings.name, settings.displayName, SERVICE_ALL_ACCESS,
                            settings.type | interactive, settings.startType, SERVICE_ERROR_NORMAL,
                            settings.binaryPath, settings.loadOrderGroup, nullptr,
                            settings.dependencies, nullptr, nullptr);
  return service_ != nullptr;
}

BOOL CServiceControl::DeleteNamedService() {
  if (!RequireService()) return FALSE;
  StopWithDependents();
  if (!DeleteService(service_)) return FALSE;
  CloseServiceHandle(service_);
  service_ = nullptr;
  return TRUE;
}

BOOL CServiceControl::EnumActiveDependents() {
  DWORD size = 0, count = 0;
  const FetchResult result = FetchGrowing(
      dependents_, size, 0,
      [&](BYTE* buffer, DWORD room, DWORD* needed) {
        return EnumDependentServicesW(service_, SERVICE_ACTIVE,
                                      reinterpret_cast<ENUM_SERVICE_STATUSW*>(buffer), room, needed,
                                      &count);
      },
      ERROR_MORE_DATA);
  dependentCount_ = result == FetchResult::kDone ? count : 0;
  if (result == FetchResult::kDone) return TRUE;
  if (result != FetchResult::kNoMemory) return ReportFailedCall(TEXT("EnumDependentServices"));
  ShowInternalError(TEXT("could not allocate service list"));
  return FailWith(ERROR_NOT_ENOUGH_MEMORY);
}

BOOL CServiceControl::IsServiceRunning() {
  if (!RequireService()) return FALSE;
  SERVICE_STATUS status = {};
  if (!QueryServiceStatus(service_, &status)) return ReportFailedCall(TEXT("QueryServiceStatus"));
  return status.dwCurrentState == SERVICE_RUNNING;
}

BOOL CServiceControl::StopWithDependents() {
  if (!RequireService() || !EnumActiveDependents()) return FALSE;
  const auto* const list = reinterpret_cast<const ENUM_SERVICE_STATUSW*>(dependents_.get());
  for (DWORD i = 0; i < dependentCount_; ++i) {
    if (list[i].ServiceStatus.dwCurrentState == SERVICE_STOPPED) continue;
    if (!WithDependent(list[i].lpServiceName, StopServiceAndWait)) return FALSE;
  }
  return StopServiceAndWait(service_);
}

BOOL CServiceControl::StartWithDependents() {
  if (!RequireService() || !MyStartService(service_)) return FALSE;
  const auto* const list = reinterpret_cast<const ENUM_SERVICE_STATUSW*>(dependents_.get());
  for (DWORD i = dependentCount_; i > 0; --i) {
    if (!WithDependent(list[i - 1].lpServiceName, MyStartService)) return FALSE;
  }
  return TRUE;
}

BOOL CServiceControl::RestartWithDependents() {
  return StopWithDependents() && StartWithDependents();
}

BOOL CServiceControl::WaitForServiceState(DWORD state, DWORD timeout) {
  return RequireService() && WaitService(service_, state, timeout);
}

BOOL CServiceControl::WithDependent(LPCWSTR name, BOOL (*action)(SC_HANDLE)) {
  const UniqueService dependent(OpenServiceW(manager_, name, kDependentAccess));
  return dependent ? action(dependent.Get()) : ReportFailedCall(TEXT("OpenService"));
}

BOOL MyStartService(SC_HANDLE service) {
  const Deadline deadline(kWait);
  while (!deadline.HasPassed()) {
    SERVICE_STATUS status = {};
    if (!QueryServiceStatus(service, &status)) return ReportFailedCall(TEXT("QueryServiceStatus"));
    if (status.dwCurrentState == SERVICE_STOPPED && !StartServiceW(service, 0, nullptr)) {
      return ReportFailedCall(TEXT("StartService"));
    }
    if (status.dwCurrentState == SERVICE_RUNNING) {
      Sleep(kSettle);
      return TRUE;
    }
    Sleep(kStartInterval);
  }
  return ReportTimeout(TEXT("MyStartService"));
}

BOOL StopServiceAndWait(SC_HANDLE service) {
  SERVICE_STATUS status = {};
  if (!ControlService(service, SERVICE_CONTROL_STOP, &status)) {
    return GetLastError() == ERROR_SERVICE_NOT_ACTIVE || ReportFailedCall(TEXT("ControlService"));
  }
  return WaitService(service, SERVICE_STOPPED, kWait);
}

BOOL WaitService(SC_HANDLE service, DWORD state, DWORD timeout) {
  const Deadline deadline(timeout);
  while (!deadline.HasPassed()) {
    SERVICE_STATUS status = {};
    if (!QueryServiceStatus(service, &status) || status.dwCurrentState != state) continue;
    Sleep(kSettle);
    return TRUE;
  }
  return ReportTimeout(TEXT("WaitService"));
}

BOOL IsSpoolerRunning() {
  if (IsWindows9x()) return TRUE;
  CServiceControl spooler(kSpooler, ServiceAccess::kRead);
  return spooler.IsOpen() && spooler.IsServiceRunning();
}

BOOL RestartSpooler() {
  if (IsWindows9x()) return TRUE;
  if (IsAdministrator() < 1) return FailWith(ERROR_ACCESS_DENIED);
  CServiceControl spooler(kSpooler, ServiceAccess::kFull);
  return spooler.IsOpen() && spooler.RestartWithDependents();
}

}  // namespace kv
