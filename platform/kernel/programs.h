// Finding and starting programs: files of the machine that the host can run.
#pragma once

#include <filesystem>
#include <memory>
#include <string>

#include "platform/kernel/process_record.h"
#include "platform/kernel/processes.h"
#include "platform/kernel/text.h"

namespace platform {

// A program by the name that programs use: its path, or a name that is looked for beside the
// calling program, in the current, the system and the Windows directory and along PATH; ".exe" may
// be left out. The error code.
DWORD FindProgram(WideView name, std::filesystem::path& host);
// The program of a command line: what stands in quotes, else the first words that make one.
DWORD FindProgramOfLine(WideView command_line, std::filesystem::path& host);

// Starts the program, which sees this machine with `facts` in place of the machine's own.
DWORD StartProgram(const std::filesystem::path& host, WideView command_line,
                   const ProcessFacts& facts, std::shared_ptr<Process>& process);

// Starts the program of a command line; fills what CreateProcessW hands out.
DWORD RunProgram(WideView command_line, const ProcessFacts& facts,
                 PROCESS_INFORMATION& information);

// The facts of a process that runs with or without the powers of an administrator.
ProcessFacts FactsOfElevation(bool elevated);

}  // namespace platform
