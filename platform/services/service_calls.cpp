// The service control manager's functions.
#include <windows.h>

#include <algorithm>

#include "platform/kernel/api_call.h"
#include "platform/kernel/clock.h"
#include "platform/kernel/handle_map.h"
#include "platform/kernel/result.h"
#include "platform/kernel/split.h"
#include "platform/security/rights.h"
#include "platform/services/services.h"

namespace platform {
namespace {

constexpr DWORD kManagerRead =
    STANDARD_RIGHTS_READ | SC_MANAGER_ENUMERATE_SERVICE | SC_MANAGER_QUERY_LOCK_STATUS;
constexpr DWORD kServiceRead = STANDARD_RIGHTS_READ | SERVICE_QUERY_CONFIG | SERVICE_QUERY_STATUS |
                               SERVICE_INTERROGATE | SERVICE_ENUMERATE_DEPENDENTS;

struct OpenService {
  WideString name;  // empty: the manager
  DWORD access;
};

HandleMap<OpenService>& handles() {
  static auto* instance = new HandleMap<OpenService>(0x40000004);
  return *instance;
}

SC_HANDLE OpenHandleOf(const WideString& name, DWORD access) {
  return static_cast<SC_HANDLE>(handles().Add({name, access}, Resource::kServiceHandle));
}

bool IsOpen(WideView name) {
  return handles().AnyOf([&](const OpenService& open) { return EqualNoCase(open.name, name); });
}

// The service of a name. One that was deleted while it ran has gone with its end.
std::optional<Service> FindService(WideView name) {
  if (!IsOpen(name)) Services::Current().RemoveIfMarked(name);
  return Services::Current().Find(name);
}

// The service of a handle with the right; sets the last error otherwise.
std::optional<Service> ServiceOf(SC_HANDLE handle, DWORD right) {
  const std::optional<OpenService> open = handles().Find(handle);
  if (!open || open->name.empty()) {
    SetLastError(ERROR_INVALID_HANDLE);
    return std::nullopt;
  }
  if ((open->access & right) != right) {
    SetLastError(ERROR_ACCESS_DENIED);
    return std::nullopt;
  }
  std::optional<Service> service = Services::Current().Find(open->name);
  if (!service) SetLastError(ERROR_SERVICE_MARKED_FOR_DELETE);
  return service;
}

// Everybody may read; the rest is for elevated administrators.
bool GrantAccess(DWORD& access, DWORD read, DWORD all) {
  if ((access & GENERIC_READ) != 0) access |= read;
  if ((access & GENERIC_ALL) != 0) access |= all;
  access &= ~(GENERIC_READ | GENERIC_ALL);
  if ((access & ~(read | SC_MANAGER_CONNECT)) == 0 || CallerIsElevatedAdministrator()) return true;
  SetLastError(ERROR_ACCESS_DENIED);
  return false;
}

SERVICE_STATUS StatusOf(const Service& service) {
  SERVICE_STATUS status = {};
  status.dwServiceType = service.type;
  status.dwCurrentState = Services::Current().State(service);
  if (status.dwCurrentState == SERVICE_RUNNING) status.dwControlsAccepted = SERVICE_ACCEPT_STOP;
  return status;
}

// The entries at the beginning of the buffer, their texts behind them.
void PackEntries(const std::vector<Service>& services, LPENUM_SERVICE_STATUSW entries) {
  auto* texts = reinterpret_cast<LPWSTR>(entries + services.size());
  const auto put = [&](const WideString& text) {
    const LPWSTR at = texts;
    texts = std::copy_n(text.c_str(), text.size() + 1, texts);
    return at;
  };
  for (const Service& service : services) {
    entries->lpServiceName = put(service.name);
    entries->lpDisplayName = put(service.display_name);
    entries->ServiceStatus = StatusOf(service);
    ++entries;
  }
}

DWORD SizeOfEntries(const std::vector<Service>& services) {
  size_t size = 0;
  for (const Service& service : services) {
    size += sizeof(ENUM_SERVICE_STATUSW) +
            (service.name.size() + service.display_name.size() + 2) * sizeof(WCHAR);
  }
  return static_cast<DWORD>(size);
}

}  // namespace
}  // namespace platform

using namespace platform;

SC_HANDLE WINAPI OpenSCManagerW(LPCWSTR machine, LPCWSTR database, DWORD access) {
  KV_API(OpenSCManagerW, ERROR_ACCESS_DENIED, nullptr, machine, database, access);
  if (!RequireNtFamily() || !RequireThisSystem(machine)) return nullptr;
  if (database != nullptr) {
    SetLastError(ERROR_CALL_NOT_IMPLEMENTED);
    return nullptr;
  }
  if (!GrantAccess(access, kManagerRead, SC_MANAGER_ALL_ACCESS)) return nullptr;
  return OpenHandleOf({}, access | SC_MANAGER_CONNECT);
}

SC_HANDLE WINAPI OpenServiceW(SC_HANDLE manager, LPCWSTR name, DWORD access) {
  KV_API(OpenServiceW, ERROR_ACCESS_DENIED, nullptr, manager, name, access);
  const std::optional<OpenService> open = handles().Find(manager);
  if (!open || !open->name.empty()) {
    SetLastError(ERROR_INVALID_HANDLE);
    return nullptr;
  }
  const std::optional<Service> service = FindService(View(name));
  if (!service) {
    SetLastError(View(name).empty() ? ERROR_INVALID_NAME : ERROR_SERVICE_DOES_NOT_EXIST);
    return nullptr;
  }
  if (!GrantAccess(access, kServiceRead, SERVICE_ALL_ACCESS)) return nullptr;
  return OpenHandleOf(service->name, access);
}

SC_HANDLE WINAPI CreateServiceW(SC_HANDLE manager, LPCWSTR name, LPCWSTR display_name, DWORD access,
                                DWORD type, DWORD start_type, DWORD error_control,
                                LPCWSTR binary_path, LPCWSTR load_order_group, LPDWORD tag,
                                LPCWSTR dependencies, LPCWSTR account, LPCWSTR password) {
  KV_API(CreateServiceW, ERROR_ACCESS_DENIED, nullptr, manager, name, display_name, access, type,
         start_type, error_control, binary_path, load_order_group, tag, dependencies, account,
         password);
  const std::optional<OpenService> open = handles().Find(manager);
  Service service;
  service.name = View(name);
  DWORD error = ERROR_SUCCESS;
  const std::optional<Service> old = FindService(service.name);
  if (!open || !open->name.empty()) {
    error = ERROR_INVALID_HANDLE;
  } else if ((open->access & SC_MANAGER_CREATE_SERVICE) == 0) {
    error = ERROR_ACCESS_DENIED;
  } else if (tag != nullptr || account != nullptr || password != nullptr) {
    error = ERROR_CALL_NOT_IMPLEMENTED;
  } else if (service.name.empty() || service.name.find_first_of(TEXT("/\\")) != WideView::npos) {
    error = ERROR_INVALID_NAME;
  } else if (old) {
    error = old->delete_pending ? ERROR_SERVICE_MARKED_FOR_DELETE : ERROR_SERVICE_EXISTS;
  }
  if (error != ERROR_SUCCESS) {
    SetLastError(error);
    return nullptr;
  }
  service.display_name = display_name == nullptr ? service.name : WideString(display_name);
  service.binary_path = View(binary_path);
  service.load_order_group = View(load_order_group);
  service.type = type;
  service.start_type = start_type;
  service.error_control = error_control;
  service.depends_on = SplitTexts(dependencies);
  if (!Services::Current().Add(service)) {
    SetLastError(ERROR_CANTWRITE);
    return nullptr;
  }
  Services::Current().SetState(service, SERVICE_STOPPED);
  GrantAccess(access, kServiceRead, SERVICE_ALL_ACCESS);
  return OpenHandleOf(service.name, access);
}

BOOL WINAPI CloseServiceHandle(SC_HANDLE handle) {
  KV_API_NOFAIL(CloseServiceHandle, FALSE, handle);
  const auto closed = handles().Take(handle);
  if (!closed) return Finish(ERROR_INVALID_HANDLE);
  const WideString& name = closed->value.name;
  if (!name.empty() && !IsOpen(name)) Services::Current().RemoveIfMarked(name);
  return TRUE;
}

BOOL WINAPI DeleteService(SC_HANDLE handle) {
  KV_API(DeleteService, ERROR_ACCESS_DENIED, FALSE, handle);
  const std::optional<Service> service = ServiceOf(handle, DELETE);
  if (!service) return FALSE;
  if (service->delete_pending) return Finish(ERROR_SERVICE_MARKED_FOR_DELETE);
  Services::Current().MarkForDeletion(*service);
  return TRUE;
}

BOOL WINAPI QueryServiceStatus(SC_HANDLE handle, LPSERVICE_STATUS status) {
  KV_API(QueryServiceStatus, ERROR_ACCESS_DENIED, FALSE, handle, status);
  // The answer comes from another process: on the virtual clock that takes its time, so that a loop
  // of queries comes to its end.
  if (ClockIsVirtual()) AdvanceClock(1);
  const std::optional<Service> service = ServiceOf(handle, SERVICE_QUERY_STATUS);
  if (!service) return FALSE;
  *status = StatusOf(*service);
  return TRUE;
}

BOOL WINAPI StartServiceW(SC_HANDLE handle, DWORD argument_count, LPCWSTR* arguments) {
  KV_API(StartServiceW, ERROR_ACCESS_DENIED, FALSE, handle, argument_count, arguments);
  const std::optional<Service> service = ServiceOf(handle, SERVICE_START);
  if (!service) return FALSE;
  if (argument_count != 0) return Finish(ERROR_CALL_NOT_IMPLEMENTED);
  const DWORD error = Services::Current().Start(*service);
  return Finish(error);
}

BOOL WINAPI ControlService(SC_HANDLE handle, DWORD control, LPSERVICE_STATUS status) {
  KV_API(ControlService, ERROR_ACCESS_DENIED, FALSE, handle, control, status);
  if (control != SERVICE_CONTROL_STOP) return Finish(ERROR_CALL_NOT_IMPLEMENTED);
  const std::optional<Service> service = ServiceOf(handle, SERVICE_STOP);
  if (!service) return FALSE;
  const DWORD error = Services::Current().Stop(*service);
  *status = StatusOf(*service);
  return Finish(error);
}

BOOL WINAPI EnumDependentServicesW(SC_HANDLE handle, DWORD state, LPENUM_SERVICE_STATUSW dependents,
                                   DWORD size, LPDWORD needed, LPDWORD returned) {
  KV_API(EnumDependentServicesW, ERROR_ACCESS_DENIED, FALSE, handle, state, dependents, size,
         needed, returned);
  const std::optional<Service> service = ServiceOf(handle, SERVICE_ENUMERATE_DEPENDENTS);
  if (!service) return FALSE;
  std::vector<Service> found = Services::Current().Dependents(*service);
  std::erase_if(found, [&](const Service& dependent) {
    const bool active = Services::Current().State(dependent) != SERVICE_STOPPED;
    return (state & (active ? SERVICE_ACTIVE : SERVICE_INACTIVE)) == 0;
  });
  *returned = 0;
  *needed = SizeOfEntries(found);
  if (size < *needed) return Finish(ERROR_MORE_DATA);
  PackEntries(found, dependents);
  *needed = 0;
  *returned = static_cast<DWORD>(found.size());
  return TRUE;
}
