// Universally unique identifiers.
#pragma once

#include <winnt.h>

#define RPC_ENTRY WINAPI
#define RPC_S_OK 0

typedef LONG RPC_STATUS;
typedef unsigned short* RPC_WSTR;

extern "C" {
RPC_STATUS RPC_ENTRY UuidCreate(UUID* uuid);
RPC_STATUS RPC_ENTRY UuidToStringW(const UUID* uuid, RPC_WSTR* text);
RPC_STATUS RPC_ENTRY RpcStringFreeW(RPC_WSTR* text);
}
