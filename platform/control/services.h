// The machine's services, as an administrator sets them up. How long each is pending and what it
// refuses are facts (see facts.h).
#pragma once

#include <windows.h>

#include <string>
#include <string_view>
#include <vector>

namespace platform {

// Sets up a service that starts with the machine and runs now. It needs the services named.
void InstallService(std::basic_string_view<WCHAR> name,
                    const std::vector<std::basic_string<WCHAR>>& depends_on = {});
// The state (SERVICE_RUNNING, …) at this moment; 0 when there is no such service.
DWORD ServiceState(std::basic_string_view<WCHAR> name);
// Puts the service into a state that stays until it is started or stopped. The spooler's service
// runs whenever the spooler does: use spooler.h.
void SetServiceState(std::basic_string_view<WCHAR> name, DWORD state);

}  // namespace platform
