#include "tools/kvctl/port_status.h"

#include <algorithm>

#include "runtime/core/resource_file.h"
#include "runtime/core/startup_context.h"
#include "runtime/files/paths.h"
#include "runtime/printing/monitor_installation.h"
#include "runtime/printing/service_control.h"
#include "runtime/registry/deferred_file_ops.h"
#include "tools/kvctl/port_files.h"

namespace kvctl {
namespace {

// Whether a path is in one of the directories where the port's files lie and begins as they do.
bool IsPortFile(LPCWSTR path) {
  constexpr WideView kResourceStem = TEXT("kvres832");
  WCHAR directory[MAX_PATH];
  kv::GetDirectory(path, directory);
  const WideView name(kv::GetFileName(path));
  const bool isOurs = kv::StartsWithAsciiNoCase(name, kv::startupContext.monitorFile) ||
                      kv::StartsWithAsciiNoCase(name, kResourceStem);
  return isOurs && (kv::EqualAsciiNoCase(directory, SystemDirectory()) ||
                    kv::EqualAsciiNoCase(directory, DriverDirectory()));
}

std::vector<PendingOperation> ReadPending() {
  std::vector<PendingOperation> operations;
  kv::CDeferredFileOps pending;
  LPCWSTR source = nullptr, target = nullptr;
  for (BOOL more = pending.FirstPendingRename(source, target); more;
       more = pending.NextPendingRename(source, target)) {
    if (IsPortFile(source)) {
      operations.push_back({source, WideString(kv::View(target))});
    }
  }
  return operations;
}

}  // namespace

PortStatus ReadPortStatus() {
  PortStatus status;
  const WideString directory = SystemDirectory();
  status.module.path = PathIn(directory, kv::startupContext.monitorFile);
  status.module.version = FileVersion(status.module.path);
  for (const WideString& name : PortFilesIn(directory)) {
    if (name == kv::startupContext.monitorFile) continue;
    const WideString path = PathIn(directory, name);
    status.resources.push_back({path, FileVersion(path), kv::GetFileLanguage(path.c_str())});
  }
  status.registeredFile = RegisteredMonitorFile();
  status.spoolerRuns = kv::IsSpoolerRunning();
  status.portIsListed = kv::PortExists(kv::startupContext.portName);
  ListPortPrinters(status.printers);
  status.pending = ReadPending();
  return status;
}

}  // namespace kvctl
