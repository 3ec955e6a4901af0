#include "tools/kvctl/port_status.h"

#include <algorithm>

#include "runtime/core/resource_file.h"
#include "runtime/core/startup_context.h"
#include "runtime/files/file_actions.h"
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
    if (source != nullptr && IsPortFile(source)) {
      operations.push_back({source, WideString(kv::View(target))});
    }
  }
  return operations;
}

PortFile ReadFile(const WideString& directory, WideView name) {
  PortFile file;
  file.path = directory.empty() ? WideString(name) : PathIn(directory, name);
  file.isThere = !directory.empty() && kv::FileExists(file.path.c_str(), kv::Report::kNo);
  if (file.isThere) file.version = FileVersion(file.path);
  return file;
}

std::vector<PortFile> ReadLibraries(const WideString& directory) {
  std::vector<PortFile> libraries = {ReadFile(directory, kv::kResourceDllName)};
  std::vector<WideString> names;
  if (!directory.empty()) ListPortFiles(directory, Leftovers::kNo, names);
  for (const WideString& name : names) {
    const bool isOther = !kv::EqualAsciiNoCase(name, kv::kResourceDllName) &&
                         !kv::EqualAsciiNoCase(name, kv::startupContext.monitorFile);
    if (isOther) libraries.push_back(ReadFile(directory, name));
  }
  for (PortFile& library : libraries) {
    if (library.isThere) library.language = kv::GetFileLanguage(library.path.c_str());
  }
  return libraries;
}

}  // namespace

Verdict PortStatus::GetVerdict() const {
  const bool isWhole = module.isThere && resources.front().isThere;
  if (Works()) {
    if (!isWhole) return Verdict::kWorksUntilStopped;
    if (!pending.empty()) return Verdict::kRestartDue;
    return printersAreKnown && printers.empty() ? Verdict::kWorksWithoutPrinter : Verdict::kWorks;
  }
  if (!module.isThere && registeredFile.empty()) return Verdict::kNotInstalled;
  if (!module.isThere) return Verdict::kModuleMissing;
  if (!resources.front().isThere) return Verdict::kTextsMissing;
  if (registeredFile.empty()) return Verdict::kNotRegistered;
  return spoolerRuns ? Verdict::kNotListed : Verdict::kSpoolerStopped;
}

PortStatus ReadPortStatus() {
  PortStatus status;
  const WideString directory = SystemDirectory();
  status.module = ReadFile(directory, kv::startupContext.monitorFile);
  status.resources = ReadLibraries(directory);
  status.registeredFile = RegisteredMonitorFile();
  status.spoolerRuns = kv::IsSpoolerRunning();
  status.portIsListed = kv::PortExists(kv::startupContext.portName);
  status.printersAreKnown = ListPortPrinters(status.printers);
  status.pending = ReadPending();
  return status;
}

}  // namespace kvctl
