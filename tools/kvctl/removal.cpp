#include "tools/kvctl/removal.h"

#include "resources/string_ids.h"
#include "runtime/core/startup_context.h"
#include "runtime/files/file_actions.h"
#include "runtime/registry/deferred_file_ops.h"
#include "runtime/registry/delete_key.h"
#include "runtime/registry/reg_key.h"
#include "tools/kvctl/file_replacements.h"

namespace kvctl {
namespace {

bool Exists(const WideString& path) {
  return kv::FileExists(path.c_str(), kv::Report::kNo) != FALSE;
}

bool Delete(const WideString& path) {
  return kv::RemoveFile(path.c_str(), kv::Quiet::kYes) != FALSE;
}

bool HasSettings(int view, HKEY root) {
  return kv::RegKey().OpenView(view, root, kv::kSettingsRoot) != FALSE;
}

// Deletes the product's settings, and the maker's key when nothing else is left in it. A deletion
// names no view of the registry, so that it begins at a key which is open in that view.
bool DeleteSettings(int view, HKEY root) {
  WideString path = kv::kSettingsRoot;
  const size_t rootEnd = path.find(TEXT('\\'));
  const WideString settings = path.substr(rootEnd + 1);
  const WideString maker = settings.substr(0, settings.find(TEXT('\\')));
  path.resize(rootEnd);
  kv::RegKey software, makersKey;
  if (!software.OpenRWView(view, root, path.c_str())) return false;
  if (!kv::MyDeleteKeyW(software.handle(), settings.c_str())) return false;
  if (makersKey.OpenRW(software.handle(), maker.c_str())) {
    makersKey.Close(kv::Disposal::kDeleteIfEmpty);
  }
  return true;
}

}  // namespace

ExitStatus Removal::Run() {
  if (const ExitStatus status = CheckMayAdminister()) return status;
  const WideString system = SystemDirectory();
  if (system.empty()) {
    PrintLastError(IDS_CTL_NO_SYSTEM_DIRECTORY);
    return kFailed;
  }
  if (const ExitStatus status = RemovePrinters()) return status;
  // Asked while the spooler runs, which tells.
  const WideString drivers = DriverDirectory();
  const DWORD error = GetLastError();
  if (const ExitStatus status = RemoveMonitor()) return status;
  RemoveFiles(system);
  if (drivers.empty()) {
    PrintSystemError(Text(IDS_CTL_NO_DRIVER_DIRECTORY), error);
    Note(kFailed);
  } else {
    RemoveFiles(drivers);
  }
  pause_.End();
  RemoveSettings();
  if (worst_ != kDone) return worst_;
  if (!removedSomething_) PrintLine(Text(IDS_CTL_NOTHING_REMOVED));
  return needsRestart_ ? kNeedsRestart : kDone;
}

void Removal::Note(ExitStatus status) {
  if (worst_ != kNeedsRights) worst_ = status;
}

ExitStatus Removal::RemovePrinters() {
  std::vector<PortPrinter> printers;
  if (!ListPortPrinters(printers)) {
    const DWORD error = GetLastError();
    PrintSystemError(Text(IDS_CTL_CANNOT_LIST_PRINTERS), error);
    return StatusOfError(error);
  }
  if (const ExitStatus status = CheckJobs(printers)) return status;
  for (const PortPrinter& printer : printers) {
    if (const ExitStatus status = RemovePrinter(printer)) return status;
  }
  return kDone;
}

ExitStatus Removal::CheckJobs(const std::vector<PortPrinter>& printers) {
  if (cancel_ == CancelWaiting::kYes) return kDone;
  ExitStatus status = kDone;
  for (const PortPrinter& printer : printers) {
    if (printer.jobs == 0) continue;
    PrintError(Text(IDS_CTL_JOBS_WAIT, Number(printer.jobs).c_str(), printer.name.c_str()));
    status = kFailed;
  }
  return status;
}

ExitStatus Removal::RemovePrinter(const PortPrinter& printer) {
  DWORD error = ERROR_SUCCESS;
  if (cancel_ == CancelWaiting::kYes && printer.jobs != 0) error = CancelJobs(printer.name);
  if (error == ERROR_SUCCESS) error = DeleteLocalPrinter(printer.name);
  if (error != ERROR_SUCCESS) {
    PrintSystemError(Text(IDS_CTL_CANNOT_DELETE_PRINTER, printer.name.c_str()), error);
    return StatusOfError(error);
  }
  removedSomething_ = true;
  PrintLine(Text(IDS_CTL_REMOVED_PRINTER, printer.name.c_str()));
  return kDone;
}

ExitStatus Removal::RemoveMonitor() {
  const LPCWSTR name = kv::startupContext.portName;
  const bool wasRegistered = !RegisteredMonitorFile().empty();
  if (const DWORD error = UnregisterMonitor()) {
    PrintSystemError(Text(IDS_CTL_CANNOT_REMOVE_MONITOR, name), error);
    return StatusOfError(error);
  }
  if (!wasRegistered) return kDone;
  removedSomething_ = true;
  PrintLine(Text(IDS_CTL_REMOVED_MONITOR, name));
  return kDone;
}

// The module before the libraries that it needs, and what an interrupted installation has left.
void Removal::RemoveFiles(const WideString& directory) {
  std::vector<WideString> names;
  if (const DWORD error = ListPortFiles(directory, Leftovers::kYes, names)) {
    PrintSystemError(Text(IDS_CTL_CANNOT_READ, directory.c_str()), error);
    Note(StatusOfError(error));
  }
  for (auto last = names.rbegin(); last != names.rend(); ++last) {
    CancelOperationsAtRestart(PathIn(directory, TargetName(*last)));
    RemoveFile(PathIn(directory, *last));
  }
}

void Removal::RemoveFile(const WideString& path) {
  if (!Delete(path)) pause_.Begin();
  if (!Exists(path) || Delete(path)) {
    PrintLine(Text(IDS_CTL_REMOVED_FILE, path.c_str()));
  } else if (kv::CDeferredFileOps().DeleteOnRestart(path.c_str())) {
    needsRestart_ = true;
    PrintLine(Text(IDS_CTL_DELETED_AT_RESTART, path.c_str()));
  } else {
    const DWORD error = GetLastError();
    PrintSystemError(Text(IDS_CTL_CANNOT_DELETE_FILE, path.c_str()), error);
    Note(StatusOfError(error));
    return;
  }
  removedSomething_ = true;
}

void Removal::RemoveSettings() {
  const struct {
    HKEY root;
    LPCWSTR name;
  } roots[] = {{HKEY_LOCAL_MACHINE, TEXT("HKEY_LOCAL_MACHINE")},
               {HKEY_CURRENT_USER, TEXT("HKEY_CURRENT_USER")}};
  for (const auto& [root, rootName] : roots) {
    const WideString path = WideString(rootName) + TEXT('\\') + kv::kSettingsRoot;
    bool existed = false, isLeft = false;
    for (const int view : {64, 32}) {
      if (!HasSettings(view, root)) continue;
      existed = true;
      isLeft |= purge_ == Purge::kYes && !DeleteSettings(view, root);
    }
    if (!existed) continue;
    if (isLeft) {
      PrintError(Text(IDS_CTL_CANNOT_DELETE_FILE, path.c_str()));
      Note(kFailed);
      continue;
    }
    removedSomething_ |= purge_ == Purge::kYes;
    PrintLine(Text(purge_ == Purge::kYes ? IDS_CTL_REMOVED_SETTINGS : IDS_CTL_KEPT_SETTINGS,
                   path.c_str()));
  }
}

}  // namespace kvctl
