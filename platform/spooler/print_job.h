// A document on its way through a port.
#pragma once

#include <windows.h>

#include <atomic>
#include <memory>

#include "platform/spooler/port_monitor.h"
#include "platform/spooler/spooler_state.h"

namespace platform {

class PrintJob {
 public:
  // Opens the port and starts the document on it; null, with the last error, when the monitor
  // refuses. `record` carries everything but the id.
  static std::shared_ptr<PrintJob> Start(std::shared_ptr<PortMonitor> monitor,
                                         const WideString& port, JobRecord record, bool keep);
  ~PrintJob();
  PrintJob(const PrintJob&) = delete;
  PrintJob& operator=(const PrintJob&) = delete;

  DWORD id() const { return record_.id; }
  // One thread at a time writes and ends pages. Once the document has ended, as it does when the
  // spooler stops, all of these fail with ERROR_INVALID_HANDLE.

  // Writes all the data, block by block; `written` counts what the monitor took.
  bool Write(const BYTE* data, DWORD size, DWORD& written);
  bool EndPage();
  // Each waits for the thread that writes, ends the document and closes the port; false when the
  // monitor reports a failure.
  bool End();
  bool Abort();

 private:
  PrintJob(std::shared_ptr<PortMonitor> monitor, JobRecord record, bool keep);
  bool StartOnPort();
  // Around each use of the port; false when the document has ended.
  bool BeginWork();
  void EndWork();
  bool WriteBlocks(const BYTE* data, DWORD size, DWORD& written);
  // Makes the document ended and waits for the port; false when it was ended before.
  bool TakePort();
  bool Finish();
  void Report();

  const std::shared_ptr<PortMonitor> monitor_;
  const bool keep_;
  JobRecord record_;
  HANDLE port_ = nullptr;
  DWORD reported_bytes_ = 0;
  std::atomic<bool> ended_ = false;
  std::atomic<DWORD> worker_ = 0;  // the thread that uses the port; 0: none
};

}  // namespace platform
