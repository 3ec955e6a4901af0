#include "runtime/ipc/process_start.h"

#include "runtime/core/find_proc.h"
#include "runtime/core/messages.h"
#include "runtime/core/startup_context.h"
#include "runtime/ipc/administrator.h"
#include "runtime/ipc/command_line.h"
#include "runtime/ipc/deadline.h"
#include "runtime/ipc/process_token.h"
#include "runtime/ipc/waits.h"
#include "runtime/text/wide_text.h"
#include "runtime/ui/pump_messages.h"

namespace kv {
namespace {

constexpr DWORD kRetryDelay = 3000;

// Starts the command line, trying up to `attempts` times; the process, or empty with the last try's
// last error. Failures are reported unless quiet, those of memory as `noMemory`.
UniqueHandle StartWithRetries(LPCWSTR commandLine, int show, int attempts, Quiet quiet,
                              LPCWSTR noMemory) {
  CommandLine line(commandLine);
  if (!line) {
    if (quiet == Quiet::kNo) ShowInternalError(noMemory);
    SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return UniqueHandle();
  }
  STARTUPINFOW startup = StartupInfo(show);
  PROCESS_INFORMATION started = {};
  SetLastError(ERROR_INVALID_PARAMETER);
  for (int remaining = attempts; remaining > 0; --remaining) {
    if (CreateProcessW(nullptr, line.text(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup,
                       &started)) {
      CloseHandle(started.hThread);
      return UniqueHandle(started.hProcess);
    }
    if (remaining > 1) Sleep(kRetryDelay);
  }
  if (quiet == Quiet::kNo) ShowLastError(TEXT("CreateProcess"));
  return UniqueHandle();
}

// Handles the thread's messages until the process has ended, the time is over or the thread must
// quit.
void WaitPumping(HANDLE process, DWORD timeout) {
  Deadline deadline(timeout);
  while (PumpMessages(nullptr) && deadline.Update()) {
    if (MsgWaitForMultipleObjects(1, &process, FALSE, deadline.left(), QS_ALLINPUT) !=
        WAIT_OBJECT_0 + 1) {
      return;
    }
  }
}

BOOL ExitSystem(UINT flags) {
  if (!EnablePrivilege(TEXT("SeShutdownPrivilege"), TRUE)) return FALSE;
  ExitWindowsEx(flags, 0);
  return TRUE;
}

template <class Function>
Function FindRedirectionFunction(LPCSTR name) {
  if (startupContext.platform.wow64Arch == 0) return nullptr;
  return FindProc<Function>(TEXT("kernel32"), name);
}

}  // namespace

BOOL MyCreateProcess(LPCWSTR commandLine, int show, int attempts, Wait wait, DWORD timeout,
                     Quiet quiet, DWORD* exitCode) {
  if (exitCode != nullptr) *exitCode = 0;
  const UniqueHandle process =
      StartWithRetries(commandLine, show, attempts, quiet, TEXT("MyCreateProcess _tcsdup"));
  if (!process) return FALSE;
  if (wait == Wait::kYes) WaitPumping(process.Get(), timeout);
  DWORD code = 0;
  GetExitCodeProcess(process.Get(), &code);
  if (exitCode != nullptr) *exitCode = code;
  return TRUE;
}

BOOL CreateProcessWithProgress(LPCWSTR commandLine, int show, int attempts, DWORD timeout,
                               LPCWSTR className, LPCWSTR title, LPCWSTR text, LPCWSTR cancelText) {
  if (View(className).empty()) {
    return MyCreateProcess(commandLine, show, attempts, Wait::kYes, timeout, Quiet::kNo, nullptr);
  }
  const UniqueHandle process = StartWithRetries(
      commandLine, show, attempts, Quiet::kNo, TEXT("could not allocate buffer for CreateProcess"));
  if (!process) return FALSE;
  const HANDLE handle = process.Get();
  return WaitForMultipleObjectsWithProgress(&handle, 1, FALSE, timeout, className, title, text,
                                            cancelText);
}

BOOL ShellRun(LPCWSTR verb, LPCWSTR file, LPCWSTR parameters, int show, Wait wait) {
  SHELLEXECUTEINFOW info = {};
  info.cbSize = sizeof(info);
  info.fMask = SEE_MASK_NOCLOSEPROCESS;
  info.hwnd = GetDesktopWindow();
  info.lpVerb = verb;
  info.lpFile = file;
  info.lpParameters = parameters;
  info.nShow = show;
  if (!ShellExecuteExW(&info)) return FALSE;
  // A document may be shown by a program that runs already.
  if (info.hProcess == nullptr) return TRUE;
  if (wait == Wait::kYes) WaitForSingleObject(info.hProcess, INFINITE);
  CloseHandle(info.hProcess);
  return TRUE;
}

BOOL RunWithElevation(LPCWSTR file, LPCWSTR parameters, int elevation, int show, Wait wait) {
  DWORD elevated = 0;
  IsAdministrator(&elevated);
  if (elevation >= 1 && elevated == 0) return ShellRun(TEXT("runas"), file, parameters, show, wait);
  if (elevation == 0 && elevated != 0) return RunAsShellUser(file, parameters, show, wait);
  return ShellRun(TEXT("open"), file, parameters, show, Wait::kYes);
}

BOOL RestartWindows() {
  return ExitSystem(EWX_REBOOT);
}

BOOL ShutDownWindows() {
  return ExitSystem(EWX_SHUTDOWN);
}

LPCWSTR GetCommandLineArguments() {
  const LPCWSTR line = GetCommandLineW();
  const WideView text = View(line);
  const bool quoted = !text.empty() && text.front() == '"';
  const size_t end = quoted ? text.find('"', 1) : text.find(' ');
  const size_t first = end == WideView::npos ? end : text.find_first_not_of(' ', end + 1);
  return first == WideView::npos ? TEXT("") : line + first;
}

BOOL DisableWow64FsRedirection(PVOID* oldValue) {
  *oldValue = nullptr;
  const auto disable =
      FindRedirectionFunction<BOOL(WINAPI*)(PVOID*)>("Wow64DisableWow64FsRedirection");
  return disable != nullptr && disable(oldValue);
}

BOOL RevertWow64FsRedirection(PVOID oldValue) {
  const auto revert =
      FindRedirectionFunction<BOOL(WINAPI*)(PVOID)>("Wow64RevertWow64FsRedirection");
  return revert != nullptr && revert(oldValue);
}

}  // namespace kv
