#include "platform/kernel/process_record.h"

#include <fcntl.h>
#include <stdlib.h>
#include <unistd.h>

#include <cstdint>

namespace platform {
namespace {

// Fields end with this character, which no text of the machine contains.
constexpr char kEnd = '\x1F';

std::string Take(std::string_view& text) {
  const size_t end = std::min(text.find(kEnd), text.size());
  std::string field(text.substr(0, end));
  text.remove_prefix(std::min(end + 1, text.size()));
  return field;
}

ProcessRecord Decode(std::string_view text) {
  ProcessRecord record;
  record.exit_code_pipe = std::atoi(Take(text).c_str());
  record.command_line = ToWide(Take(text));
  record.directory = ToWide(Take(text));
  while (!text.empty()) {
    const std::string name = Take(text);
    record.facts[name] = Take(text);
  }
  return record;
}

// The host cuts exit codes to 8 bits.
void SendExitCode(int code, void*) {
  const int pipe = ProcessRecord::Own().exit_code_pipe;
  const auto whole = static_cast<uint32_t>(code);
  (void)!write(pipe, &whole, sizeof whole);
}

// Before anything of the program runs: what it starts itself shall find neither the variable nor
// the pipe.
[[gnu::constructor]] void TakeRecord() {
  const char* const told = getenv(ProcessRecord::kVariable);
  if (told == nullptr) return;
  ProcessRecord& own = ProcessRecord::Own();
  own = Decode(told);
  unsetenv(ProcessRecord::kVariable);
  if (own.exit_code_pipe < 0 || fcntl(own.exit_code_pipe, F_SETFD, FD_CLOEXEC) != 0) return;
  on_exit(SendExitCode, nullptr);
}

}  // namespace

ProcessRecord& ProcessRecord::Own() {
  static ProcessRecord* own = new ProcessRecord;
  return *own;
}

std::string ProcessRecord::Encode() const {
  std::string text = std::to_string(exit_code_pipe) + kEnd;
  text += ToUtf8(command_line) + kEnd;
  text += ToUtf8(directory) + kEnd;
  for (const auto& [name, value] : facts) text += name + kEnd + value + kEnd;
  return text;
}

}  // namespace platform
