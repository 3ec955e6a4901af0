#include "tools/kvctl/removal.h"

#include "resources/string_ids.h"
#include "runtime/core/startup_context.h"
#include "runtime/files/file_actions.h"
#include "runtime/registry/deferred_file_ops.h"
#include "runtime/registry/delete_key.h"
#include "runtime/registry/reg_key.h"
#include "tools/kvctl/file_replacements.h"
#include "tools/kvctl/port_files.h"
#include "tools/kvctl/port_registration.h"

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
  if (const ExitStatus status = RemovePrinters()) return status;
  if (const ExitStatus status = RemoveMonitor()) return status;
  for (const WideString& directory : {SystemDirectory(), DriverDirectory()}) {
    if (const ExitStatus status = RemoveFiles(directory)) return status;
  }
  pause_.End();
  if (const ExitStatus status = RemoveSettings()) return status;
  if (!removedSomething_) PrintLine(Text(IDS_CTL_NOTHING_REMOVED));
  return needsRestart_ ? kNeedsRestart : kDone;
}

ExitStatus Removal::RemovePrinters() {
  std::vector<PortPrinter> printers;
  if (!ListPortPrinters(printers)) {
    const DWORD error = GetLastError();
    PrintSystemError(Text(IDS_CTL_CANNOT_LIST_PRINTERS), error);
    return StatusOfError(error);
  }
  for (const PortPrinter& printer : printers) {
    if (const DWORD error = DeleteLocalPrinter(printer.name)) {
      PrintSystemError(Text(IDS_CTL_CANNOT_DELETE_PRINTER, printer.name.c_str()), error);
      return StatusOfError(error);
    }
    removedSomething_ = true;
    PrintLine(Text(IDS_CTL_REMOVED_PRINTER, printer.name.c_str()));
  }
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

// The module before the libraries that it needs.
ExitStatus Removal::RemoveFiles(const WideString& directory) {
  const std::vector<WideString> names = PortFilesIn(directory);
  for (auto last = names.rbegin(); last != names.rend(); ++last) {
    const WideString& name = *last;
    if (const ExitStatus status = RemoveFile(PathIn(directory, name))) return status;
  }
  return kDone;
}

ExitStatus Removal::RemoveFile(const WideString& path) {
  CancelOperationsAtRestart(path);
  // An interrupted installation leaves these.
  for (const LPCWSTR suffix : {kStagedSuffix, kBackupSuffix}) Delete(path + suffix);
  if (!Delete(path)) pause_.Begin();
  if (!Exists(path) || Delete(path)) {
    PrintLine(Text(IDS_CTL_REMOVED_FILE, path.c_str()));
  } else if (kv::CDeferredFileOps().DeleteOnRestart(path.c_str())) {
    needsRestart_ = true;
    PrintLine(Text(IDS_CTL_DELETED_AT_RESTART, path.c_str()));
  } else {
    const DWORD error = GetLastError();
    PrintSystemError(Text(IDS_CTL_CANNOT_DELETE_FILE, path.c_str()), error);
    return StatusOfError(error);
  }
  removedSomething_ = true;
  return kDone;
}

ExitStatus Removal::RemoveSettings() {
  const struct {
    HKEY root;
    LPCWSTR name;
  } roots[] = {{HKEY_LOCAL_MACHINE, TEXT("HKEY_LOCAL_MACHINE")},
               {HKEY_CURRENT_USER, TEXT("HKEY_CURRENT_USER")}};
  for (const auto& [root, rootName] : roots) {
    const WideString path = WideString(rootName) + TEXT('\\') + kv::kSettingsRoot;
    bool existed = false;
    for (const int view : {64, 32}) {
      if (!HasSettings(view, root)) continue;
      existed = true;
      if (purge_ == Purge::kYes && !DeleteSettings(view, root)) {
        PrintError(Text(IDS_CTL_CANNOT_DELETE_FILE, path.c_str()));
        return kFailed;
      }
    }
    if (!existed) continue;
    removedSomething_ |= purge_ == Purge::kYes;
    PrintLine(Text(purge_ == Purge::kYes ? IDS_CTL_REMOVED_SETTINGS : IDS_CTL_KEPT_SETTINGS,
                   path.c_str()));
  }
  return kDone;
}

}  // namespace kvctl
