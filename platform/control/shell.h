// What programs ask the shell for: ShellExecuteExW and ShellExecuteW. A test refuses it with
// FailCall; whether a user agrees to elevation is a fact (see facts.h).
#pragma once

#include <windows.h>

#include <string>
#include <vector>

namespace platform {

struct ShellRequest {
  std::basic_string<WCHAR> verb;  // "open" also when the program named none
  std::basic_string<WCHAR> file;  // a path or an address, as the program gave it
  std::basic_string<WCHAR> parameters;
  int show;     // SW_…
  bool starts;  // whether a program was started; documents and addresses are only noted
};

// The requests of this process on this machine that were not refused, in their order.
std::vector<ShellRequest> ShellRequests();

}  // namespace platform
