// What CreateProcessW and its relatives are given.
#pragma once

#include <memory>

#include "runtime/core/win.h"

namespace kv {

// A copy of a command line that the system may write into.
class CommandLine {
 public:
  // The program and, behind a blank, the arguments; null counts as empty. Without memory the object
  // is empty.
  explicit CommandLine(LPCWSTR program, LPCWSTR arguments = nullptr);

  explicit operator bool() const { return text_ != nullptr; }
  LPWSTR text() { return text_.get(); }

 private:
  std::unique_ptr<WCHAR[]> text_;
};

// Start-up information that only says how the first window shows.
STARTUPINFOW StartupInfo(int show);

}  // namespace kv
