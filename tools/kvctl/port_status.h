// How things stand with the port on this machine.
#pragma once

#include "tools/kvctl/port_registration.h"

namespace kvctl {

struct PortFile {
  WideString path;
  DWORD version = 0;    // as FileVersion tells it; 0 when the file is missing
  LANGID language = 0;  // of a library's texts
};
struct PendingOperation {
  WideString source;
  WideString target;  // empty: the source is deleted
};

struct PortStatus {
  PortFile module;
  std::vector<PortFile> resources;
  WideString registeredFile;  // empty when the monitor is not registered
  bool spoolerRuns = false;
  bool portIsListed = false;
  std::vector<PortPrinter> printers;
  std::vector<PendingOperation> pending;  // at the next restart, with the port's files

  // Whether jobs can be printed through the port now.
  bool Works() const { return spoolerRuns && portIsListed; }
};

PortStatus ReadPortStatus();

}  // namespace kvctl
