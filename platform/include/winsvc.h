// Services and their manager.
#pragma once

#include <minwinbase.h>

DECLARE_HANDLE(SC_HANDLE);

#define SC_MANAGER_CONNECT 0x0001
#define SC_MANAGER_CREATE_SERVICE 0x0002
#define SC_MANAGER_ENUMERATE_SERVICE 0x0004
#define SC_MANAGER_QUERY_LOCK_STATUS 0x0010
#define SC_MANAGER_ALL_ACCESS 0xF003F
#define SERVICE_QUERY_CONFIG 0x0001
#define SERVICE_QUERY_STATUS 0x0004
#define SERVICE_ENUMERATE_DEPENDENTS 0x0008
#define SERVICE_START 0x0010
#define SERVICE_STOP 0x0020
#define SERVICE_INTERROGATE 0x0080
#define SERVICE_ALL_ACCESS 0xF01FF

#define SERVICE_WIN32_OWN_PROCESS 0x00000010
#define SERVICE_WIN32_SHARE_PROCESS 0x00000020
#define SERVICE_INTERACTIVE_PROCESS 0x00000100
#define SERVICE_AUTO_START 2
#define SERVICE_DEMAND_START 3
#define SERVICE_DISABLED 4
#define SERVICE_ERROR_NORMAL 1
#define SERVICE_ACTIVE 1
#define SERVICE_INACTIVE 2
#define SERVICE_CONTROL_STOP 1
#define SERVICE_ACCEPT_STOP 1
#define SERVICE_STOPPED 1
#define SERVICE_START_PENDING 2
#define SERVICE_STOP_PENDING 3
#define SERVICE_RUNNING 4

typedef struct _SERVICE_STATUS {
  DWORD dwServiceType;
  DWORD dwCurrentState;
  DWORD dwControlsAccepted;
  DWORD dwWin32ExitCode;
  DWORD dwServiceSpecificExitCode;
  DWORD dwCheckPoint;
  DWORD dwWaitHint;
} SERVICE_STATUS, *LPSERVICE_STATUS;
static_assert(sizeof(SERVICE_STATUS) == 28);

typedef struct _ENUM_SERVICE_STATUSW {
  LPWSTR lpServiceName;
  LPWSTR lpDisplayName;
  SERVICE_STATUS ServiceStatus;
} ENUM_SERVICE_STATUSW, *LPENUM_SERVICE_STATUSW;
static_assert(sizeof(ENUM_SERVICE_STATUSW) == (sizeof(void*) == 4 ? 36 : 48));

extern "C" {
SC_HANDLE WINAPI OpenSCManagerW(LPCWSTR machine, LPCWSTR database, DWORD access);
SC_HANDLE WINAPI OpenServiceW(SC_HANDLE manager, LPCWSTR name, DWORD access);
SC_HANDLE WINAPI CreateServiceW(SC_HANDLE manager, LPCWSTR name, LPCWSTR display_name, DWORD access,
                                DWORD type, DWORD start_type, DWORD error_control,
                                LPCWSTR binary_path, LPCWSTR load_order_group, LPDWORD tag,
                                LPCWSTR dependencies, LPCWSTR account, LPCWSTR password);
BOOL WINAPI CloseServiceHandle(SC_HANDLE handle);
BOOL WINAPI DeleteService(SC_HANDLE service);
BOOL WINAPI QueryServiceStatus(SC_HANDLE service, LPSERVICE_STATUS status);
BOOL WINAPI StartServiceW(SC_HANDLE service, DWORD argument_count, LPCWSTR* arguments);
BOOL WINAPI ControlService(SC_HANDLE service, DWORD control, LPSERVICE_STATUS status);
BOOL WINAPI EnumDependentServicesW(SC_HANDLE service, DWORD state,
                                   LPENUM_SERVICE_STATUSW dependents, DWORD size, LPDWORD needed,
                                   LPDWORD returned);
}
