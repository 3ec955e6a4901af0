// kvcmd MACHINE SCRIPT: runs a batch script on a machine, in the background at the lowest priority.
#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>

#include "platform/control/machine.h"
#include "platform/kernel/batch_script.h"

namespace {

// Whoever waits for the end of the caller's output shall not wait for the script.
void LetGoOfTheCaller() {
  const int nothing = open("/dev/null", O_RDWR);
  for (int standard = 0; standard < 3; ++standard) dup2(nothing, standard);
  close_range(3, ~0U, 0);
}

}  // namespace

int main(int count, char** arguments) {
  if (count != 3) {
    std::fputs("usage: kvcmd MACHINE SCRIPT\n", stderr);
    return 2;
  }
  const pid_t child = fork();
  if (child != 0) return child > 0 ? 0 : 1;
  setsid();
  LetGoOfTheCaller();
  if (nice(19) == -1) return 1;
  if (!std::filesystem::exists(arguments[1])) return 1;
  platform::UseMachine(arguments[1]);
  return platform::RunBatchScript(platform::ToWide(arguments[2]));
}
