// What a process of the machine has been told by the one that started it.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "platform/kernel/text.h"

namespace platform {

using ProcessFacts = std::map<std::string, std::string, std::less<>>;

struct ProcessRecord {
  WideString command_line;
  WideString directory;  // the current one
  // Facts that hold for the process in place of the machine's.
  ProcessFacts facts;
  // Where the exit code goes, all 32 bits of it; -1: nobody wants it.
  int exit_code_pipe = -1;

  // This process's own; empty when no process of the machine started it.
  static ProcessRecord& Own();
  // Every layer's program finds it in this environment variable.
  static constexpr char kVariable[] = "KV_PROCESS";
  std::string Encode() const;
};

}  // namespace platform
