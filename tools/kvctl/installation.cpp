#include "tools/kvctl/installation.h"

#include <algorithm>

#include "resources/string_ids.h"
#include "runtime/core/startup_context.h"
#include "runtime/printing/monitor_installation.h"
#include "runtime/printing/printer_driver_list.h"
#include "runtime/printing/printer_installation.h"
#include "runtime/printing/printer_settings.h"
#include "runtime/printing/service_control.h"

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
  KeepFiles();
  if (!complaint_.empty()) {
    PrintError(complaint_);
    return kFailed;
  }
  PrintLine(options_.printer
                ? Text(IDS_CTL_INSTALLED, options_.printer->c_str(), PortName(), driver_.c_str())
                : Text(IDS_CTL_PORT_INSTALLED, PortName()));
  return needsRestart_ ? kNeedsRestart : kDone;
}

// What can be known before anything is changed.
ExitStatus Installation::Check() {
  if (const ExitStatus status = CheckMayAdminister()) return status;
  if (const ExitStatus status = CheckPackage()) return status;
  system_ = SystemDirectory();
  if (system_.empty()) {
    PrintLastError(IDS_CTL_NO_SYSTEM_DIRECTORY);
    return kFailed;
  }
  wasRegistered_ = !RegisteredMonitorFile().empty();
  wasListed_ = kv::PortExists(PortName()) != FALSE;
  return CheckPrinter();
}

// A file whose version cannot be read is not put in the place of one that may be newer.
ExitStatus Installation::CheckPackage() {
  package_ = PackageDirectory();
  if (const DWORD error =
          package_.empty() ? GetLastError() : ListPortFiles(package_, Leftovers::kNo, names_)) {
    PrintSystemError(Text(IDS_CTL_CANNOT_READ, package_.c_str()), error);
    return kFailed;
  }
  for (const LPCWSTR name : {kv::kResourceDllName, kv::startupContext.monitorFile}) {
    const auto isIt = [&](const WideString& other) { return kv::EqualAsciiNoCase(other, name); };
    if (std::ranges::any_of(names_, isIt)) continue;
    PrintError(Text(IDS_CTL_PACKAGE_INCOMPLETE, PathIn(package_, name).c_str()));
    return kFailed;
  }
  for (const WideString& name : names_) {
    const WideString path = PathIn(package_, name);
    if (FileVersion(path)) continue;
    PrintError(Text(IDS_CTL_NO_VERSION, path.c_str()));
    return kFailed;
  }
  return kDone;
}

// A spooler that does not answer yet is asked again when the port is there.
ExitStatus Installation::CheckPrinter() {
  std::optional<PortPrinter> printer;
  if (!options_.printer || !FindLocalPrinter(*options_.printer, printer) || !printer) return kDone;
  if (kv::EqualNoCase(printer->port, PortName())) return kDone;
  PrintError(Text(IDS_CTL_PRINTER_ELSEWHERE, printer->name.c_str(), printer->port.c_str()));
  return kFailed;
}

// The directory of drivers keeps what the product's own installation repairs the system directory
// from; only a running spooler tells where it is.
ExitStatus Installation::Install() {
  if (const ExitStatus status = PutFiles(system_)) return status;
  if (const ExitStatus status = RegisterMonitor()) return status;
  const WideString directory = DriverDirectory();
  if (directory.empty()) {
    PrintLastError(IDS_CTL_NO_DRIVER_DIRECTORY);
    return kFailed;
  }
  if (const ExitStatus status = PutFiles(directory)) return status;
  return options_.printer ? PutPrinter() : kDone;
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
  const std::optional<DWORD> oldVersion = FileVersion(target);
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
                        std::optional<DWORD> oldVersion) {
  using Result = FileReplacements::Result;
  const WideString version = VersionText(oldVersion.value_or(0));
  if (result == Result::kAtRestart) {
    needsRestart_ = true;
    PrintLine(Text(IDS_CTL_REPLACED_AT_RESTART, target.c_str()));
  } else if (result == Result::kNewerThere) {
    PrintLine(Text(IDS_CTL_KEPT_NEWER, target.c_str(), version.c_str()));
  } else if (result == Result::kPut && oldVersion) {
    PrintLine(Text(IDS_CTL_REPLACED, target.c_str(), version.c_str(),
                   VersionText(FileVersion(target).value_or(0)).c_str()));
  }
}

void Installation::KeepFiles() {
  for (const auto& [path, error] : files_.Keep()) {
    if (error != ERROR_SUCCESS) {
      PrintSystemError(Text(IDS_CTL_CANNOT_DELETE_FILE, path.c_str()), error);
      continue;
    }
    needsRestart_ = true;
    PrintLine(Text(IDS_CTL_DELETED_AT_RESTART, path.c_str()));
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

ExitStatus Installation::PutPrinter() {
  std::optional<PortPrinter> printer;
  if (!FindLocalPrinter(*options_.printer, printer)) {
    const DWORD error = GetLastError();
    PrintSystemError(Text(IDS_CTL_CANNOT_LIST_PRINTERS), error);
    return StatusOfError(error);
  }
  if (const ExitStatus status = CheckPrinter()) return status;
  const ExitStatus status = printer ? ChangePrinter(*printer) : CreatePrinter();
  if (status != kDone || !complaint_.empty()) return status;
  return LookAtPrinter(printer.has_value());
}

bool Installation::HasDriver(const WideString& driver) const {
  const kv::CPrinterDriverList drivers(kv::startupContext.printEnvironment);
  return drivers.Count() == 0 || drivers.Find(driver.c_str()) >= 0;
}

ExitStatus Installation::CreatePrinter() {
  const WideString driver = options_.driver.value_or(kv::startupContext.productNameVersion);
  const LPCWSTR name = options_.printer->c_str();
  const bool hasDriver = HasDriver(driver);
  if (hasDriver && kv::CreateProductPrinter(name, PortName(), 0, driver.c_str())) return kDone;
  const DWORD error = hasDriver ? GetLastError() : DWORD{ERROR_UNKNOWN_PRINTER_DRIVER};
  if (error == ERROR_UNKNOWN_PRINTER_DRIVER) {
    complaint_ = Text(IDS_CTL_DRIVER_MISSING, driver.c_str());
    return kDone;
  }
  if (kv::startupContext.silent != 0) {
    PrintSystemError(Text(IDS_CTL_CANNOT_ADD_PRINTER, name), error);
  }
  return StatusOfError(error);
}

ExitStatus Installation::ChangePrinter(const PortPrinter& printer) {
  if (!options_.driver || kv::EqualNoCase(printer.driver, *options_.driver)) return kDone;
  const DWORD error = HasDriver(*options_.driver) ? ChangeDriver(printer.name, *options_.driver)
                                                  : DWORD{ERROR_UNKNOWN_PRINTER_DRIVER};
  if (error == ERROR_SUCCESS) return kDone;
  complaint_ = Text(IDS_CTL_DRIVER_STAYS, printer.name.c_str(), printer.driver.c_str(),
                    options_.driver->c_str(), SystemErrorText(error).c_str());
  return kDone;
}

// What the spooler says of the printer, not what was asked for.
ExitStatus Installation::LookAtPrinter(bool wasThere) {
  std::optional<PortPrinter> printer;
  const bool isKnown = FindLocalPrinter(*options_.printer, printer);
  if (!printer) {
    const DWORD error = isKnown ? DWORD{ERROR_INVALID_PRINTER_NAME} : GetLastError();
    PrintSystemError(Text(IDS_CTL_CANNOT_ADD_PRINTER, options_.printer->c_str()), error);
    if (!wasThere) DeleteLocalPrinter(*options_.printer);
    return kFailed;
  }
  if (!kv::EqualNoCase(printer->port, PortName())) {
    PrintError(Text(IDS_CTL_PRINTER_ELSEWHERE, printer->name.c_str(), printer->port.c_str()));
    return kFailed;
  }
  driver_ = printer->driver;
  return StorePaper();
}

ExitStatus Installation::StorePaper() {
  if (options_.paper == 0) return kDone;
  const LPCWSTR name = options_.printer->c_str();
  kv::StorePaperSize(name, options_.paper);
  kv::ProductDevMode stored;
  kv::ReadUserPrinterSettings(nullptr, name, kv::kStoredOnly, stored);
  const bool isStored = (stored.dev.dmFields & DM_PAPERSIZE) != 0 &&
                        static_cast<WORD>(stored.dev.dmPaperSize) == options_.paper;
  if (!isStored) complaint_ = Text(IDS_CTL_PAPER_NOT_STORED, name);
  return kDone;
}

// A spooler that was restarted on the way may have found a module that it could not use, and does
// not look again before it is started again.
bool Installation::RestorePort() {
  if (!wasListed_ || kv::PortExists(PortName())) return true;
  kv::RestartSpooler();
  return kv::PortExists(PortName()) != FALSE;
}

// The other way round: nobody may find a monitor without its files.
void Installation::Undo() {
  const bool isFree = wasRegistered_ || UnregisterMonitor() == ERROR_SUCCESS;
  const bool isBack = isFree && files_.Undo();
  KeepFiles();
  pause_.End();
  const bool works = RestorePort();
  PrintError(Text(isBack && works ? IDS_CTL_UNDONE : IDS_CTL_UNDO_INCOMPLETE));
}

}  // namespace kvctl
