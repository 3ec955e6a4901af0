// Running programs as the user of the desktop's shell.
#include "runtime/core/find_proc.h"
#include "runtime/core/handles.h"
#include "runtime/core/loaded_library.h"
#include "runtime/ipc/command_line.h"
#include "runtime/ipc/process_start.h"
#include "runtime/ipc/process_token.h"
#include "runtime/text/wide_text.h"

namespace kv {
namespace {

// What a new process needs of its token.
constexpr DWORD kTokenAccess = TOKEN_ASSIGN_PRIMARY | TOKEN_DUPLICATE | TOKEN_QUERY |
                               TOKEN_ADJUST_DEFAULT | TOKEN_ADJUST_SESSIONID;
static_assert(kTokenAccess == 0x18B);

using GetShellWindowFunction = HWND(WINAPI*)();
using DuplicateTokenExFunction = BOOL(WINAPI*)(HANDLE, DWORD, LPSECURITY_ATTRIBUTES,
                                               SECURITY_IMPERSONATION_LEVEL, TOKEN_TYPE, PHANDLE);
using CreateProcessWithTokenFunction = BOOL(WINAPI*)(HANDLE, DWORD, LPCWSTR, LPWSTR, DWORD, LPVOID,
                                                     LPCWSTR, LPSTARTUPINFOW,
                                                     LPPROCESS_INFORMATION);

// The functions that not every system has.
struct ShellUserFunctions {
  GetShellWindowFunction getShellWindow = nullptr;
  LoadedLibrary advapi32;
  CreateProcessWithTokenFunction createProcessWithToken = nullptr;
  DuplicateTokenExFunction duplicateTokenEx = nullptr;

  // FALSE when one is missing.
  BOOL Bind() {
    getShellWindow = FindProc<GetShellWindowFunction>(TEXT("user32.dll"), "GetShellWindow");
    if (getShellWindow == nullptr || !advapi32.Load(TEXT("advapi32.dll"), Quiet::kNo)) return FALSE;
    createProcessWithToken =
        FindProc<CreateProcessWithTokenFunction>(advapi32.handle(), "CreateProcessWithTokenW");
    duplicateTokenEx = FindProc<DuplicateTokenExFunction>(advapi32.handle(), "DuplicateTokenEx");
    return createProcessWithToken != nullptr && duplicateTokenEx != nullptr;
  }
};

// A primary token like that of the shell; empty when there is no shell or it may not be had.
UniqueHandle DuplicateShellToken(const ShellUserFunctions& functions) {
  UniqueHandle copy;
  const HWND shell = functions.getShellWindow();
  if (shell == nullptr) return copy;
  DWORD processId = 0;
  GetWindowThreadProcessId(shell, &processId);
  const UniqueHandle process(OpenProcess(PROCESS_QUERY_INFORMATION, FALSE, processId));
  UniqueHandle token;
  if (!process || !OpenProcessToken(process.Get(), TOKEN_DUPLICATE, token.Receive())) return copy;
  functions.duplicateTokenEx(token.Get(), kTokenAccess, nullptr, SecurityImpersonation,
                             TokenPrimary, copy.Receive());
  return copy;
}

}  // namespace

BOOL RunAsShellUser(LPCWSTR file, LPCWSTR parameters, int show, Wait wait) {
  if (View(file).empty()) return FALSE;
  ShellUserFunctions functions;
  if (!functions.Bind()) return FALSE;
  CommandLine line(file, parameters);
  if (!line) return FALSE;
  EnablePrivilege(TEXT("SeIncreaseQuotaPrivilege"), TRUE);
  const UniqueHandle token = DuplicateShellToken(functions);
  if (!token) return FALSE;
  STARTUPINFOW startup = StartupInfo(show);
  PROCESS_INFORMATION started = {};
  if (!functions.createProcessWithToken(token.Get(), 0, nullptr, line.text(), 0, nullptr, nullptr,
                                        &startup, &started)) {
    return FALSE;
  }
  const UniqueHandle thread(started.hThread);
  const UniqueHandle process(started.hProcess);
  if (wait == Wait::kYes) WaitForSingleObject(process.Get(), INFINITE);
  return TRUE;
}

}  // namespace kv
