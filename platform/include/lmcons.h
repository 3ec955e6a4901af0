// What the network functions share.
#pragma once

#include <windows.h>

#define NET_API_STATUS DWORD
#define NET_API_FUNCTION WINAPI
#define NERR_Success 0
#define UNLEN 256
