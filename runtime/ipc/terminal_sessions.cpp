#include "runtime/ipc/terminal_sessions.h"

#include <string.h>

#include <algorithm>
#include <new>

#include "runtime/core/find_proc.h"
#include "runtime/core/startup_context.h"
#include "runtime/files/current_directory.h"
#include "runtime/files/file_actions.h"
#include "runtime/files/paths.h"
#include "runtime/files/special_folders.h"
#include "runtime/ipc/accounts.h"
#include "runtime/ipc/process_token.h"
#include "runtime/printing/driver_directories.h"
#include "runtime/printing/service_control.h"
#include "runtime/registry/reg_key.h"
#include "runtime/text/text.h"
#include "runtime/text/wide_text.h"

namespace kv {
namespace {

constexpr DWORD kListVersion = 1;
constexpr int kSessionUserCapacity = 257;
constexpr int kUnknown = -1;

// The library by its full path where it lies in the system directory.
void GetLibraryName(WCHAR (&name)[MAX_PATH]) {
  GetSystemFilePath(TEXT("wtsapi32.dll"), name);
  if (!FileExists(name, Report::kNo)) CopyStringW(name, TEXT("wtsapi32.dll"));
}

// Bytes of a text with its terminator.
DWORD ByteSize(LPCWSTR text) {
  return static_cast<DWORD>((View(text).size() + 1) * sizeof(WCHAR));
}

LPWSTR OrEmpty(LPCWSTR text) {
  return const_cast<LPWSTR>(text == nullptr ? TEXT("") : text);
}

BOOL IsTerminalServerNt4() {
  RegKey options;
  if (!options.Open(HKEY_LOCAL_MACHINE,
                    TEXT("System\\CurrentControlSet\\Control\\ProductOptions"))) {
    return FALSE;
  }
  LPCWSTR suite = options.GetMultiString(TEXT("ProductSuite"));
  for (; suite != nullptr && *suite != 0; suite += View(suite).size() + 1) {
    if (EqualAsciiNoCase(suite, TEXT("Terminal Server"))) return TRUE;
  }
  return FALSE;
}

BOOL HasTerminalSuite() {
  OSVERSIONINFOEXW version = {};
  version.dwOSVersionInfoSize = sizeof(version);
  return GetVersionExW(reinterpret_cast<OSVERSIONINFOW*>(&version)) &&
         (version.wSuiteMask & VER_SUITE_TERMINAL) != 0;
}

}  // namespace

CTerminalServices::CTerminalServices() {
  WCHAR name[MAX_PATH], directory[MAX_PATH];
  GetLibraryName(name);
  GetProductDriverDirectory(nullptr, directory);
  const CCurrentDirectory scope(directory);
  library_.reset(new (std::nothrow) LoadedLibrary(name, Quiet::kYes));
  if (IsAvailable()) functions_ = Functions(library_->handle());
  if (!IsTerminalServicesAvailable()) return;
  if (IsAvailable() && ReadSessionId()) return;
  functions_ = Functions();
  library_.reset();
}

CTerminalServices::~CTerminalServices() {
  if (sessions_ != nullptr) functions_.freeMemory(sessions_);
}

BOOL CTerminalServices::IsAvailable() const {
  return library_ != nullptr && library_->IsLoaded();
}

CTerminalServices::Functions::Functions(HMODULE library)
    : enumerateProcesses(FindProc<decltype(enumerateProcesses)>(library, "WTSEnumerateProcessesW")),
      enumerateSessions(FindProc<decltype(enumerateSessions)>(library, "WTSEnumerateSessionsW")),
      freeMemory(FindProc<decltype(freeMemory)>(library, "WTSFreeMemory")),
      getActiveConsoleSessionId(
          FindProc<decltype(getActiveConsoleSessionId)>(library, "WTSGetActiveConsoleSessionId")),
      querySessionInformation(
          FindProc<decltype(querySessionInformation)>(library, "WTSQuerySessionInformationW")),
      queryUserToken(FindProc<decltype(queryUserToken)>(library, "WTSQueryUserToken")),
      sendMessage(FindProc<decltype(sendMessage)>(library, "WTSSendMessageW")) {}

BOOL CTerminalServices::CanQuery() const {
  return functions_.querySessionInformation != nullptr && functions_.freeMemory != nullptr;
}

BOOL CTerminalServices::ReadSessionId() {
  if (functions_.enumerateProcesses == nullptr || !CanQuery()) return FALSE;
  LPWSTR buffer = nullptr;
  DWORD size = 0;
  if (!functions_.querySessionInformation(WTS_CURRENT_SERVER_HANDLE, WTS_CURRENT_SESSION,
                                          WTSSessionId, &buffer, &size)) {
    return FALSE;
  }
  const BOOL isWhole = size >= sizeof(sessionId_);
  if (isWhole) memcpy(&sessionId_, buffer, sizeof(sessionId_));
  functions_.freeMemory(buffer);
  return isWhole;
}

int CTerminalServices::GetConsoleSessionId() {
  if (functions_.getActiveConsoleSessionId != nullptr) {
    return static_cast<int>(functions_.getActiveConsoleSessionId());
  }
  for (auto session = FirstSession(); session != nullptr; session = NextSession()) {
    if (EqualAsciiNoCase(View(session->pWinStationName), TEXT("console"))) {
      return static_cast<int>(session->SessionId);
    }
  }
  return kUnknown;
}

void CTerminalServices::ListSessions() {
  if (functions_.enumerateSessions == nullptr || functions_.freeMemory == nullptr) return;
  if (!functions_.enumerateSessions(WTS_CURRENT_SERVER_HANDLE, 0, kListVersion, &sessions_,
                                    &sessionCount_)) {
    sessions_ = nullptr;
    return;
  }
  std::sort(sessions_, sessions_ + sessionCount_,
            [](const WTS_SESSION_INFOW& a, const WTS_SESSION_INFOW& b) {
              return a.SessionId < b.SessionId;
            });
}

const WTS_SESSION_INFOW* CTerminalServices::FirstSession() {
  if (sessions_ == nullptr) ListSessions();
  cursor_ = 0;
  return NextSession();
}

const WTS_SESSION_INFOW* CTerminalServices::NextSession() {
  if (sessions_ == nullptr || cursor_ >= sessionCount_) return nullptr;
  return &sessions_[cursor_++];
}

const WTS_SESSION_INFOW* CTerminalServices::FindSessionOfUser(LPCWSTR userName) {
  if (View(userName).empty()) return nullptr;
  WCHAR name[kSessionUserCapacity];
  for (auto session = FirstSession(); session != nullptr; session = NextSession()) {
    QueryUserName(session->SessionId, name, kSessionUserCapacity);
    if (EqualNoCase(name, userName)) return session;
  }
  return nullptr;
}

WCHAR CTerminalServices::QueryText(DWORD sessionId, WTS_INFO_CLASS what, LPWSTR output,
                                   int capacity) const {
  output[0] = 0;
  if (!CanQuery()) return 0;
  LPWSTR text = nullptr;
  DWORD size = 0;
  if (functions_.querySessionInformation(WTS_CURRENT_SERVER_HANDLE, sessionId, what, &text,
                                         &size) &&
      size > sizeof(WCHAR)) {
    CopyStringW(output, capacity, text);
  }
  if (text != nullptr) functions_.freeMemory(text);
  return output[0];
}

WCHAR CTerminalServices::QueryUserName(DWORD sessionId, LPWSTR output, int capacity) const {
  return QueryText(sessionId, WTSUserName, output, capacity);
}

WCHAR CTerminalServices::QueryClientName(DWORD sessionId, LPWSTR output, int capacity) const {
  return QueryText(sessionId, WTSClientName, output, capacity);
}

WCHAR CTerminalServices::QueryInitialProgram(DWORD sessionId, LPWSTR output, int capacity) const {
  return QueryText(sessionId, WTSInitialProgram, output, capacity);
}

int CTerminalServices::QueryClientProtocol(DWORD sessionId) const {
  if (!CanQuery()) return kUnknown;
  LPWSTR buffer = nullptr;
  DWORD size = 0;
  int protocol = kUnknown;
  if (functions_.querySessionInformation(WTS_CURRENT_SERVER_HANDLE, sessionId,
                                         WTSClientProtocolType, &buffer, &size) &&
      size == sizeof(USHORT)) {
    protocol = *reinterpret_cast<const USHORT*>(buffer);
  }
  if (buffer != nullptr) functions_.freeMemory(buffer);
  return protocol;
}

HANDLE CTerminalServices::QueryUserToken(DWORD sessionId) const {
  if (functions_.queryUserToken == nullptr) return nullptr;
  EnablePrivilege(SE_TCB_NAME, TRUE);
  HANDLE token = nullptr;
  return functions_.queryUserToken(sessionId, &token) ? token : nullptr;
}

BOOL CTerminalServices::SendMessageToSession(DWORD sessionId, LPCWSTR title, LPCWSTR message,
                                             DWORD style, DWORD timeout, DWORD* response,
                                             BOOL wait) const {
  if (functions_.sendMessage == nullptr) return FALSE;
  return functions_.sendMessage(WTS_CURRENT_SERVER_HANDLE, sessionId, OrEmpty(title),
                                ByteSize(title), OrEmpty(message), ByteSize(message), style,
                                timeout, response, wait);
}

BOOL CTerminalServices::IsProgramRunningForUser(LPCWSTR program) const {
  if (functions_.enumerateProcesses == nullptr || functions_.freeMemory == nullptr) return FALSE;
  WTS_PROCESS_INFOW* processes = nullptr;
  DWORD count = 0;
  if (!functions_.enumerateProcesses(WTS_CURRENT_SERVER_HANDLE, 0, kListVersion, &processes,
                                     &count)) {
    return FALSE;
  }
  const HeapSid user = GetCurrentUserSid();
  const WideView name = View(GetFileName(program));
  BOOL found = FALSE;
  for (DWORD i = 0; user && !found && i < count; ++i) {
    const WTS_PROCESS_INFOW& process = processes[i];
    found = process.pUserSid != nullptr && EqualSid(process.pUserSid, user.Get()) &&
            EqualNoCase(View(process.pProcessName), name);
  }
  functions_.freeMemory(processes);
  return found;
}

int CTerminalServices::GetInstallMode() const {
  if (!IsAvailable()) return kUnknown;
  const WORD major = startupContext.platform.osMajor;
  if (major == 4) {
    const auto getMapping = FindProc<BOOL(WINAPI*)()>(TEXT("kernel32"), "CtxGetIniMapping");
    if (getMapping == nullptr) return kUnknown;
    // The function answers in one byte.
    return LOBYTE(getMapping()) == 0;
  }
  if (major == 5) {
    const auto getMode = FindProc<BOOL(WINAPI*)()>(TEXT("kernel32"), "TermsrvAppInstallMode");
    return getMode == nullptr ? kUnknown : getMode() != FALSE;
  }
  return kUnknown;
}

int CTerminalServices::SetInstallMode(BOOL install) const {
  if (!IsAvailable()) return 0;
  const LoadedLibrary kernel32(TEXT("kernel32.dll"), Quiet::kNo);
  if (!kernel32.IsLoaded()) return 0;
  const WORD major = startupContext.platform.osMajor;
  if (major != 4 && major != 5) return kUnknown;
  const auto set = FindProc<BOOL(WINAPI*)(BOOL)>(
      kernel32.handle(), major == 4 ? "CtxSetIniMapping" : "SetTermsrvAppInstallMode");
  if (set == nullptr) return 0;
  // Mapping the user's files is what installing does not do.
  return set(major == 4 ? !install : install);
}

BOOL IsTerminalServicesAvailable() {
  PlatformFacts& platform = startupContext.platform;
  if (platform.win9xKind == 0 && platform.ntKind == 0) ReadPlatformFacts(platform);
  switch (platform.ntKind) {
    case 0:
      return FALSE;
    case kNt4:
      return IsTerminalServerNt4();
    case kWindows2000:
      return HasTerminalSuite();
    default:
      return CServiceControl(TEXT("TermService"), ServiceAccess::kRead).IsServiceRunning();
  }
}

BOOL IsRemoteSession() {
  constexpr WORD kFirstServicePack = 4;
  const PlatformFacts& platform = startupContext.platform;
  if (platform.ntKind == 0) return FALSE;
  if (platform.osMajor == 4 && platform.servicePackMajor < kFirstServicePack) return FALSE;
  return GetSystemMetrics(SM_REMOTESESSION);
}

}  // namespace kv
