#include "resources/string_ids.h"
#include "runtime/printing/spooler_list.h"
#include "tools/kvctl/command.h"

namespace kvctl {
namespace {

constexpr size_t kColumn = 20;

WideString OrEmpty(LPCWSTR text) {
  return text == nullptr ? WideString() : WideString(text);
}

ExitStatus ListPorts(const Arguments&) {
  kv::SpoolerList<PORT_INFO_2W> ports;
  if (!ports.Fetch([](BYTE* buffer, DWORD size, DWORD* needed, DWORD* count) {
        return EnumPortsW(nullptr, 2, buffer, size, needed, count);
      })) {
    PrintLastError(IDS_CTL_CANNOT_LIST_PORTS);
    return kFailed;
  }
  for (const PORT_INFO_2W& port : ports) {
    PrintLine(Padded(OrEmpty(port.pPortName), kColumn) +
              Padded(OrEmpty(port.pMonitorName), kColumn) + OrEmpty(port.pDescription));
  }
  return kDone;
}

ExitStatus ListMonitors(const Arguments&) {
  kv::SpoolerList<MONITOR_INFO_2W> monitors;
  if (!monitors.Fetch([](BYTE* buffer, DWORD size, DWORD* needed, DWORD* count) {
        return EnumMonitorsW(nullptr, 2, buffer, size, needed, count);
      })) {
    PrintLastError(IDS_CTL_CANNOT_LIST_MONITORS);
    return kFailed;
  }
  for (const MONITOR_INFO_2W& monitor : monitors) {
    PrintLine(Padded(OrEmpty(monitor.pName), kColumn) +
              Padded(OrEmpty(monitor.pEnvironment), kColumn) + OrEmpty(monitor.pDLLName));
  }
  return kDone;
}

}  // namespace

const Command kPortsCommand = {TEXT("ports"), IDS_CTL_PORTS_SUMMARY, IDS_CTL_PORTS_USAGE, {}, 0, 0,
                               ListPorts};
const Command kMonitorsCommand = {
    TEXT("monitors"), IDS_CTL_MONITORS_SUMMARY, IDS_CTL_MONITORS_USAGE, {}, 0, 0, ListMonitors};

}  // namespace kvctl
