// Terminal services: the sessions of people at the console and elsewhere.
#pragma once

#include <memory>

#include "runtime/core/loaded_library.h"
#include "runtime/core/win.h"

// Builds on windows.h.
#include <wtsapi32.h>

namespace kv {

// One lives for the span of a task, on one thread. The list of sessions is a snapshot taken on the
// first FirstSession. Where the system lacks a library or a function, its operations give their
// answers for "unknown".
//
// The queries by session need the library: ask IsAvailable first.
class CTerminalServices {
 public:
  CTerminalServices();
  ~CTerminalServices();
  CTerminalServices(const CTerminalServices&) = delete;
  CTerminalServices& operator=(const CTerminalServices&) = delete;

  BOOL IsAvailable() const;
  // The caller's session; -1 when it is unknown.
  int GetSessionId() const { return sessionId_; }
  // The session at the machine's own screen; -1 when there is none.
  int GetConsoleSessionId();

  // The sessions by number, lowest first; null at the end and when they cannot be listed. The
  // records are this object's.
  const WTS_SESSION_INFOW* FirstSession();
  const WTS_SESSION_INFOW* NextSession();
  // The first session of the user of that name (without regard to case); null when there is none.
  const WTS_SESSION_INFOW* FindSessionOfUser(LPCWSTR userName);

  // Texts of a session, cut to `capacity` characters, empty when they cannot be read; return the
  // first character.
  WCHAR QueryUserName(DWORD sessionId, LPWSTR output, int capacity) const;
  WCHAR QueryClientName(DWORD sessionId, LPWSTR output, int capacity) const;
  WCHAR QueryInitialProgram(DWORD sessionId, LPWSTR output, int capacity) const;
  // 0 console, 1 ICA, 2 RDP; -1 when it cannot be read.
  int QueryClientProtocol(DWORD sessionId) const;
  // The primary token of the session's user, which the caller closes; null on failure.
  HANDLE QueryUserToken(DWORD sessionId) const;

  // Shows a message box in a session, for `timeout` seconds (0: until it is answered). With `wait`
  // *response is the button, IDTIMEOUT when nobody answered; without it IDASYNC. The result is
  // WTSSendMessageW's, with its last error; 0 when the system lacks that.
  BOOL SendMessageToSession(DWORD sessionId, LPCWSTR title, LPCWSTR message, DWORD style,
                            DWORD timeout, DWORD* response, BOOL wait) const;
  // Whether a process of that file name (a path's last part) runs for the current user in any
  // session.
  BOOL IsProgramRunningForUser(LPCWSTR program) const;

  // The install mode of a terminal server of the generations before Windows Vista: 1 installing, 0
  // executing, -1 unknown, as without the library.
  int GetInstallMode() const;
  // The system's result; 0 without the library and when the system lacks the function, -1 on
  // systems of other generations.
  int SetInstallMode(BOOL install) const;

 private:
  // The library's entry points; null where it lacks them and while it is not loaded.
  struct Functions {
    explicit Functions(HMODULE library = nullptr);

    decltype(&::WTSEnumerateProcessesW) enumerateProcesses;
    decltype(&::WTSEnumerateSessionsW) enumerateSessions;
    decltype(&::WTSFreeMemory) freeMemory;
    DWORD(WINAPI* getActiveConsoleSessionId)();
    decltype(&::WTSQuerySessionInformationW) querySessionInformation;
    decltype(&::WTSQueryUserToken) queryUserToken;
    decltype(&::WTSSendMessageW) sendMessage;
  };

  BOOL CanQuery() const;
  BOOL ReadSessionId();
  void ListSessions();
  WCHAR QueryText(DWORD sessionId, WTS_INFO_CLASS what, LPWSTR output, int capacity) const;

  std::unique_ptr<LoadedLibrary> library_;
  int sessionId_ = -1;
  WTS_SESSION_INFOW* sessions_ = nullptr;
  DWORD cursor_ = 0;
  DWORD sessionCount_ = 0;
  Functions functions_;
};

// Whether the system offers terminal services: by its product suite on Windows NT 4, its suite mask
// on Windows 2000, from then on by the running service.
BOOL IsTerminalServicesAvailable();
// Whether the calling process runs in a remote session.
BOOL IsRemoteSession();

}  // namespace kv
