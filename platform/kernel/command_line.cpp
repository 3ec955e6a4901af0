// The command line of the process, in the quoting that CommandLineToArgvW takes apart again.
#include <shellapi.h>
#include <string.h>
#include <windows.h>

#include <fstream>
#include <iterator>
#include <vector>

#include "platform/kernel/api_call.h"
#include "platform/kernel/process_record.h"
#include "platform/kernel/text.h"

namespace platform {
namespace {

WideString Quoted(WideView argument) {
  constexpr WCHAR kSpecial[] = TEXT(" \t\"");
  if (!argument.empty() && argument.find_first_of(kSpecial) == WideView::npos)
    return WideString(argument);
  WideString out(1, '"');
  size_t backslashes = 0;
  for (const WCHAR c : argument) {
    // Backslashes count double only where a quote follows.
    if (c == '"') out.append(backslashes + 1, '\\');
    backslashes = c == '\\' ? backslashes + 1 : 0;
    out += c;
  }
  return out.append(backslashes, '\\') + WCHAR('"');
}

WideString ReadCommandLine() {
  if (const WideString& told = ProcessRecord::Own().command_line; !told.empty()) return told;
  std::ifstream file("/proc/self/cmdline", std::ios::binary);
  const std::string all((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
  WideString line;
  for (size_t at = 0; at < all.size();) {
    const size_t end = std::min(all.find('\0', at), all.size());
    if (!line.empty()) line += ' ';
    line += Quoted(ToWide(std::string_view(all).substr(at, end - at)));
    at = end + 1;
  }
  return line;
}

// One argument from `at` on, which moves behind it. The program's name knows no backslash rules.
WideString TakeArgument(WideView line, size_t& at, bool program) {
  WideString argument;
  bool quoted = false;
  while (at < line.size() && (quoted || (line[at] != ' ' && line[at] != '\t'))) {
    size_t backslashes = 0;
    while (!program && at < line.size() && line[at] == '\\') ++backslashes, ++at;
    if (at < line.size() && line[at] == '"') {
      argument.append(backslashes / 2, '\\');
      if (backslashes % 2 != 0) {
        argument += '"';
      } else if (quoted && !program && at + 1 < line.size() && line[at + 1] == '"') {
        argument += '"';
        ++at;
      } else {
        quoted = !quoted;
      }
      ++at;
      continue;
    }
    argument.append(backslashes, '\\');
    if (at < line.size() && (quoted || (line[at] != ' ' && line[at] != '\t')) && backslashes == 0) {
      argument += line[at++];
    }
  }
  while (at < line.size() && (line[at] == ' ' || line[at] == '\t')) ++at;
  return argument;
}

}  // namespace
}  // namespace platform

LPWSTR WINAPI GetCommandLineW() {
  KV_API_NOFAIL(GetCommandLineW, nullptr);
  static platform::WideString* const line = new platform::WideString(platform::ReadCommandLine());
  return line->data();
}

LPWSTR* WINAPI CommandLineToArgvW(LPCWSTR command_line, int* count) {
  KV_API(CommandLineToArgvW, ERROR_NOT_ENOUGH_MEMORY, nullptr, command_line, count);
  const platform::WideView line = platform::View(command_line);
  std::vector<platform::WideString> arguments;
  for (size_t at = 0; at < line.size();)
    arguments.push_back(platform::TakeArgument(line, at, arguments.empty()));
  size_t characters = 0;
  for (const auto& argument : arguments) characters += argument.size() + 1;
  // One block, freed with LocalFree: the pointers, a null one behind them, then the texts.
  const size_t table = (arguments.size() + 1) * sizeof(LPWSTR);
  const auto pointers = static_cast<LPWSTR*>(LocalAlloc(0, table + characters * sizeof(WCHAR)));
  if (pointers == nullptr) return nullptr;
  LPWSTR text = reinterpret_cast<LPWSTR>(reinterpret_cast<BYTE*>(pointers) + table);
  for (size_t i = 0; i < arguments.size(); ++i) {
    pointers[i] = text;
    memcpy(text, arguments[i].c_str(), (arguments[i].size() + 1) * sizeof(WCHAR));
    text += arguments[i].size() + 1;
  }
  pointers[arguments.size()] = nullptr;
  *count = static_cast<int>(arguments.size());
  return pointers;
}
