// Print monitors: adding, removing and listing them.
#include <windows.h>

#include <algorithm>
#include <set>

#include "platform/kernel/api_call.h"
#include "platform/kernel/wow64.h"
#include "platform/spooler/level_packing.h"
#include "platform/spooler/print_records.h"
#include "platform/spooler/spooler.h"
#include "platform/spooler/spooler_calls.h"

namespace platform {
namespace {

struct MonitorRecord {
  WideString name;
  WideString environment;
  WideString file;
};

constexpr LevelField<MonitorRecord> kMonitor1[] = {&MonitorRecord::name};
constexpr LevelField<MonitorRecord> kMonitor2[] = {
    &MonitorRecord::name, &MonitorRecord::environment, &MonitorRecord::file};
constexpr Level<MonitorRecord> kLevels[] = {{1, kMonitor1}, {2, kMonitor2}};

bool IsKnown(WideView name) {
  const auto monitors = Spooler::Current().Monitors();
  return std::any_of(monitors.begin(), monitors.end(),
                     [&](const auto& monitor) { return EqualNoCase(monitor->name(), name); });
}

// A monitor runs inside the spooler, so that only the spooler's own environment will do. In a
// process of another kind nothing can be loaded for it.
bool IsSpoolerEnvironment(LPCWSTR environment) {
  if (!IsWow64() &&
      (View(environment).empty() || EqualNoCase(View(environment), NativeEnvironment())))
    return true;
  SetLastError(ERROR_INVALID_ENVIRONMENT);
  return false;
}

bool PrintersUsePortsOf(const PortMonitor& monitor) {
  std::set<WideString, LessNoCase> used;
  for (const PrinterRecord& printer : ReadPrinters()) {
    for (WideString& port : PortsOf(printer)) used.insert(std::move(port));
  }
  const std::vector<PortRecord> ports = monitor.Ports(1);
  return std::any_of(ports.begin(), ports.end(),
                     [&](const PortRecord& port) { return used.contains(port.name); });
}

BOOL DeleteLoadedMonitor(WideView name) {
  Spooler& spooler = Spooler::Current();
  for (const auto& monitor : spooler.Monitors()) {
    if (!EqualNoCase(monitor->name(), name)) continue;
    if (PrintersUsePortsOf(*monitor)) return FailSpooler(ERROR_PRINT_MONITOR_IN_USE);
    UnregisterMonitor(name);
    spooler.Drop(name);
    return TRUE;
  }
  return FailSpooler(ERROR_UNKNOWN_PRINT_MONITOR);
}

}  // namespace
}  // namespace platform

using namespace platform;

BOOL WINAPI AddMonitorW(LPWSTR server, DWORD level, LPBYTE info) {
  KV_API(AddMonitorW, ERROR_ACCESS_DENIED, FALSE, server, level, info);
  if (level != 2) return FailSpooler(ERROR_INVALID_LEVEL);
  const auto* monitor_info = reinterpret_cast<const MONITOR_INFO_2W*>(info);
  if (monitor_info == nullptr || View(monitor_info->pName).empty() ||
      View(monitor_info->pDLLName).empty()) {
    return FailSpooler(ERROR_INVALID_PARAMETER);
  }
  if (!RequireSpoolerAdministrator(server)) return FALSE;
  if (!IsSpoolerEnvironment(monitor_info->pEnvironment)) return FALSE;
  if (IsKnown(monitor_info->pName)) return FailSpooler(ERROR_PRINT_MONITOR_ALREADY_INSTALLED);
  auto monitor = PortMonitor::Load(monitor_info->pName, monitor_info->pDLLName);
  if (monitor == nullptr) return FALSE;
  if (!RegisterMonitor(monitor->name(), monitor->file())) return FailSpooler(ERROR_CANTWRITE);
  Spooler::Current().Adopt(std::move(monitor));
  return TRUE;
}

BOOL WINAPI DeleteMonitorW(LPWSTR server, LPWSTR environment, LPWSTR name) {
  KV_API(DeleteMonitorW, ERROR_ACCESS_DENIED, FALSE, server, environment, name);
  if (View(name).empty()) return FailSpooler(ERROR_INVALID_PARAMETER);
  if (!RequireSpoolerAdministrator(server)) return FALSE;
  return IsSpoolerEnvironment(environment) && DeleteLoadedMonitor(name);
}

BOOL WINAPI EnumMonitorsW(LPWSTR server, DWORD level, LPBYTE buffer, DWORD size, LPDWORD needed,
                          LPDWORD returned) {
  KV_API(EnumMonitorsW, RPC_S_SERVER_UNAVAILABLE, FALSE, server, level, buffer, size, needed,
         returned);
  const auto fields = FieldsOfLevel<MonitorRecord>(kLevels, level);
  if (fields.empty() || !RequireLocalSpooler(server)) return FALSE;
  std::vector<MonitorRecord> monitors;
  for (const auto& monitor : Spooler::Current().Monitors()) {
    monitors.push_back({monitor->name(), NativeEnvironment(), monitor->file()});
  }
  return PackLevel(fields, monitors, buffer, size, needed, returned);
}
