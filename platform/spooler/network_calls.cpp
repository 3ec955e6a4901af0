// What other machines of the network share.
#include <windows.h>

#include <cstring>

#include "platform/control/facts.h"
#include "platform/control/machine.h"
#include "platform/kernel/api_call.h"
#include "platform/kernel/handle_map.h"
#include "platform/kernel/split.h"
#include "platform/spooler/remote_printers.h"

namespace platform {
namespace {

struct NetworkResource {
  DWORD type;
  DWORD usage;
  WideString remote_name;
  WideString comment;
};

// A walk through the resources of a server; belongs to one thread.
struct ResourceWalk {
  std::vector<NetworkResource> resources;
  size_t next = 0;
};

HandleMap<std::shared_ptr<ResourceWalk>>& walks() {
  static auto* instance = new HandleMap<std::shared_ptr<ResourceWalk>>(0x48000004);
  return *instance;
}

std::vector<NetworkResource> ResourcesOf(WideView server) {
  std::vector<NetworkResource> resources;
  const std::string fact = facts::kServerPrefix + ToUtf8(UpperCase(server)) + ".resources";
  for (const std::string& text : Split(Fact(fact), ',')) {
    const std::vector<std::string> parts = Split(text, ':');
    if (parts.size() < 2) continue;
    NetworkResource& resource = resources.emplace_back();
    resource.type = parts[0] == "print" ? RESOURCETYPE_PRINT : RESOURCETYPE_DISK;
    resource.usage = parts[0] == "container" ? RESOURCEUSAGE_CONTAINER : 0;
    resource.remote_name = TEXT("\\\\") + WideString(server) + TEXT('\\') + ToWide(parts[1]);
    if (parts.size() > 2) resource.comment = ToWide(parts[2]);
  }
  return resources;
}

DWORD SizeOf(const NetworkResource& resource) {
  const size_t characters = resource.remote_name.size() + resource.comment.size() + 2;
  return static_cast<DWORD>(sizeof(NETRESOURCEW) + characters * sizeof(WCHAR));
}

// Puts a text with its terminator in front of `end`, which moves.
LPWSTR PutText(const WideString& text, BYTE*& end) {
  const size_t size = (text.size() + 1) * sizeof(WCHAR);
  end -= size;
  std::memcpy(end, text.c_str(), size);
  return reinterpret_cast<LPWSTR>(end);
}

NETRESOURCEW Pack(const NetworkResource& resource, BYTE*& end) {
  NETRESOURCEW packed = {};
  packed.dwScope = RESOURCE_GLOBALNET;
  packed.dwType = resource.type;
  packed.dwUsage = resource.usage;
  packed.lpRemoteName = PutText(resource.remote_name, end);
  packed.lpComment = PutText(resource.comment, end);
  return packed;
}

}  // namespace
}  // namespace platform

using namespace platform;

DWORD WINAPI WNetOpenEnumW(DWORD scope, DWORD type, DWORD usage, LPNETRESOURCEW resource,
                           LPHANDLE enumeration) {
  KV_API_STATUS(WNetOpenEnumW, ERROR_BAD_NETPATH, scope, type, usage, resource, enumeration);
  if (scope != RESOURCE_GLOBALNET || type != RESOURCETYPE_ANY || usage != 0 ||
      resource == nullptr) {
    return ERROR_CALL_NOT_IMPLEMENTED;
  }
  const WideView server = ServerOf(View(resource->lpRemoteName));
  if (!HasServer(server)) return ERROR_BAD_NETPATH;
  auto walk = std::make_shared<ResourceWalk>();
  walk->resources = ResourcesOf(server);
  *enumeration = walks().Add(std::move(walk), Resource::kHandle);
  return ERROR_SUCCESS;
}

DWORD WINAPI WNetEnumResourceW(HANDLE enumeration, LPDWORD count, LPVOID buffer, LPDWORD size) {
  KV_API_STATUS(WNetEnumResourceW, ERROR_NO_MORE_ITEMS, enumeration, count, buffer, size);
  const auto walk = walks().Find(enumeration).value_or(nullptr);
  if (walk == nullptr) return ERROR_INVALID_HANDLE;
  if (*count != ~DWORD{0}) return ERROR_CALL_NOT_IMPLEMENTED;
  *count = 0;
  if (walk->next == walk->resources.size()) return ERROR_NO_MORE_ITEMS;
  auto* place = static_cast<NETRESOURCEW*>(buffer);
  BYTE* end = static_cast<BYTE*>(buffer) + *size / sizeof(WCHAR) * sizeof(WCHAR);
  for (; walk->next < walk->resources.size(); ++walk->next, ++place, ++*count) {
    const NetworkResource& resource = walk->resources[walk->next];
    if (SizeOf(resource) > static_cast<size_t>(end - reinterpret_cast<BYTE*>(place))) break;
    *place = Pack(resource, end);
  }
  if (*count != 0) return ERROR_SUCCESS;
  *size = SizeOf(walk->resources[walk->next]);
  return ERROR_MORE_DATA;
}

DWORD WINAPI WNetCloseEnum(HANDLE enumeration) {
  KV_API_NOFAIL(WNetCloseEnum, ERROR_INVALID_HANDLE, enumeration);
  return walks().Take(enumeration) ? ERROR_SUCCESS : ERROR_INVALID_HANDLE;
}
