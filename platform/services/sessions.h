// Terminal sessions, as the facts describe them.
#pragma once

#include <wtsapi32.h>

#include <optional>
#include <vector>

#include "platform/kernel/text.h"

namespace platform {

struct Session {
  DWORD id = 0;
  WideString station;
  WTS_CONNECTSTATE_CLASS state = WTSActive;
  WideString user;  // empty: nobody is logged on
  WideString client;
  WideString program;
  USHORT protocol = 0;
  DWORD answer = 0;
};

struct SessionProcess {
  DWORD session = 0;
  DWORD id = 0;
  WideString name;
  WideString user;
  bool elevated = false;
};

// In the order in which the system lists them.
std::vector<Session> AllSessions();
// Nothing when there is no such session; WTS_CURRENT_SESSION is the process's own.
std::optional<Session> FindSession(DWORD id);
DWORD ProcessSession();
DWORD ConsoleSession();
// This process and those that the facts describe.
std::vector<SessionProcess> AllProcesses();
// The desktop shell of the process's session; nothing when none runs.
std::optional<SessionProcess> ShellProcess();

}  // namespace platform
