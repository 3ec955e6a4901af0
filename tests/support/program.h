// Running a program that was built beside the test.
#pragma once

#include <string>

namespace kv::test {

struct ProgramResult {
  int status;          // exit status
  std::string output;  // standard output and standard error, in their order
};

// Runs `program` of the test's directory with `arguments`, quoted as the shell wants them, and with
// an empty standard input unless they name another one;
// `environment` ("NAME=value …") is set for it.
ProgramResult RunProgram(const std::string& program, const std::string& arguments,
                         const std::string& environment = "");

}  // namespace kv::test
