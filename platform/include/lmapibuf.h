// Memory that the network functions hand out.
#pragma once

#include <lmcons.h>

extern "C" {
NET_API_STATUS WINAPI NetApiBufferFree(LPVOID buffer);
}
