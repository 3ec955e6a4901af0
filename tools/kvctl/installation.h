// Putting the port on the machine: its files, its monitor, a printer.
#pragma once

#include <optional>

#include "tools/kvctl/command.h"
#include "tools/kvctl/file_replacements.h"
#include "tools/kvctl/port_registration.h"

namespace kvctl {

struct InstallOptions {
  std::optional<WideString> printer;  // none: the port alone
  std::optional<WideString> driver;   // none: the product's own, or what the printer has
  WORD paper = 0;                     // a DMPAPER number; 0 leaves the paper alone
};

// One run. Whatever fails, what the run has changed is undone again, so that the port works
// afterwards or is as it was before; a monitor is never registered without its files. A printer
// that was there before is never deleted.
class Installation {
 public:
  explicit Installation(InstallOptions options) : options_(std::move(options)) {}

  // Prints what it has done or what is in the way. kFailed also for a port that is installed and
  // whose printer is not as it was asked for, as on a machine without the printer driver.
  ExitStatus Run();

 private:
  ExitStatus Check();
  ExitStatus CheckPackage();
  ExitStatus CheckPrinter();
  ExitStatus Install();
  ExitStatus PutFiles(const WideString& directory);
  ExitStatus PutFile(const WideString& name, const WideString& directory);
  void Note(FileReplacements::Result result, const WideString& target,
            std::optional<DWORD> oldVersion);
  void KeepFiles();
  ExitStatus RegisterMonitor();
  ExitStatus PutPrinter();
  ExitStatus CreatePrinter();
  ExitStatus ChangePrinter(const PortPrinter& printer);
  ExitStatus StorePaper();
  ExitStatus LookAtPrinter(bool wasThere);
  bool HasDriver(const WideString& driver) const;
  bool RestorePort();
  void Undo();

  InstallOptions options_;
  WideString package_;  // the directory with the new files, and their names
  std::vector<WideString> names_;
  WideString system_;  // the system directory
  SpoolerPause pause_;
  FileReplacements files_{pause_};
  bool wasRegistered_ = false;
  bool wasListed_ = false;
  bool needsRestart_ = false;
  WideString driver_;     // of the printer, when it is ready
  WideString complaint_;  // what the installed port or its printer lacks; empty: nothing
};

}  // namespace kvctl
