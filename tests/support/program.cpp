#include "tests/support/program.h"

#include <sys/wait.h>

#include <cstdio>

#include "tests/support/machine_test.h"

namespace kv::test {

ProgramResult RunProgram(const std::string& program, const std::string& arguments,
                         const std::string& environment) {
  const std::string command =
      environment + " " + (TestDirectory() / program).string() + " 2>&1 < /dev/null " + arguments;
  ProgramResult result = {};
  std::FILE* const pipe = popen(command.c_str(), "r");
  for (int c; (c = std::fgetc(pipe)) != EOF;) result.output += static_cast<char>(c);
  result.status = WEXITSTATUS(pclose(pipe));
  return result;
}

}  // namespace kv::test
