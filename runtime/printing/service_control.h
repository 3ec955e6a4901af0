// Services, and the two things that the product does with the spooler's: asking whether it runs and
// restarting it.
#pragma once

#include "runtime/printing/heap_block.h"

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

// One service, for one operation on it. Results are TRUE and FALSE. Nothing opens on the 9x family
// (ERROR_CALL_NOT_IMPLEMENTED).
//
// Reported are failures of EnumDependentServices, QueryServiceStatus, ControlService, StartService
// and of OpenService for a dependent, by these names; a wait that has timed out, with the name of
// the routine; and "could not allocate service list". What fails when services and their manager
// are opened, made and deleted is not. The last error stands behind a report: that of the call,
// ERROR_TIMEOUT after a wait, ERROR_NOT_ENOUGH_MEMORY; ERROR_INVALID_HANDLE for an
// operation without a service.
class CServiceControl {
 public:
  // Opens the service manager and the service; either may fail.
  CServiceControl(LPCWSTR name, ServiceAccess access);
  ~CServiceControl();
  CServiceControl(const CServiceControl&) = delete;
  CServiceControl& operator=(const CServiceControl&) = delete;

  // Whether there is a service to work on.
  BOOL IsOpen() const { return service_ != nullptr; }
  // TRUE when it is open already, whatever for.
  BOOL OpenServiceManager(ServiceAccess access);
  // A service that was open before stays open when this fails.
  BOOL OpenNamedService(LPCWSTR name, ServiceAccess access);
  // TRUE when this object has a service, when that one can be opened with full access, and when it
  // was created, to run as the system's own account; the last needs a manager that was opened with
  // full access.
  BOOL CreateNamedService(const ServiceSettings& settings);
  // Stops the service with its dependents first, whatever comes of that.
  BOOL DeleteNamedService();

  // Records the services that need this one and are not stopped; what starts meanwhile makes it ask
  // again, five times at most.
  BOOL EnumActiveDependents();
  BOOL IsServiceRunning();
  // Each service has 30 s. The first that fails ends the operation; what was stopped before stays
  // stopped.
  BOOL StopWithDependents();
  // Starts the service, then the dependents that stopping has recorded, in the reverse order.
  BOOL StartWithDependents();
  BOOL RestartWithDependents();
  // As WaitService.
  BOOL WaitForServiceState(DWORD state, DWORD timeout);

 private:
  // Opens a dependent for `action`; FALSE when either fails.
  BOOL WithDependent(LPCWSTR name, BOOL (*action)(SC_HANDLE));
  // IsOpen, with the last error when there is none.
  BOOL RequireService() const;

  SC_HANDLE manager_ = nullptr;
  SC_HANDLE service_ = nullptr;
  UniqueBlock<BYTE> dependents_;
  DWORD dependentCount_ = 0;
};

// Handles of services need SERVICE_QUERY_STATUS, and SERVICE_START or SERVICE_STOP. Reports and
// last errors are as above. A service that has reached its state is given another 250 ms.

// Starts the service when it is stopped, and waits 30 s for it to run.
BOOL MyStartService(SC_HANDLE service);
// Waits 30 s for it to stop. TRUE as well when the service was not running.
BOOL StopServiceAndWait(SC_HANDLE service);
// Waits `timeout` milliseconds for `state` without giving up the processor; questions that fail are
// repeated without a report.
BOOL WaitService(SC_HANDLE service, DWORD state, DWORD timeout);

// TRUE on the 9x family, whose spooler is no service. FALSE also when the service cannot be opened,
// without a report, or asked.
BOOL IsSpoolerRunning();
// Restarts the spooler with the services that depend on it. FALSE, with nothing touched and without
// a report, for anyone but an elevated administrator (ERROR_ACCESS_DENIED) and when the service
// cannot be opened. TRUE on the 9x family.
BOOL RestartSpooler();

}  // namespace kv
