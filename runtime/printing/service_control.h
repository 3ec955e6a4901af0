// Services, and the two things that the product does with the spooler's: asking whether it runs and
// restarting it.
#pragma once

#include <memory>

#include "runtime/core/win.h"

namespace kv {

// What a service is opened for.
enum class ServiceAccess : bool { kRead, kFull };

// What CreateServiceW takes.
struct ServiceSettings {
  LPCWSTR name;
  LPCWSTR displayName;
  LPCWSTR binaryPath;
  LPCWSTR dependencies;  // names, each terminated, the list ended by an empty one; may be null
  BOOL interactive;
  DWORD type;
  DWORD startType;
  LPCWSTR loadOrderGroup;  // may be null
};

// One service, for one operation on it. Failed calls of the system are reported with their names;
// results are TRUE and FALSE. Nothing opens on the 9x family.
class CServiceControl {
 public:
  // Opens the service manager and the service; either may fail, without a report.
  CServiceControl(LPCWSTR name, ServiceAccess access);
  ~CServiceControl();
  CServiceControl(const CServiceControl&) = delete;
  CServiceControl& operator=(const CServiceControl&) = delete;

  // TRUE when it is open already.
  BOOL OpenServiceManager(ServiceAccess access);
  BOOL OpenNamedService(LPCWSTR name, ServiceAccess access);
  // TRUE when the service exists or was created; it then runs as the system's own account.
  BOOL CreateNamedService(const ServiceSettings& settings);
  // Stops the service with its dependents first.
  BOOL DeleteNamedService();

  // Records the services that need this one and are not stopped.
  BOOL EnumActiveDependents();
  BOOL IsServiceRunning();
  // Each service has 30 s. The first that fails ends the operation; what was stopped before stays
  // stopped.
  BOOL StopWithDependents();
  // Starts the service, then the dependents that stopping has recorded, in the reverse order.
  BOOL StartWithDependents();
  BOOL RestartWithDependents();
  // Waits `timeout` milliseconds at most; FALSE without a service.
  BOOL WaitForServiceState(DWORD state, DWORD timeout);

 private:
  // Opens a dependent for `action`; FALSE when either fails.
  BOOL WithDependent(LPCWSTR name, BOOL (*action)(SC_HANDLE));

  SC_HANDLE manager_ = nullptr;
  SC_HANDLE service_ = nullptr;
  std::unique_ptr<BYTE[]> dependents_;
  DWORD dependentCount_ = 0;
};

// Handles of services need SERVICE_QUERY_STATUS, and SERVICE_START or SERVICE_STOP.

// Starts the service when it is stopped, and waits 30 s for it to run.
BOOL MyStartService(SC_HANDLE service);
// TRUE as well when the service was not running.
BOOL StopServiceAndWait(SC_HANDLE service);
// Waits `timeout` milliseconds for `state` without giving up the processor.
BOOL WaitService(SC_HANDLE service, DWORD state, DWORD timeout);

// TRUE on the 9x family, whose spooler is no service.
BOOL IsSpoolerRunning();
// Restarts the spooler with the services that depend on it. FALSE, with nothing touched, for anyone
// but an elevated administrator. TRUE on the 9x family.
BOOL RestartSpooler();

}  // namespace kv
