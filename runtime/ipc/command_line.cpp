#include "runtime/ipc/command_line.h"

#include <algorithm>
#include <new>

#include "runtime/text/wide_text.h"

namespace kv {

CommandLine::CommandLine(LPCWSTR program, LPCWSTR arguments) {
  const WideView first = View(program);
  const WideView rest = View(arguments);
  text_.reset(new (std::nothrow) WCHAR[first.size() + rest.size() + 2]);
  if (text_ == nullptr) return;
  LPWSTR end = std::copy(first.begin(), first.end(), text_.get());
  if (!rest.empty()) {
    *end++ = ' ';
    end = std::copy(rest.begin(), rest.end(), end);
  }
  *end = 0;
}

STARTUPINFOW StartupInfo(int show) {
  STARTUPINFOW startup = {};
  startup.cb = sizeof(startup);
  startup.dwFlags = STARTF_USESHOWWINDOW;
  startup.wShowWindow = static_cast<WORD>(show);
  return startup;
}

}  // namespace kv
