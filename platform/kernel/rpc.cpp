// Universally unique identifiers.
#include <rpc.h>

#include <sys/random.h>

#include <algorithm>
#include <cstdio>
#include <iterator>
#include <memory>

#include "platform/control/leaks.h"
#include "platform/kernel/api_call.h"

namespace platform {
namespace {

// A text with the account of it; the caller holds the address of `text`.
constexpr size_t kUuidText = 37;
struct RpcText {
  CountedResource counted{Resource::kRpcString};
  unsigned short text[kUuidText] = {};
};

}  // namespace
}  // namespace platform

RPC_STATUS RPC_ENTRY UuidCreate(UUID* uuid) {
  KV_API_STATUS(UuidCreate, RPC_S_UUID_NO_ADDRESS, uuid);
  if (getrandom(uuid, sizeof *uuid, 0) != sizeof *uuid) return RPC_S_UUID_NO_ADDRESS;
  // Version 4, variant 1.
  uuid->Data3 = static_cast<WORD>((uuid->Data3 & 0x0FFF) | 0x4000);
  uuid->Data4[0] = static_cast<BYTE>((uuid->Data4[0] & 0x3F) | 0x80);
  return RPC_S_OK;
}

RPC_STATUS RPC_ENTRY UuidToStringW(const UUID* uuid, RPC_WSTR* text) {
  KV_API_STATUS(UuidToStringW, ERROR_OUTOFMEMORY, uuid, text);
  auto* result = new platform::RpcText;
  char narrow[platform::kUuidText];
  const BYTE* d = uuid->Data4;
  std::snprintf(narrow, sizeof narrow, "%08x-%04x-%04x-%02x%02x-%02x%02x%02x%02x%02x%02x",
                uuid->Data1, uuid->Data2, uuid->Data3, d[0], d[1], d[2], d[3], d[4], d[5], d[6],
                d[7]);
  std::copy(std::begin(narrow), std::end(narrow), result->text);
  *text = result->text;
  return RPC_S_OK;
}

RPC_STATUS RPC_ENTRY RpcStringFreeW(RPC_WSTR* text) {
  KV_API_NOFAIL(RpcStringFreeW, ERROR_INVALID_PARAMETER, text);
  if (*text != nullptr) {
    delete reinterpret_cast<platform::RpcText*>(reinterpret_cast<BYTE*>(*text) -
                                                offsetof(platform::RpcText, text));
  }
  *text = nullptr;
  return RPC_S_OK;
}
