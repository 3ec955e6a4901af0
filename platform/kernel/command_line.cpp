// The command line of the process, in the quoting that CommandLineToArgvW takes apart again.
#include <shellapi.h>
#include <string.h>
#include <windows.h>

#include <fstream>
#include <iterator>
#include <vector>

#include "platform/kernel/api_call.h"
#include "platform/kernel/modules.h"
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

bool IsBlank(WCHAR c) {
  return c == ' ' || c == '\t';
}

void SkipBlanks(WideView line, size_t& at) {
  while (at < line.size() && IsBlank(line[at])) ++at;
}

// The program's name, in which backslashes are what they are: up to the second of two quotes, or up
// to a blank. `at` moves behind it.
WideString TakeProgram(WideView line, size_t& at) {
  const bool quoted = line.starts_with('"');
  const size_t end = quoted ? line.find('"', 1) : line.find_first_of(TEXT(" \t"));
  const WideView name = line.substr(0, end).substr(quoted ? 1 : 0);
  at = end == WideView::npos ? line.size() : end + (quoted ? 1 : 0);
  SkipBlanks(line, at);
  return WideString(name);
}

// One argument from `at` on, which moves behind it.
WideString TakeArgument(WideView line, size_t& at) {
  WideString argument;
  bool quoted = false;
  while (at < line.size() && (quoted || !IsBlank(line[at]))) {
    size_t backslashes = 0;
    while (at < line.size() && line[at] == '\\') ++backslashes, ++at;
    if (at < line.size() && line[at] == '"') {
      argument.append(backslashes / 2, '\\');
      if (backslashes % 2 != 0) {
        argument += '"';
      } else {
        // The quote that ends a quoted part is doubled to stand for itself.
        if (quoted && at + 1 < line.size() && line[at + 1] == '"') argument += line[++at];
        quoted = !quoted;
      }
      ++at;
      continue;
    }
    argument.append(backslashes, '\\');
    if (at < line.size() && (quoted || !IsBlank(line[at])) && backslashes == 0) {
      argument += line[at++];
    }
  }
  SkipBlanks(line, at);
  return argument;
}

std::vector<WideString> SplitCommandLine(WideView line) {
  if (line.empty()) return {ModulePath(nullptr)};
  size_t at = 0;
  std::vector<WideString> arguments = {TakeProgram(line, at)};
  while (at < line.size()) arguments.push_back(TakeArgument(line, at));
  return arguments;
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
  if (command_line == nullptr || count == nullptr) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return nullptr;
  }
  const std::vector<platform::WideString> arguments = platform::SplitCommandLine(command_line);
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
