// Another process on the same machine.
#pragma once

#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <functional>

#include "platform/control/machine.h"

namespace kv::test {

// Runs `body` in a child process that opens the machine anew and ends with this one at the latest;
// returns the child's process id.
inline pid_t StartPeer(const std::filesystem::path& machine, const std::function<int()>& body) {
  const pid_t child = fork();
  if (child == 0) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    platform::UseMachine(machine);
    _exit(body());
  }
  return child;
}

// The exit status of a peer, or -1 when it died otherwise.
inline int FinishPeer(pid_t peer) {
  int status = 0;
  waitpid(peer, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

inline int RunPeer(const std::filesystem::path& machine, const std::function<int()>& body) {
  return FinishPeer(StartPeer(machine, body));
}

}  // namespace kv::test
