// How things stand with the port on this machine.
#pragma once

#include <optional>

#include "tools/kvctl/port_registration.h"

namespace kvctl {

struct PortFile {
  WideString path;
  bool isThere = false;
  std::optional<DWORD> version;  // as FileVersion tells it
  LANGID language = 0;           // of a library's texts
};
struct PendingOperation {
  WideString source;
  WideString target;  // empty: the source is deleted
};

// What is to be said first, the worst that is wrong.
enum class Verdict {
  kWorks,
  kWorksWithoutPrinter,  // nothing is printed through it
  kWorksUntilStopped,    // its files are not whole any more
  kRestartDue,           // works; the next restart of the system changes its files
  kNotInstalled,
  kSpoolerStopped,
  kModuleMissing,
  kTextsMissing,  // the language resource library that every installation has
  kNotRegistered,
  kNotListed,  // registered, but the spooler does not offer it
};

struct PortStatus {
  PortFile module;
  std::vector<PortFile> resources;  // the standard one first, also when it is missing
  WideString registeredFile;        // empty when the monitor is not registered
  bool spoolerRuns = false;
  bool portIsListed = false;
  bool printersAreKnown = false;
  std::vector<PortPrinter> printers;
  std::vector<PendingOperation> pending;  // at the next restart, with the port's files

  // Whether jobs can be printed through the port now.
  bool Works() const { return spoolerRuns && portIsListed; }
  Verdict GetVerdict() const;
};

PortStatus ReadPortStatus();

}  // namespace kvctl
