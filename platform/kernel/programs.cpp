#include "platform/kernel/programs.h"

#include <errno.h>
#include <fcntl.h>
#include <shellapi.h>
#include <spawn.h>
#include <string.h>
#include <unistd.h>

#include <fstream>
#include <vector>

#include "platform/control/facts.h"
#include "platform/kernel/environment.h"
#include "platform/kernel/host_error.h"
#include "platform/kernel/installation.h"
#include "platform/kernel/machine.h"
#include "platform/kernel/modules.h"
#include "platform/kernel/path.h"
#include "platform/kernel/process_record.h"

extern char** environ;

namespace platform {
namespace {

constexpr WideView kExtension = TEXT(".exe");

// Whether the host can run the file; the error code.
DWORD CheckProgram(const std::filesystem::path& host) {
  std::ifstream file(host, std::ios::binary);
  char begin[4] = {};
  file.read(begin, sizeof begin);
  const bool runs = memcmp(begin,
                           "\x7F"
                           "ELF",
                           4) == 0 ||
                    memcmp(begin, "#!", 2) == 0;
  if (!runs) return ERROR_BAD_EXE_FORMAT;
  return access(host.c_str(), X_OK) == 0 ? ERROR_SUCCESS : ERROR_ACCESS_DENIED;
}

// The file at a path, which may lack its extension.
DWORD FindAt(WideView path, std::filesystem::path& host) {
  DWORD error = ERROR_FILE_NOT_FOUND;
  const bool has_extension = BaseName(path).find('.') != WideView::npos;
  for (const bool add : {true, false}) {
    if (add && has_extension) continue;
    const ResolvedPath found =
        ResolvePath(add ? WideString(path).append(kExtension) : WideString(path));
    error = found.error;
    if (!found.Exists() || found.is_device || std::filesystem::is_directory(found.host)) continue;
    host = found.host;
    return ERROR_SUCCESS;
  }
  return error == ERROR_SUCCESS ? ERROR_ACCESS_DENIED : error;
}

std::vector<WideString> SearchedDirectories() {
  std::vector<WideString> directories = {WideString(DirectoryOf(ModulePath(nullptr))),
                                         Machine::Current().Part<CurrentDirectory>().Get(),
                                         SystemDirectory(), WindowsDirectory()};
  const WideString path = EnvironmentVariable(TEXT("PATH")).value_or(WideString());
  for (WideView rest = path; !rest.empty();) {
    const size_t end = std::min(rest.find(';'), rest.size());
    if (end != 0) directories.emplace_back(rest.substr(0, end));
    rest.remove_prefix(std::min(end + 1, rest.size()));
  }
  return directories;
}

// The arguments behind the program, in the quoting of command lines.
std::vector<std::string> ArgumentsOf(WideView command_line) {
  int count = 0;
  const LPWSTR* const parts = CommandLineToArgvW(WideString(command_line).c_str(), &count);
  std::vector<std::string> arguments;
  for (int i = 1; i < count; ++i) arguments.push_back(ToUtf8(parts[i]));
  LocalFree(const_cast<LPWSTR*>(parts));
  return arguments;
}

std::vector<char*> Pointers(std::vector<std::string>& texts) {
  std::vector<char*> pointers;
  pointers.reserve(texts.size() + 1);
  for (std::string& text : texts) pointers.push_back(text.data());
  pointers.push_back(nullptr);
  return pointers;
}

std::vector<std::string> Environment(const ProcessRecord& record) {
  const std::string machine = "KV_MACHINE=";
  const std::string told = std::string(ProcessRecord::kVariable) + "=";
  std::vector<std::string> variables = {machine + Machine::Current().directory().string(),
                                        told + record.Encode()};
  for (char** variable = environ; *variable != nullptr; ++variable) {
    const std::string_view text = *variable;
    if (!text.starts_with(machine) && !text.starts_with(told)) variables.emplace_back(text);
  }
  return variables;
}

}  // namespace

DWORD FindProgram(WideView name, std::filesystem::path& host) {
  if (name.empty()) return ERROR_PATH_NOT_FOUND;
  DWORD error = ERROR_FILE_NOT_FOUND;
  if (name.find_first_of(TEXT("\\/:")) != WideView::npos) {
    error = FindAt(name, host);
  } else {
    for (const WideString& directory : SearchedDirectories()) {
      error = FindAt(directory + TEXT("\\") + WideString(name), host);
      if (error == ERROR_SUCCESS) break;
      error = ERROR_FILE_NOT_FOUND;
    }
  }
  return error == ERROR_SUCCESS ? CheckProgram(host) : error;
}

DWORD FindProgramOfLine(WideView command_line, std::filesystem::path& host) {
  if (command_line.starts_with('"')) {
    const size_t close = std::min(command_line.find('"', 1), command_line.size());
    return FindProgram(command_line.substr(1, close - 1), host);
  }
  DWORD first_error = ERROR_SUCCESS;
  for (size_t end = 0; end < command_line.size();) {
    end = std::min(command_line.find(' ', end + 1), command_line.size());
    const DWORD error = FindProgram(command_line.substr(0, end), host);
    if (error == ERROR_SUCCESS) return error;
    if (first_error == ERROR_SUCCESS) first_error = error;
  }
  return first_error == ERROR_SUCCESS ? ERROR_PATH_NOT_FOUND : first_error;
}

DWORD StartProgram(const std::filesystem::path& host, WideView command_line,
                   const ProcessFacts& facts, std::shared_ptr<Process>& process) {
  int exit_pipe[2];
  if (pipe2(exit_pipe, O_CLOEXEC | O_NONBLOCK) != 0) return ErrorOfErrno(errno);
  ProcessRecord record;
  record.command_line = command_line;
  record.directory = Machine::Current().Part<CurrentDirectory>().Get();
  // What the parent has been told holds for its children, but for what they are told anew.
  record.facts = ProcessRecord::Own().facts;
  for (const auto& [name, value] : facts) record.facts[name] = value;
  record.exit_code_pipe = exit_pipe[1];

  std::vector<std::string> arguments = ArgumentsOf(command_line);
  arguments.insert(arguments.begin(), host.string());
  std::vector<std::string> variables = Environment(record);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  // Onto itself: the child keeps it.
  posix_spawn_file_actions_adddup2(&actions, exit_pipe[1], exit_pipe[1]);
  pid_t child = 0;
  const int error = posix_spawn(&child, host.c_str(), &actions, nullptr, Pointers(arguments).data(),
                                Pointers(variables).data());
  posix_spawn_file_actions_destroy(&actions);
  close(exit_pipe[1]);
  if (error != 0) {
    close(exit_pipe[0]);
    return ErrorOfErrno(error);
  }
  process = Process::Watch(child, exit_pipe[0]);
  return ERROR_SUCCESS;
}

ProcessFacts FactsOfElevation(bool elevated) {
  ProcessFacts told;
  told[facts::kUserIsElevated] = elevated ? "1" : "0";
  told[facts::kUserIntegrity] =
      std::to_string(elevated ? SECURITY_MANDATORY_HIGH_RID : SECURITY_MANDATORY_MEDIUM_RID);
  return told;
}

}  // namespace platform
