// What the network functions share.
#pragma once

#include <windows.h>

#define NET_API_STATUS DWORD
#define NERR_Success 0
