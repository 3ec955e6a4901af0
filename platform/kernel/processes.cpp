#include "platform/kernel/processes.h"

#include <dlfcn.h>
#include <errno.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <filesystem>

#include "platform/kernel/api_call.h"
#include "platform/kernel/batch_script.h"
#include "platform/kernel/host_error.h"
#include "platform/kernel/machine.h"
#include "platform/kernel/path.h"
#include "platform/kernel/result.h"
#include "platform/kernel/system_version.h"

extern char** environ;

namespace platform {
namespace {

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

DWORD StartScript(WideView command_line, std::shared_ptr<Process>& process) {
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
  process = std::make_shared<Process>(
      std::vector<std::string>{runner, Machine::Current().directory(), ToUtf8(resolved.windows)});
  return ERROR_SUCCESS;
}

// Identifiers of what has been made but may never run.
DWORD NextIdentifier() {
  static std::atomic<DWORD> last = 0x10000;
  return last += 4;
}

}  // namespace

DWORD Process::Resume(bool& was_suspended) {
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

}  // namespace platform

using namespace platform;

BOOL WINAPI CreateProcessW(LPCWSTR application, LPWSTR command_line,
                           LPSECURITY_ATTRIBUTES process_attributes,
                           LPSECURITY_ATTRIBUTES thread_attributes, BOOL inherit_handles,
                           DWORD flags, LPVOID environment, LPCWSTR directory,
                           LPSTARTUPINFOW startup, LPPROCESS_INFORMATION information) {
  KV_API(CreateProcessW, ERROR_ACCESS_DENIED, FALSE, application, command_line, process_attributes,
         thread_attributes, inherit_handles, flags, environment, directory, startup, information);
  const bool known = application == nullptr && !inherit_handles && environment == nullptr &&
                     directory == nullptr && flags == (CREATE_SUSPENDED | IDLE_PRIORITY_CLASS);
  if (!known) return Finish(ERROR_CALL_NOT_IMPLEMENTED);
  std::shared_ptr<Process> process;
  const DWORD error = StartScript(View(command_line), process);
  if (error != ERROR_SUCCESS) return Finish(error);
  *information = {OpenHandle(process), OpenHandle(std::make_shared<ProcessThread>(process)),
                  NextIdentifier(), NextIdentifier()};
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
  const DWORD error =
      object == nullptr ? ERROR_INVALID_HANDLE : object->process().Resume(was_suspended);
  return Finish(error) ? (was_suspended ? 1 : 0) : kFailed;
}
