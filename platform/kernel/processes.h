// Processes that this one has started.
#pragma once

#include <mutex>
#include <string>
#include <vector>

#include "platform/kernel/handle_table.h"

namespace platform {

// A process that waits to be resumed, and then runs on its own.
class Process : public KernelObject {
 public:
  // `command` is a program of the host with its arguments.
  explicit Process(std::vector<std::string> command) : command_(std::move(command)) {}
  // Lets it run; ERROR_SUCCESS also when it already runs. `was_suspended` tells.
  DWORD Resume(bool& was_suspended);

 private:
  std::mutex mutex_;
  std::vector<std::string> command_;  // empty once it runs
};

// Its one thread.
class ProcessThread : public KernelObject {
 public:
  explicit ProcessThread(std::shared_ptr<Process> process) : process_(std::move(process)) {}
  Process& process() const { return *process_; }

 private:
  std::shared_ptr<Process> process_;
};

}  // namespace platform
