// Taking the port off the machine.
#pragma once

#include "tools/kvctl/command.h"
#include "tools/kvctl/spooler_pause.h"

namespace kvctl {

// Whether the product's settings of the machine and of the calling user go too.
enum class Purge : bool { kNo, kYes };

// Printers first, then the monitor, then its files: what fails ends the work where nothing is half
// there, and the work can be done again.
class Removal {
 public:
  explicit Removal(Purge purge) : purge_(purge) {}
  // Prints what was removed and what was kept.
  ExitStatus Run();

 private:
  ExitStatus RemovePrinters();
  ExitStatus RemoveMonitor();
  ExitStatus RemoveFiles(const WideString& directory);
  ExitStatus RemoveFile(const WideString& path);
  ExitStatus RemoveSettings();

  Purge purge_;
  SpoolerPause pause_;
  bool removedSomething_ = false;
  bool needsRestart_ = false;
};

}  // namespace kvctl
