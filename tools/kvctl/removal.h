// Taking the port off the machine.
#pragma once

#include "tools/kvctl/command.h"
#include "tools/kvctl/port_registration.h"
#include "tools/kvctl/spooler_pause.h"

namespace kvctl {

// Whether the product's settings of the machine and of the calling user go too.
enum class Purge : bool { kNo, kYes };
// Whether jobs that wait on the printers are cancelled; otherwise they end the work before it has
// begun.
enum class CancelWaiting : bool { kNo, kYes };

// Printers first, then the monitor, then its files. What fails with a printer or the monitor ends
// the work where nothing is half there; a file or directory that cannot be looked at or deleted is
// named, and the rest is done. The work can be done again.
class Removal {
 public:
  Removal(Purge purge, CancelWaiting cancel) : purge_(purge), cancel_(cancel) {}
  // Prints what was removed and what was kept. kDone only when everything was looked at.
  ExitStatus Run();

 private:
  ExitStatus RemovePrinters();
  ExitStatus CheckJobs(const std::vector<PortPrinter>& printers);
  ExitStatus RemovePrinter(const PortPrinter& printer);
  ExitStatus RemoveMonitor();
  void RemoveFiles(const WideString& directory);
  void RemoveFile(const WideString& path);
  void RemoveSettings();
  // The worst that was met: kNeedsRights before kFailed.
  void Note(ExitStatus status);

  Purge purge_;
  CancelWaiting cancel_;
  SpoolerPause pause_;
  bool removedSomething_ = false;
  bool needsRestart_ = false;
  ExitStatus worst_ = kDone;
};

}  // namespace kvctl
