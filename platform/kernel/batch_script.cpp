#include "platform/kernel/batch_script.h"

#include <unistd.h>

#include <optional>
#include <vector>

#include "platform/kernel/code_page.h"
#include "platform/kernel/environment.h"
#include "platform/kernel/files.h"
#include "platform/kernel/name_pattern.h"

namespace platform {
namespace {

constexpr size_t kLongestScript = 64 * 1024;
constexpr useconds_t kPauseBetweenRounds = 50'000;

enum class Action { kNothing, kLabel, kGoto, kUnlessExists, kDelete };

struct Command {
  Action action = Action::kNothing;
  WideString path;
  WideString label;
};

WideView Trimmed(WideView text) {
  const size_t first = text.find_first_not_of(TEXT(" \t\r"));
  if (first == WideView::npos) return {};
  return text.substr(first, text.find_last_not_of(TEXT(" \t\r")) + 1 - first);
}

// Takes a word off the front of the text, whatever its case.
bool TakeWord(WideView& text, WideView word) {
  if (!EqualNoCase(text.substr(0, word.size()), word)) return false;
  text = Trimmed(text.substr(word.size()));
  return true;
}

// A line as the shell sees it once it has replaced what stands behind percent signs: "%%" is one of
// them, "%0" the script, "%1" to "%9" and "%*" its arguments, which it has none of, and "%NAME%" a
// variable. A sign without any of these goes.
WideString WithoutPercents(WideView line, WideView script) {
  WideString text;
  for (size_t at = 0; at < line.size(); ++at) {
    const WCHAR next = at + 1 < line.size() ? line[at + 1] : WCHAR{0};
    if (line[at] != '%') {
      text += line[at];
    } else if (next == '%' || next == '*' || (next >= '0' && next <= '9')) {
      if (next == '%') text += next;
      if (next == '0') text += script;
      ++at;
    } else if (const size_t close = line.find('%', at + 1); close != WideView::npos) {
      text += EnvironmentVariable(line.substr(at + 1, close - at - 1)).value_or(TEXT(""));
      at = close;
    }
  }
  return text;
}

bool TakeQuoted(WideView& text, WideString& path) {
  const size_t close = text.find('"', 1);
  if (!text.starts_with('"') || close == WideView::npos) return false;
  path = text.substr(1, close - 1);
  text = Trimmed(text.substr(close + 1));
  return true;
}

std::optional<Command> Parse(WideView line) {
  Command command;
  WideView rest = Trimmed(line);
  if (rest.empty() || EqualNoCase(rest, TEXT("@echo off"))) return command;
  if (rest.starts_with(':')) {
    command.action = Action::kLabel;
    command.label = rest.substr(1);
    return command;
  }
  if (TakeWord(rest, TEXT("if not exist "))) {
    command.action = Action::kUnlessExists;
    if (!TakeQuoted(rest, command.path) || !TakeWord(rest, TEXT("goto "))) return std::nullopt;
    command.label = rest;
    return command;
  }
  if (TakeWord(rest, TEXT("goto "))) {
    command.action = Action::kGoto;
    command.label = rest;
    return command;
  }
  if (TakeWord(rest, TEXT("del "))) {
    command.action = Action::kDelete;
    if (TakeQuoted(rest, command.path) && rest.empty()) return command;
  }
  return std::nullopt;
}

DWORD ReadScript(WideView path, std::vector<Command>& script) {
  std::shared_ptr<File> file;
  bool existed = false;
  DWORD error = File::Open(path, {GENERIC_READ, kShareAll, OPEN_EXISTING, 0}, file, existed);
  if (error != ERROR_SUCCESS) return error;
  std::vector<BYTE> content;
  error = ReadHostFile(file->descriptor(), kLongestScript, content);
  if (error != ERROR_SUCCESS) return error;
  const WideString text = WideFromBytes(
      CP_OEMCP, std::string_view(reinterpret_cast<const char*>(content.data()), content.size()));
  for (WideView rest = text; !rest.empty();) {
    const size_t end = std::min(rest.find('\n'), rest.size());
    const auto command = Parse(WithoutPercents(rest.substr(0, end), path));
    if (!command) return ERROR_BAD_FORMAT;
    script.push_back(*command);
    rest.remove_prefix(std::min(end + 1, rest.size()));
  }
  return ERROR_SUCCESS;
}

// The line behind the label; the end of the script when there is none.
size_t FindLabel(const std::vector<Command>& script, WideView label) {
  for (size_t i = 0; i < script.size(); ++i) {
    if (script[i].action == Action::kLabel && EqualNoCase(script[i].label, label)) return i + 1;
  }
  return script.size();
}

// What a path names, or with wildcards all that it matches.
std::vector<WideString> Named(const WideString& path) {
  if (!NamePattern::HasWildcards(path)) {
    return ResolvePath(path).Exists() ? std::vector{path} : std::vector<WideString>();
  }
  std::vector<WideString> found;
  WIN32_FIND_DATAW entry;
  const HANDLE search = FindFirstFileW(path.c_str(), &entry);
  for (BOOL more = search != INVALID_HANDLE_VALUE; more; more = FindNextFileW(search, &entry)) {
    found.push_back(path.substr(0, path.size() - BaseName(path).size()) + entry.cFileName);
  }
  FindClose(search);
  return found;
}

// Files that are hidden or protected stay, and so do directories, whose deletion nobody confirms.
void Delete(const WideString& path) {
  constexpr DWORD kStays = FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM;
  for (const WideString& name : Named(path)) {
    const ResolvedPath resolved = ResolvePath(name);
    if (!resolved.Exists() || resolved.is_device) continue;
    if ((NameAttributes(resolved.host) & kStays) == 0) DeleteHostFile(resolved.host);
  }
}

}  // namespace

DWORD CheckBatchScript(WideView path) {
  std::vector<Command> script;
  return ReadScript(path, script);
}

int RunBatchScript(WideView path) {
  std::vector<Command> script;
  if (ReadScript(path, script) != ERROR_SUCCESS) return 1;
  for (size_t next = 0; next < script.size();) {
    // A script that has lost its file ends, as the system reads on in it line by line.
    if (!ResolvePath(path).Exists()) return 1;
    const Command& command = script[next++];
    if (command.action == Action::kDelete) Delete(command.path);
    const bool jumps = command.action == Action::kGoto ||
                       (command.action == Action::kUnlessExists && Named(command.path).empty());
    if (!jumps) continue;
    const size_t target = FindLabel(script, command.label);
    if (target < next) usleep(kPauseBetweenRounds);
    next = target;
  }
  return 0;
}

}  // namespace platform
