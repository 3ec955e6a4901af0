#include "tools/kvctl/installation.h"

#include <algorithm>

#include "resources/string_ids.h"
#include "runtime/core/startup_context.h"
#include "runtime/printing/monitor_installation.h"
#include "runtime/printing/printer_details.h"
#include "runtime/printing/printer_driver_list.h"
#include "runtime/printing/printer_installation.h"
#include "tools/kvctl/port_files.h"
#include "tools/kvctl/port_registration.h"

namespace kvctl {
namespace {

LPCWSTR PortName() {
  return kv::startupContext.portName;
}

}  // namespace

ExitStatus Installation::Run() {
  if (const ExitStatus status = Check()) return status;
  if (const ExitStatus status = Install()) {
    Undo();
    return status;
  }
  files_.Keep();
  if (isDriverMissing_) {
    PrintError(Text(IDS_CTL_DRIVER_MISSING, options_.driver.c_str()));
    return kFailed;
  }
  PrintLine(Text(IDS_CTL_INSTALLED, options_.printer.c_str(), PortName(), options_.driver.c_str()));
  return needsRestart_ ? kNeedsRestart : kDone;
}

// What can be known before anything is changed.
ExitStatus Installation::Check() {
  if (const ExitStatus status = CheckMayAdminister()) return status;
  package_ = PackageDirectory();
  names_ = PortFilesIn(package_);
  for (const LPCWSTR name : {kv::kResourceDllName, kv::startupContext.monitorFile}) {
    if (std::ranges::find(names_, WideView(name)) != names_.end()) continue;
    PrintError(Text(IDS_CTL_PACKAGE_INCOMPLETE, PathIn(package_, name).c_str()));
    return kFailed;
  }
  wasRegistered_ = !RegisteredMonitorFile().empty();
  WCHAR port[MAX_PATH];
  hadPrinter_ = kv::GetPrinterPortName(options_.printer.c_str(), port);
  if (hadPrinter_ && !kv::EqualNoCase(port, PortName())) {
    PrintError(Text(IDS_CTL_PRINTER_ELSEWHERE, options_.printer.c_str(), port));
    return kFailed;
  }
  return kDone;
}

// The directory of drivers keeps what the product's own installation repairs the system directory
// from; only a running spooler tells where it is.
ExitStatus Installation::Install() {
  if (const ExitStatus status = PutFiles(SystemDirectory())) return status;
  if (const ExitStatus status = RegisterMonitor()) return status;
  const WideString directory = DriverDirectory();
  if (directory.empty()) {
    PrintLastError(IDS_CTL_NO_DRIVER_DIRECTORY);
    return kFailed;
  }
  if (const ExitStatus status = PutFiles(directory)) return status;
  return CreatePrinter();
}

ExitStatus Installation::PutFiles(const WideString& directory) {
  for (const WideString& name : names_) {
    if (const ExitStatus status = PutFile(name, directory)) return status;
  }
  pause_.End();
  return kDone;
}

ExitStatus Installation::PutFile(const WideString& name, const WideString& directory) {
  const WideString source = PathIn(package_, name), target = PathIn(directory, name);
  const DWORD oldVersion = FileVersion(target);
  const FileReplacements::Result result = files_.Put(source, target);
  if (result == FileReplacements::Result::kFailed) {
    const DWORD error = GetLastError();
    PrintSystemError(Text(IDS_CTL_CANNOT_COPY, source.c_str(), target.c_str()), error);
    return StatusOfError(error);
  }
  Note(result, target, oldVersion);
  return kDone;
}

void Installation::Note(FileReplacements::Result result, const WideString& target,
                        DWORD oldVersion) {
  using Result = FileReplacements::Result;
  const WideString version = VersionText(oldVersion);
  if (result == Result::kAtRestart) {
    needsRestart_ = true;
    PrintLine(Text(IDS_CTL_REPLACED_AT_RESTART, target.c_str()));
  } else if (result == Result::kNewerThere) {
    PrintLine(Text(IDS_CTL_KEPT_NEWER, target.c_str(), version.c_str()));
  } else if (result == Result::kPut && oldVersion != 0) {
    PrintLine(Text(IDS_CTL_REPLACED, target.c_str(), version.c_str(),
                   VersionText(FileVersion(target)).c_str()));
  }
}

ExitStatus Installation::RegisterMonitor() {
  if (!kv::InstallPortMonitor()) {
    const DWORD error = GetLastError();
    // The product's own message has said it, unless all of them are turned off.
    if (kv::startupContext.silent != 0) {
      PrintSystemError(Text(IDS_CTL_CANNOT_ADD_MONITOR, PortName()), error);
    }
    return StatusOfError(error);
  }
  // A spooler that has the monitor, but not the port, did not load it: perhaps it will when it
  // starts.
  if (kv::PortExists(PortName()) || kv::RegisterMonitorDirectly()) return kDone;
  PrintError(Text(IDS_CTL_PORT_MISSING, PortName()));
  return kFailed;
}

ExitStatus Installation::CreatePrinter() {
  const kv::CPrinterDriverList drivers(kv::startupContext.printEnvironment);
  if (drivers.Count() != 0 && drivers.Find(options_.driver.c_str()) < 0) {
    isDriverMissing_ = true;
    return kDone;
  }
  if (!kv::CreateProductPrinter(options_.printer.c_str(), PortName(), options_.paper,
                                options_.driver.c_str())) {
    const DWORD error = GetLastError();
    if (kv::startupContext.silent != 0) {
      PrintSystemError(Text(IDS_CTL_CANNOT_ADD_PRINTER, options_.printer.c_str()), error);
    }
    isDriverMissing_ = error == ERROR_UNKNOWN_PRINTER_DRIVER;
    return isDriverMissing_ ? kDone : StatusOfError(error);
  }
  return CheckPrinter();
}

// There may have been a printer of that name after all.
ExitStatus Installation::CheckPrinter() {
  WCHAR port[MAX_PATH];
  if (!kv::GetPrinterPortName(options_.printer.c_str(), port)) {
    PrintLastError(IDS_CTL_CANNOT_ADD_PRINTER, options_.printer.c_str());
    if (!hadPrinter_) DeleteLocalPrinter(options_.printer);
    return kFailed;
  }
  if (kv::EqualNoCase(port, PortName())) return kDone;
  PrintError(Text(IDS_CTL_PRINTER_ELSEWHERE, options_.printer.c_str(), port));
  return kFailed;
}

// The other way round: nobody may find a monitor without its files.
void Installation::Undo() {
  const bool isFree = wasRegistered_ || UnregisterMonitor() == ERROR_SUCCESS;
  const bool complete = isFree && files_.Undo();
  files_.Keep();
  pause_.End();
  PrintError(Text(complete ? IDS_CTL_UNDONE : IDS_CTL_UNDO_INCOMPLETE));
}

}  // namespace kvctl
