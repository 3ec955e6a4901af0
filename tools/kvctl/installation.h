// Putting the port on the machine: its files, its monitor, a printer.
#pragma once

#include "tools/kvctl/command.h"
#include "tools/kvctl/file_replacements.h"

namespace kvctl {

struct InstallOptions {
  WideString printer;
  WideString driver;
  WORD paper = 0;  // a DMPAPER number; 0 leaves the paper alone
};

// One run. Whatever fails, what the run has changed is undone again, so that the port works
// afterwards or is as it was before; a monitor is never registered without its files.
class Installation {
 public:
  explicit Installation(InstallOptions options) : options_(std::move(options)) {}

  // Prints what it has done or what is in the way. kFailed also for a machine without the printer
  // driver, where the port is installed and the printer left out.
  ExitStatus Run();

 private:
  ExitStatus Check();
  ExitStatus Install();
  ExitStatus PutFiles(const WideString& directory);
  ExitStatus PutFile(const WideString& name, const WideString& directory);
  void Note(FileReplacements::Result result, const WideString& target, DWORD oldVersion);
  ExitStatus RegisterMonitor();
  ExitStatus CreatePrinter();
  ExitStatus CheckPrinter();
  void Undo();

  InstallOptions options_;
  WideString package_;  // the directory with the new files, and their names
  std::vector<WideString> names_;
  SpoolerPause pause_;
  FileReplacements files_{pause_};
  bool wasRegistered_ = false;
  bool hadPrinter_ = false;
  bool isDriverMissing_ = false;
  bool needsRestart_ = false;
};

}  // namespace kvctl
