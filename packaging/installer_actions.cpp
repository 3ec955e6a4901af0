// The custom actions of the installer package (folvane.wxs). What kvctl says goes to the
// installer's log; where it matters, also to whoever installs.
#include "runtime/core/win.h"

#include <msiquery.h>

#include <string>

#include "runtime/core/handles.h"
#include "runtime/core/resource_file.h"
#include "runtime/files/paths.h"
#include "runtime/registry/deferred_file_ops.h"
#include "runtime/text/wide_text.h"

namespace {

using WideString = std::wstring;

// kvctl's exit statuses for what is done: at once, or in full after a restart, for which
// AskForRestart asks.
constexpr DWORD kDone = 0, kNeedsRestart = 4;

struct Outcome {
  DWORD error = ERROR_SUCCESS;  // why the program was not started
  DWORD status = 0;
  WideString output;

  bool IsGood() const {
    return error == ERROR_SUCCESS && (status == kDone || status == kNeedsRestart);
  }
};

// A deferred action knows nothing of the installation but this text: here, a command line.
WideString ReadActionData(MSIHANDLE session) {
  constexpr LPCWSTR kName = TEXT("CustomActionData");
  WCHAR none[1] = {};
  DWORD length = 0;
  if (MsiGetPropertyW(session, kName, none, &length) != ERROR_MORE_DATA) return {};
  WideString data(++length, 0);
  if (MsiGetPropertyW(session, kName, data.data(), &length) != ERROR_SUCCESS) return {};
  data.resize(length);
  return data;
}

void Tell(MSIHANDLE session, INSTALLMESSAGE kind, const WideString& text) {
  PMSIHANDLE record = MsiCreateRecord(1);
  MsiRecordSetStringW(record, 0, TEXT("[1]"));
  MsiRecordSetStringW(record, 1, text.c_str());
  MsiProcessMessage(session, kind, record);
}

WideString FromUtf8(const std::string& bytes) {
  const int size = static_cast<int>(bytes.size());
  WideString text(MultiByteToWideChar(CP_UTF8, 0, bytes.data(), size, nullptr, 0), 0);
  MultiByteToWideChar(CP_UTF8, 0, bytes.data(), size, text.data(), static_cast<int>(text.size()));
  return text;
}

void ReadWhatIsThere(HANDLE pipe, std::string& bytes) {
  char block[4096];
  DWORD available = 0, read = 0;
  while (PeekNamedPipe(pipe, nullptr, 0, nullptr, &available, nullptr) && available != 0 &&
         ReadFile(pipe, block, sizeof(block), &read, nullptr) && read != 0) {
    bytes.append(block, read);
  }
}

// Without a window. Only the program's own end counts: what it has started may keep the pipe open
// for longer.
Outcome RunProgram(WideString commandLine) {
  constexpr DWORD kPollingInterval = 50;  // ms
  Outcome outcome;
  kv::UniqueHandle output, input;
  SECURITY_ATTRIBUTES inherited = {sizeof(inherited), nullptr, TRUE};
  STARTUPINFOW startup = {};
  PROCESS_INFORMATION process = {};
  startup.cb = sizeof(startup);
  if (CreatePipe(output.Receive(), input.Receive(), &inherited, 0)) {
    SetHandleInformation(output.Get(), HANDLE_FLAG_INHERIT, 0);
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdOutput = startup.hStdError = input.Get();
  }
  if (!CreateProcessW(nullptr, commandLine.data(), nullptr, nullptr, TRUE, CREATE_NO_WINDOW,
                      nullptr, nullptr, &startup, &process)) {
    outcome.error = GetLastError();
    return outcome;
  }
  const kv::UniqueHandle thread(process.hThread), program(process.hProcess);
  std::string bytes;
  while (WaitForSingleObject(program.Get(), kPollingInterval) == WAIT_TIMEOUT) {
    ReadWhatIsThere(output.Get(), bytes);
  }
  ReadWhatIsThere(output.Get(), bytes);
  GetExitCodeProcess(program.Get(), &outcome.status);
  outcome.output = FromUtf8(bytes);
  return outcome;
}

WideString Described(const Outcome& outcome) {
  if (outcome.error != ERROR_SUCCESS) {
    return TEXT("kvctl cannot be started: error ") + std::to_wstring(outcome.error);
  }
  return outcome.output + TEXT("kvctl: exit status ") + std::to_wstring(outcome.status);
}

Outcome RunAndTell(MSIHANDLE session, INSTALLMESSAGE kindOfFailure) {
  const WideString commandLine = ReadActionData(session);
  Tell(session, INSTALLMESSAGE_INFO, commandLine);
  const Outcome outcome = RunProgram(commandLine);
  Tell(session, outcome.IsGood() ? INSTALLMESSAGE_INFO : kindOfFailure, Described(outcome));
  return outcome;
}

bool IsPortFile(LPCWSTR path) {
  const kv::WideView name(kv::GetFileName(path));
  return kv::StartsWithAsciiNoCase(name, TEXT("kvmon8.dll")) ||
         kv::StartsWithAsciiNoCase(name, TEXT("kvres832"));
}

}  // namespace

// Deferred: runs the command line of the action's data. The installation fails when it does not
// succeed.
extern "C" UINT __stdcall RunKvctl(MSIHANDLE session) {
  const auto error = static_cast<INSTALLMESSAGE>(INSTALLMESSAGE_ERROR | MB_OK | MB_ICONERROR);
  return RunAndTell(session, error).IsGood() ? ERROR_SUCCESS : ERROR_INSTALL_FAILURE;
}

// Deferred or in a rollback: likewise, but the installation goes on whatever happens.
extern "C" UINT __stdcall TryKvctl(MSIHANDLE session) {
  RunAndTell(session, INSTALLMESSAGE_INFO);
  return ERROR_SUCCESS;
}

// Immediate, at the end: the installer asks for a restart, or answers 3010, when files of the port
// wait for one.
extern "C" UINT __stdcall AskForRestart(MSIHANDLE session) {
  kv::CDeferredFileOps pending;
  LPCWSTR source = nullptr, target = nullptr;
  for (BOOL more = pending.FirstPendingRename(source, target); more;
       more = pending.NextPendingRename(source, target)) {
    if (!IsPortFile(source)) continue;
    MsiSetMode(session, MSIRUNMODE_REBOOTATEND, TRUE);
    break;
  }
  return ERROR_SUCCESS;
}
