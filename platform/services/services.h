// Services: described in the registry where the system keeps them; their states are shared by all
// processes of the machine.
#pragma once

#include <windows.h>

#include <optional>

#include "platform/registry/registry.h"

namespace platform {

struct Service {
  WideString name;
  WideString display_name;
  WideString binary_path;
  WideString load_order_group;
  DWORD type = SERVICE_WIN32_OWN_PROCESS;
  DWORD start_type = SERVICE_AUTO_START;
  DWORD error_control = SERVICE_ERROR_NORMAL;
  std::vector<WideString> depends_on;
  bool delete_pending = false;
};

class Services {
 public:
  explicit Services(Machine& machine);
  static Services& Current();

  // Nothing when there is no such service; case does not matter.
  std::optional<Service> Find(WideView name) const;
  bool Add(const Service& service);
  void MarkForDeletion(const Service& service);
  // Removes the service when it is marked and stopped.
  void RemoveIfMarked(WideView name);

  DWORD State(const Service& service);
  void SetState(const Service& service, DWORD state);
  // ERROR_SUCCESS when the service is on its way. Services that it needs are started before.
  DWORD Start(const Service& service);
  DWORD Stop(const Service& service);
  // Those that need the service, directly or not, in the order in which they can be stopped.
  std::vector<Service> Dependents(const Service& service) const;

 private:
  DWORD StartDependencies(const Service& service);
  // False when another thread or process was quicker to change the service's state.
  bool BeginPending(const Service& service, DWORD pending, DWORD target, uint64_t milliseconds);
  void AddDependents(const Service& service, const std::vector<Service>& all,
                     std::vector<Service>& found) const;

  RegistryKey definitions_;
  RegistryKey states_;
};

}  // namespace platform
