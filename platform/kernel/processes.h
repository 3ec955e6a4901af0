// Processes that this one has started or opened.
#pragma once

#include <sys/types.h>

#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "platform/kernel/waitable.h"

namespace platform {

// A running program of the host.
class Process : public Waitable {
 public:
  explicit Process(pid_t id) : id_(id) {}
  // The child `id`, whose whole exit code comes through `exit_code_pipe`, which is closed then.
  static std::shared_ptr<Process> Watch(pid_t id, int exit_code_pipe);

  Taken TryTake() override { return ExitCode() ? Taken::kYes : Taken::kNo; }
  DWORD id() const { return static_cast<DWORD>(id_); }
  // Nothing while it runs.
  std::optional<DWORD> ExitCode() const;

 private:
  void End(DWORD exit_code);

  const pid_t id_;
  mutable std::mutex mutex_;
  std::optional<DWORD> exit_code_;
};

// A batch script that waits to be resumed, and then runs on its own.
class ScriptProcess : public KernelObject {
 public:
  // `command` is a program of the host with its arguments.
  explicit ScriptProcess(std::vector<std::string> command) : command_(std::move(command)) {}
  // Lets it run; ERROR_SUCCESS also when it already runs. `was_suspended` tells.
  DWORD Resume(bool& was_suspended);
  // Sees to it that it never runs; false when it already does.
  bool Cancel();

 private:
  std::mutex mutex_;
  std::vector<std::string> command_;  // empty once it runs
};

// The one thread of a process.
class ProcessThread : public KernelObject {
 public:
  // Null for a program, which runs from the start.
  explicit ProcessThread(std::shared_ptr<ScriptProcess> script) : script_(std::move(script)) {}
  ScriptProcess* script() const { return script_.get(); }

 private:
  std::shared_ptr<ScriptProcess> script_;
};

// A process that somebody else started.
class OpenedProcess : public KernelObject {
 public:
  explicit OpenedProcess(DWORD id) : id_(id) {}
  DWORD id() const { return id_; }

 private:
  DWORD id_;
};

}  // namespace platform
