#include "platform/spooler/print_job.h"

#include <algorithm>

#include "platform/kernel/clock.h"
#include "platform/spooler/spooler.h"

namespace platform {
namespace {

constexpr DWORD kBlock = 0x10000;

}  // namespace

PrintJob::PrintJob(std::shared_ptr<PortMonitor> monitor, JobRecord record, bool keep)
    : monitor_(std::move(monitor)), keep_(keep), record_(std::move(record)) {}

PrintJob::~PrintJob() {
  if (!ended_) Abort();
}

std::shared_ptr<PrintJob> PrintJob::Start(std::shared_ptr<PortMonitor> monitor,
                                          const WideString& port, JobRecord record, bool keep) {
  std::shared_ptr<PrintJob> job(new PrintJob(std::move(monitor), std::move(record), keep));
  job->ended_ = true;
  if (!job->monitor_->OpenPort(port, job->port_)) return nullptr;
  if (!job->StartOnPort()) {
    const DWORD error = GetLastError();
    job->monitor_->ClosePort(job->port_);
    Spooler::Current().state().RemoveJob(job->record_.id);
    SetLastError(error);
    return nullptr;
  }
  job->ended_ = false;
  Spooler::Current().Watch(job);
  return job;
}

bool PrintJob::StartOnPort() {
  record_.status = JOB_STATUS_PRINTING;
  record_.id = Spooler::Current().state().AddJob(record_);
  if (record_.id == 0) {
    SetLastError(ERROR_CANTWRITE);
    return false;
  }
  WideString document = record_.document, datatype = record_.datatype;
  DOC_INFO_1W info = {document.data(), nullptr, datatype.data()};
  return monitor_->StartDocPort(port_, record_.printer, record_.id, info);
}

bool PrintJob::BeginWork() {
  worker_ = GetCurrentThreadId();
  if (!ended_) return true;
  EndWork();
  SetLastError(ERROR_INVALID_HANDLE);
  return false;
}

void PrintJob::EndWork() {
  worker_ = 0;
  if (ended_) WakeWaiters();
}

bool PrintJob::TakePort() {
  if (ended_.exchange(true)) {
    SetLastError(ERROR_INVALID_HANDLE);
    return false;
  }
  // A monitor may stop the spooler from within its own operation.
  const auto is_free = [this, me = GetCurrentThreadId()] {
    const DWORD worker = worker_;
    return worker == 0 || worker == me;
  };
  if (!is_free()) WaitOnClock(kNever, is_free);
  return true;
}

bool PrintJob::Write(const BYTE* data, DWORD size, DWORD& written) {
  written = 0;
  if (!BeginWork()) return false;
  const bool complete = WriteBlocks(data, size, written);
  EndWork();
  return complete;
}

bool PrintJob::WriteBlocks(const BYTE* data, DWORD size, DWORD& written) {
  do {
    DWORD taken = 0;
    const DWORD block = std::min(size - written, kBlock);
    if (!monitor_->WritePort(port_, data + written, block, taken)) return false;
    taken = std::min(taken, block);
    if (taken == 0 && block != 0) {
      SetLastError(ERROR_WRITE_FAULT);
      return false;
    }
    written += taken;
    record_.bytes += taken;
  } while (written < size);
  if (record_.bytes - reported_bytes_ >= kBlock) Report();
  return true;
}

bool PrintJob::EndPage() {
  if (!BeginWork()) return false;
  ++record_.pages;
  Report();
  EndWork();
  return true;
}

void PrintJob::Report() {
  Spooler::Current().state().UpdateJob(record_);
  reported_bytes_ = record_.bytes;
}

bool PrintJob::Finish() {
  const bool ended = monitor_->EndDocPort(port_);
  const DWORD error = GetLastError();
  const bool closed = monitor_->ClosePort(port_);
  if (!ended) SetLastError(error);
  return ended && closed;
}

bool PrintJob::End() {
  if (!TakePort()) return false;
  const bool finished = Finish();
  if (keep_) {
    record_.status = JOB_STATUS_PRINTED;
    Report();
  } else {
    Spooler::Current().state().RemoveJob(record_.id);
  }
  return finished;
}

bool PrintJob::Abort() {
  if (!TakePort()) return false;
  const bool finished = Finish();
  Spooler::Current().state().RemoveJob(record_.id);
  return finished;
}

}  // namespace platform
