// A print monitor: the operations of its table, and the module that they come from.
#pragma once

#include <windows.h>
#include <winsplp.h>

#include <memory>
#include <vector>

#include "platform/kernel/text.h"

namespace platform {

struct PortRecord {
  WideString name;
  WideString monitor;
  WideString description;
  DWORD type = 0;
  DWORD reserved = 0;
};

class PortMonitor {
 public:
  // Loads the monitor's file from the system directory and calls its initialisation; null, with the
  // last error, when that fails: the load's error, or ERROR_INVALID_PRINT_MONITOR for a module that
  // is no monitor. `image` is what KeepImage has kept of the file when the service loaded it; it is
  // loaded in the place of a file that has changed since.
  static std::shared_ptr<PortMonitor> Load(WideString name, WideString file,
                                           const WideString& image = {});
  // Keeps a copy of the monitor's file as it is now for other processes, and names it; empty when
  // that fails. The copies go when the service stops.
  static WideString KeepImage(const WideString& file);
  static void DropImages();
  // The system's own monitor, with the ports that the registry lists.
  static std::shared_ptr<PortMonitor> Local();
  ~PortMonitor();
  PortMonitor(const PortMonitor&) = delete;
  PortMonitor& operator=(const PortMonitor&) = delete;

  const WideString& name() const { return name_; }
  const WideString& file() const { return file_; }

  // The monitor's ports at level 1 or 2 (names only at 1); none when it fails.
  std::vector<PortRecord> Ports(DWORD level) const;
  bool HasPort(WideView port) const;

  // The port operations; the monitor's last error stays when one fails.
  bool OpenPort(const WideString& port, HANDLE& handle) const;
  bool StartDocPort(HANDLE port, const WideString& printer, DWORD job, DOC_INFO_1W& document) const;
  bool WritePort(HANDLE port, const void* data, DWORD size, DWORD& written) const;
  bool EndDocPort(HANDLE port) const;
  bool ClosePort(HANDLE port) const;

 private:
  PortMonitor(WideString name, WideString file) : name_(std::move(name)), file_(std::move(file)) {}
  bool Initialize();

  const WideString name_;
  const WideString file_;
  HMODULE module_ = nullptr;
  MONITOR operations_ = {};
};

}  // namespace platform
