// Account databases.
#pragma once

#include <lmcons.h>

typedef struct _USER_MODALS_INFO_2 {
  LPWSTR usrmod2_domain_name;
  PSID usrmod2_domain_id;
} USER_MODALS_INFO_2;

extern "C" {
NET_API_STATUS WINAPI NetUserModalsGet(LPCWSTR server, DWORD level, LPBYTE* buffer);
}
