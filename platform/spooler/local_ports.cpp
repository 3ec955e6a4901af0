#include "platform/spooler/local_ports.h"

#include "platform/registry/registry.h"
#include "platform/spooler/level_packing.h"
#include "platform/spooler/ports.h"

namespace platform {
namespace {

constexpr const WCHAR* kPortsKey =
    TEXT("MACHINE\\SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion\\Ports");
// Stands for the open null port.
int null_port;

std::vector<PortRecord> ListedPorts() {
  std::vector<PortRecord> ports;
  const RegistryKey key = FindKey(kPortsKey);
  if (!key) return ports;
  key.Read([&](const RegistryNode* node) {
    if (node == nullptr) return;
    for (const RegistryValue& value : node->values) {
      ports.push_back({value.name, TEXT("Local Port"), TEXT("Local Port"),
                       PORT_TYPE_WRITE | PORT_TYPE_READ, 0});
    }
  });
  return ports;
}

BOOL WINAPI EnumPorts(LPWSTR, DWORD level, LPBYTE buffer, DWORD size, LPDWORD needed,
                      LPDWORD returned) {
  const auto fields = PortFields(level);
  return !fields.empty() && PackLevel(fields, ListedPorts(), buffer, size, needed, returned);
}

BOOL WINAPI OpenPort(LPWSTR port, PHANDLE handle) {
  if (!EqualNoCase(port, TEXT("NUL:"))) {
    SetLastError(ERROR_FILE_NOT_FOUND);
    return FALSE;
  }
  *handle = &null_port;
  return TRUE;
}

BOOL WINAPI StartDocPort(HANDLE, LPWSTR, DWORD, DWORD, LPBYTE) {
  return TRUE;
}

BOOL WINAPI WritePort(HANDLE, LPBYTE, DWORD size, LPDWORD written) {
  *written = size;
  return TRUE;
}

BOOL WINAPI EndPort(HANDLE) {
  return TRUE;
}

}  // namespace

MONITOR LocalPortOperations() {
  MONITOR operations = {};
  operations.pfnEnumPorts = EnumPorts;
  operations.pfnOpenPort = OpenPort;
  operations.pfnStartDocPort = StartDocPort;
  operations.pfnWritePort = WritePort;
  operations.pfnEndDocPort = EndPort;
  operations.pfnClosePort = EndPort;
  return operations;
}

}  // namespace platform
