#include "resources/string_ids.h"
#include "runtime/printing/spooler_list.h"
#include "tools/kvctl/command.h"
#include "tools/kvctl/table.h"

namespace kvctl {
namespace {

WideString OrEmpty(LPCWSTR text) {
  return WideString(kv::View(text));
}

ExitStatus ListPorts(const Arguments& arguments) {
  static constexpr Column kColumns[] = {{TEXT("name"), IDS_CTL_HEADING_PORT, 20},
                                        {TEXT("monitor"), IDS_CTL_HEADING_MONITOR, 20},
                                        {TEXT("description"), IDS_CTL_HEADING_DESCRIPTION, 20}};
  kv::SpoolerList<PORT_INFO_2W> ports;
  if (!ports.Fetch([](BYTE* buffer, DWORD size, DWORD* needed, DWORD* count) {
        return EnumPortsW(nullptr, 2, buffer, size, needed, count);
      })) {
    PrintLastError(IDS_CTL_CANNOT_LIST_PORTS);
    return kFailed;
  }
  Table table(kColumns, arguments);
  for (const PORT_INFO_2W& port : ports) {
    table.Add({OrEmpty(port.pPortName), OrEmpty(port.pMonitorName), OrEmpty(port.pDescription)});
  }
  table.Finish();
  return kDone;
}

ExitStatus ListMonitors(const Arguments& arguments) {
  static constexpr Column kColumns[] = {{TEXT("name"), IDS_CTL_HEADING_MONITOR, 20},
                                        {TEXT("environment"), IDS_CTL_HEADING_ENVIRONMENT, 20},
                                        {TEXT("file"), IDS_CTL_HEADING_FILE, 20}};
  kv::SpoolerList<MONITOR_INFO_2W> monitors;
  if (!monitors.Fetch([](BYTE* buffer, DWORD size, DWORD* needed, DWORD* count) {
        return EnumMonitorsW(nullptr, 2, buffer, size, needed, count);
      })) {
    PrintLastError(IDS_CTL_CANNOT_LIST_MONITORS);
    return kFailed;
  }
  Table table(kColumns, arguments);
  for (const MONITOR_INFO_2W& monitor : monitors) {
    table.Add({OrEmpty(monitor.pName), OrEmpty(monitor.pEnvironment), OrEmpty(monitor.pDLLName)});
  }
  table.Finish();
  return kDone;
}

ExitStatus ListDrivers(const Arguments& arguments) {
  static constexpr Column kColumns[] = {{TEXT("name"), IDS_CTL_HEADING_DRIVER, 40},
                                        {TEXT("version"), IDS_CTL_HEADING_VERSION, 10},
                                        {TEXT("file"), IDS_CTL_HEADING_FILE, 20}};
  kv::SpoolerList<DRIVER_INFO_3W> drivers;
  if (!drivers.Fetch([](BYTE* buffer, DWORD size, DWORD* needed, DWORD* count) {
        return EnumPrinterDriversW(nullptr, nullptr, 3, buffer, size, needed, count);
      })) {
    PrintLastError(IDS_CTL_CANNOT_LIST_DRIVERS);
    return kFailed;
  }
  Table table(kColumns, arguments);
  for (const DRIVER_INFO_3W& driver : drivers) {
    table.Add({OrEmpty(driver.pName), LONGLONG{driver.cVersion}, OrEmpty(driver.pDriverPath)});
  }
  table.Finish();
  return kDone;
}

constexpr Option kOptions[] = {kJsonOption};
constexpr Action kPortsActions[] = {{nullptr, kOptions, 0, 0, ListPorts}};
constexpr Action kMonitorsActions[] = {{nullptr, kOptions, 0, 0, ListMonitors}};
constexpr Action kDriversActions[] = {{nullptr, kOptions, 0, 0, ListDrivers}};

}  // namespace

const Command kPortsCommand = {TEXT("ports"), IDS_CTL_PORTS_SUMMARY, IDS_CTL_PORTS_USAGE,
                               kPortsActions};
const Command kMonitorsCommand = {TEXT("monitors"), IDS_CTL_MONITORS_SUMMARY,
                                  IDS_CTL_MONITORS_USAGE, kMonitorsActions};
const Command kDriversCommand = {TEXT("drivers"), IDS_CTL_DRIVERS_SUMMARY, IDS_CTL_DRIVERS_USAGE,
                                 kDriversActions};

}  // namespace kvctl
