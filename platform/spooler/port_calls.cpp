// Listing ports.
#include <windows.h>

#include "platform/kernel/api_call.h"
#include "platform/spooler/ports.h"
#include "platform/spooler/spooler.h"
#include "platform/spooler/spooler_calls.h"

namespace platform {
namespace {

constexpr LevelField<PortRecord> kPort1[] = {&PortRecord::name};
constexpr LevelField<PortRecord> kPort2[] = {&PortRecord::name, &PortRecord::monitor,
                                             &PortRecord::description, &PortRecord::type,
                                             &PortRecord::reserved};
constexpr Level<PortRecord> kLevels[] = {{1, kPort1}, {2, kPort2}};

}  // namespace

std::span<const LevelField<PortRecord>> PortFields(DWORD level) {
  return FieldsOfLevel<PortRecord>(kLevels, level);
}

}  // namespace platform

using namespace platform;

BOOL WINAPI EnumPortsW(LPWSTR server, DWORD level, LPBYTE buffer, DWORD size, LPDWORD needed,
                       LPDWORD returned) {
  KV_API(EnumPortsW, RPC_S_SERVER_UNAVAILABLE, FALSE, server, level, buffer, size, needed,
         returned);
  const auto fields = PortFields(level);
  if (fields.empty() || !RequireLocalSpooler(server)) return FALSE;
  std::vector<PortRecord> ports;
  for (const auto& monitor : Spooler::Current().Monitors()) {
    for (PortRecord& port : monitor->Ports(level)) ports.push_back(std::move(port));
  }
  return PackLevel(fields, ports, buffer, size, needed, returned);
}
