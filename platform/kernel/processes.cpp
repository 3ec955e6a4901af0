#include "platform/kernel/processes.h"

#include <dlfcn.h>
#include <errno.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <filesystem>
#include <thread>

#include "platform/control/facts.h"
#include "platform/kernel/api_call.h"
#include "platform/kernel/batch_script.h"
#include "platform/kernel/clock.h"
#include "platform/kernel/host_error.h"
#include "platform/kernel/machine.h"
#include "platform/kernel/path.h"
#include "platform/kernel/programs.h"
#include "platform/kernel/result.h"
#include "platform/kernel/system_version.h"
#include "platform/security/rights.h"
#include "platform/security/token.h"
#include "platform/services/sessions.h"

extern char** environ;

namespace platform {
namespace {

// Exit codes of programs that a signal of the host ended.
constexpr DWORD kAccessViolation = 0xC0000005;
constexpr DWORD kTerminated = 1;

constexpr WideView kInterpreter = TEXT("command.com /c ");

// The program that runs scripts lies beside the layer.
std::filesystem::path ScriptRunner() {
  Dl_info info = {};
  dladdr(reinterpret_cast<const void*>(&CheckBatchScript), &info);
  return std::filesystem::absolute(info.dli_fname).parent_path() / "kvcmd";
}

// The script that a command line runs, without what starts it on Windows 9x and without quotes.
WideString ScriptOf(WideView command_line) {
  const bool is_9x = InstalledVersion().platform != VER_PLATFORM_WIN32_NT;
  if (is_9x && EqualNoCase(command_line.substr(0, kInterpreter.size()), kInterpreter)) {
    command_line.remove_prefix(kInterpreter.size());
  }
  if (command_line.size() >= 2 && command_line.front() == '"' && command_line.back() == '"') {
    command_line = command_line.substr(1, command_line.size() - 2);
  }
  return WideString(command_line);
}

DWORD StartScript(WideView command_line, std::shared_ptr<ScriptProcess>& process) {
  const WideString script = ScriptOf(command_line);
  const ResolvedPath resolved = ResolvePath(script);
  if (!resolved.Exists()) return resolved.error;
  if (script.size() < 4 || !EqualNoCase(WideView(script).substr(script.size() - 4), TEXT(".bat"))) {
    return ERROR_BAD_EXE_FORMAT;
  }
  const DWORD error = CheckBatchScript(resolved.windows);
  if (error != ERROR_SUCCESS) return error;
  const std::filesystem::path runner = ScriptRunner();
  if (access(runner.c_str(), X_OK) != 0) return ERROR_FILE_NOT_FOUND;
  process = std::make_shared<ScriptProcess>(
      std::vector<std::string>{runner, Machine::Current().directory(), ToUtf8(resolved.windows)});
  return ERROR_SUCCESS;
}

// Identifiers of what has been made but may never run.
DWORD NextIdentifier() {
  static std::atomic<DWORD> last = 0x10000;
  return last += 4;
}

// The code of a child that has ended, as the host tells it.
DWORD CodeOfStatus(int status) {
  if (WIFEXITED(status)) return static_cast<DWORD>(WEXITSTATUS(status));
  return WTERMSIG(status) == SIGSEGV ? kAccessViolation : kTerminated;
}

// What a process is told that runs with the token.
ProcessFacts FactsOfToken(const Token& token) {
  const User user = token.Owner();
  ProcessFacts told = FactsOfElevation(user.IsElevated());
  told[facts::kUserName] = ToUtf8(user.name());
  told[facts::kUserSid] = ToUtf8(user.SidText());
  told[facts::kUserIsAdministrator] = std::to_string(user.IsAdministrator() ? 1 : 0);
  return told;
}

DWORD RunScript(WideView command_line, PROCESS_INFORMATION& information) {
  std::shared_ptr<ScriptProcess> script;
  const DWORD error = StartScript(command_line, script);
  if (error != ERROR_SUCCESS) return error;
  information = {OpenHandle(script), OpenHandle(std::make_shared<ProcessThread>(script)),
                 NextIdentifier(), NextIdentifier()};
  return ERROR_SUCCESS;
}

}  // namespace

std::shared_ptr<Process> Process::Watch(pid_t id, int exit_code_pipe) {
  auto process = std::make_shared<Process>(id);
  std::thread([process, exit_code_pipe] {
    int status = 0;
    while (waitpid(process->id_, &status, 0) < 0 && errno == EINTR) {
    }
    uint32_t code = CodeOfStatus(status);
    uint32_t whole = 0;
    if (WIFEXITED(status) && read(exit_code_pipe, &whole, sizeof whole) == sizeof whole) {
      code = whole;
    }
    close(exit_code_pipe);
    process->End(code);
  }).detach();
  return process;
}

void Process::End(DWORD exit_code) {
  {
    std::lock_guard lock(mutex_);
    exit_code_ = exit_code;
  }
  WakeWaiters();
}

std::optional<DWORD> Process::ExitCode() const {
  std::lock_guard lock(mutex_);
  return exit_code_;
}

DWORD RunProgram(WideView command_line, const ProcessFacts& facts,
                 PROCESS_INFORMATION& information) {
  std::filesystem::path program;
  DWORD error = FindProgramOfLine(command_line, program);
  std::shared_ptr<Process> process;
  if (error == ERROR_SUCCESS) error = StartProgram(program, command_line, facts, process);
  if (error != ERROR_SUCCESS) return error;
  information = {OpenHandle(process), OpenHandle(std::make_shared<ProcessThread>(nullptr)),
                 process->id(), process->id()};
  return ERROR_SUCCESS;
}

DWORD ScriptProcess::Resume(bool& was_suspended) {
  std::lock_guard lock(mutex_);
  was_suspended = !command_.empty();
  if (!was_suspended) return ERROR_SUCCESS;
  std::vector<char*> arguments;
  for (std::string& argument : command_) arguments.push_back(argument.data());
  arguments.push_back(nullptr);
  pid_t child = 0;
  const int error = posix_spawn(&child, arguments[0], nullptr, nullptr, arguments.data(), environ);
  if (error != 0) return ErrorOfErrno(error);
  command_.clear();
  // The runner leaves its work to a process that nobody waits for, and ends at once.
  waitpid(child, nullptr, 0);
  return ERROR_SUCCESS;
}

bool ScriptProcess::Cancel() {
  std::lock_guard lock(mutex_);
  const bool was_suspended = !command_.empty();
  command_.clear();
  return was_suspended;
}

}  // namespace platform

using namespace platform;

BOOL WINAPI CreateProcessW(LPCWSTR application, LPWSTR command_line,
                           LPSECURITY_ATTRIBUTES process_attributes,
                           LPSECURITY_ATTRIBUTES thread_attributes, BOOL inherit_handles,
                           DWORD flags, LPVOID environment, LPCWSTR directory,
                           LPSTARTUPINFOW startup, LPPROCESS_INFORMATION information) {
  KV_API(CreateProcessW, ERROR_ACCESS_DENIED, FALSE, application, command_line, process_attributes,
         thread_attributes, inherit_handles, flags, environment, directory, startup, information);
  const bool usual = application == nullptr && !inherit_handles && environment == nullptr &&
                     directory == nullptr && command_line != nullptr;
  if (usual && flags == 0) return Finish(RunProgram(View(command_line), {}, *information));
  if (usual && flags == (CREATE_SUSPENDED | IDLE_PRIORITY_CLASS)) {
    return Finish(RunScript(View(command_line), *information));
  }
  return Finish(ERROR_CALL_NOT_IMPLEMENTED);
}

BOOL WINAPI CreateProcessWithTokenW(HANDLE token, DWORD logon_flags, LPCWSTR application,
                                    LPWSTR command_line, DWORD flags, LPVOID environment,
                                    LPCWSTR directory, LPSTARTUPINFOW startup,
                                    LPPROCESS_INFORMATION information) {
  KV_API(CreateProcessWithTokenW, ERROR_PRIVILEGE_NOT_HELD, FALSE, token, logon_flags, application,
         command_line, flags, environment, directory, startup, information);
  constexpr DWORD kNeeded = TOKEN_QUERY | TOKEN_DUPLICATE | TOKEN_ASSIGN_PRIMARY;
  const bool usual = logon_flags == 0 && application == nullptr && flags == 0 &&
                     environment == nullptr && directory == nullptr && command_line != nullptr;
  if (!usual) return Finish(ERROR_CALL_NOT_IMPLEMENTED);
  if (!CallerHasPrivilege(TEXT("SeImpersonatePrivilege"))) return Finish(ERROR_PRIVILEGE_NOT_HELD);
  const auto handle = ObjectOf<TokenHandle>(token);
  if (handle == nullptr) return Finish(ERROR_INVALID_HANDLE);
  if (!handle->Allows(kNeeded)) return Finish(ERROR_ACCESS_DENIED);
  return Finish(RunProgram(View(command_line), FactsOfToken(*handle->token()), *information));
}

HANDLE WINAPI OpenProcess(DWORD access, BOOL inherit, DWORD id) {
  KV_API(OpenProcess, ERROR_ACCESS_DENIED, nullptr, access, inherit, id);
  if (access != PROCESS_QUERY_INFORMATION || inherit) {
    SetLastError(ERROR_CALL_NOT_IMPLEMENTED);
    return nullptr;
  }
  for (const SessionProcess& process : AllProcesses()) {
    if (process.id == id) return OpenHandle(std::make_shared<OpenedProcess>(id));
  }
  SetLastError(ERROR_INVALID_PARAMETER);
  return nullptr;
}

BOOL WINAPI GetExitCodeProcess(HANDLE process, LPDWORD exit_code) {
  KV_API(GetExitCodeProcess, ERROR_INVALID_HANDLE, FALSE, process, exit_code);
  const auto object = ObjectOf<Process>(process);
  if (object == nullptr) return Finish(ERROR_INVALID_HANDLE);
  *exit_code = object->ExitCode().value_or(STILL_ACTIVE);
  return TRUE;
}

BOOL WINAPI SetThreadPriority(HANDLE thread, int priority) {
  KV_API(SetThreadPriority, ERROR_INVALID_HANDLE, FALSE, thread, priority);
  if (ObjectOf<ProcessThread>(thread) == nullptr) return Finish(ERROR_INVALID_HANDLE);
  // Scripts run at the lowest priority anyway.
  return Finish(priority == THREAD_PRIORITY_IDLE ? ERROR_SUCCESS : ERROR_CALL_NOT_IMPLEMENTED);
}

DWORD WINAPI ResumeThread(HANDLE thread) {
  constexpr DWORD kFailed = static_cast<DWORD>(-1);
  KV_API(ResumeThread, ERROR_INVALID_HANDLE, kFailed, thread);
  const auto object = ObjectOf<ProcessThread>(thread);
  bool was_suspended = false;
  const DWORD error = object == nullptr             ? ERROR_INVALID_HANDLE
                      : object->script() == nullptr ? ERROR_SUCCESS
                                                    : object->script()->Resume(was_suspended);
  return Finish(error) ? (was_suspended ? 1 : 0) : kFailed;
}

BOOL WINAPI TerminateProcess(HANDLE process, UINT exit_code) {
  KV_API(TerminateProcess, ERROR_ACCESS_DENIED, FALSE, process, exit_code);
  const auto script = ObjectOf<ScriptProcess>(process);
  if (script == nullptr) return Finish(ERROR_INVALID_HANDLE);
  return Finish(script->Cancel() ? ERROR_SUCCESS : ERROR_CALL_NOT_IMPLEMENTED);
}
