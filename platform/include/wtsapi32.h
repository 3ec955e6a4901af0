// Terminal sessions.
#pragma once

#include <windows.h>

#define WTS_CURRENT_SERVER_HANDLE ((HANDLE)NULL)
#define WTS_CURRENT_SESSION ((DWORD)-1)

typedef enum _WTS_CONNECTSTATE_CLASS {
  WTSActive,
  WTSConnected,
  WTSConnectQuery,
  WTSShadow,
  WTSDisconnected,
  WTSIdle,
  WTSListen,
  WTSReset,
  WTSDown,
  WTSInit
} WTS_CONNECTSTATE_CLASS;

typedef enum _WTS_INFO_CLASS {
  WTSInitialProgram = 0,
  WTSSessionId = 4,
  WTSUserName = 5,
  WTSClientName = 10,
  WTSClientProtocolType = 16
} WTS_INFO_CLASS;

typedef struct _WTS_SESSION_INFOW {
  DWORD SessionId;
  LPWSTR pWinStationName;
  WTS_CONNECTSTATE_CLASS State;
} WTS_SESSION_INFOW, *PWTS_SESSION_INFOW;
static_assert(sizeof(WTS_SESSION_INFOW) == (sizeof(void*) == 4 ? 12 : 24));

typedef struct _WTS_PROCESS_INFOW {
  DWORD SessionId;
  DWORD ProcessId;
  LPWSTR pProcessName;
  PSID pUserSid;
} WTS_PROCESS_INFOW, *PWTS_PROCESS_INFOW;
static_assert(sizeof(WTS_PROCESS_INFOW) == (sizeof(void*) == 4 ? 16 : 24));

extern "C" {
BOOL WINAPI WTSEnumerateProcessesW(HANDLE server, DWORD reserved, DWORD version,
                                   PWTS_PROCESS_INFOW* processes, DWORD* count);
BOOL WINAPI WTSEnumerateSessionsW(HANDLE server, DWORD reserved, DWORD version,
                                  PWTS_SESSION_INFOW* sessions, DWORD* count);
VOID WINAPI WTSFreeMemory(PVOID memory);
// kernel32
DWORD WINAPI WTSGetActiveConsoleSessionId();
BOOL WINAPI WTSQuerySessionInformationW(HANDLE server, DWORD session, WTS_INFO_CLASS information,
                                        LPWSTR* buffer, DWORD* size);
BOOL WINAPI WTSQueryUserToken(ULONG session, PHANDLE token);
BOOL WINAPI WTSSendMessageW(HANDLE server, DWORD session, LPWSTR title, DWORD title_bytes,
                            LPWSTR message, DWORD message_bytes, DWORD style, DWORD timeout,
                            DWORD* response, BOOL wait);
}
