// Icons from the resources of modules.
#include "platform/user/icons.h"

#include <cstring>
#include <map>
#include <memory>
#include <mutex>

#include "platform/control/leaks.h"
#include "platform/kernel/api_call.h"

namespace platform {
namespace {

struct Icon {
  SIZE size;
  CountedResource counted{Resource::kIcon};
};

struct Icons {
  std::mutex mutex;
  std::map<UINT_PTR, std::unique_ptr<Icon>> live;
  UINT_PTR next = 0x00050001;
};

Icons& icons() {
  static Icons* instance = new Icons;
  return *instance;
}

// The directory of a group of icons as it stands in the resource.
struct GroupHeader {
  WORD reserved;
  WORD type;  // 1
  WORD count;
};
#pragma pack(push, 2)
struct GroupEntry {
  BYTE width, height, colors, reserved;
  WORD planes, bits;
  DWORD size;
  WORD id;
};
#pragma pack(pop)
static_assert(sizeof(GroupEntry) == 14);

// Whether the group has an image that is there.
bool HasImage(HINSTANCE module, HRSRC group) {
  const auto* bytes = static_cast<const BYTE*>(LoadResource(module, group));
  const DWORD size = SizeofResource(module, group);
  GroupHeader header;
  if (bytes == nullptr || size < sizeof(header)) return false;
  std::memcpy(&header, bytes, sizeof(header));
  const DWORD needed = static_cast<DWORD>(sizeof(header) + header.count * sizeof(GroupEntry));
  if (header.type != 1 || size < needed) return false;
  for (WORD i = 0; i < header.count; ++i) {
    GroupEntry entry;
    std::memcpy(&entry, bytes + sizeof(header) + i * sizeof(entry), sizeof(entry));
    if (FindResourceW(module, MAKEINTRESOURCEW(entry.id), RT_ICON) != nullptr) return true;
  }
  return false;
}

}  // namespace

std::optional<SIZE> IconSize(HICON icon) {
  std::lock_guard lock(icons().mutex);
  const auto found = icons().live.find(reinterpret_cast<UINT_PTR>(icon));
  if (found == icons().live.end()) return std::nullopt;
  return found->second->size;
}

}  // namespace platform

using namespace platform;

HANDLE WINAPI LoadImageW(HINSTANCE instance, LPCWSTR name, UINT type, int width, int height,
                         UINT flags) {
  KV_API(LoadImageW, ERROR_RESOURCE_NAME_NOT_FOUND, nullptr, instance, name, type, width, height,
         flags);
  if (type != IMAGE_ICON || flags != LR_DEFAULTCOLOR || width <= 0 || height <= 0) {
    SetLastError(ERROR_CALL_NOT_IMPLEMENTED);
    return nullptr;
  }
  const HRSRC group = FindResourceW(instance, name, RT_GROUP_ICON);
  if (group == nullptr) return nullptr;
  if (!HasImage(instance, group)) {
    SetLastError(ERROR_RESOURCE_DATA_NOT_FOUND);
    return nullptr;
  }
  auto icon = std::make_unique<Icon>();
  icon->size = {width, height};
  std::lock_guard lock(icons().mutex);
  const UINT_PTR handle = icons().next;
  icons().next += 2;
  icons().live.emplace(handle, std::move(icon));
  return reinterpret_cast<HANDLE>(handle);
}

BOOL WINAPI DestroyIcon(HICON icon) {
  KV_API_NOFAIL(DestroyIcon, FALSE, icon);
  std::lock_guard lock(icons().mutex);
  if (icons().live.erase(reinterpret_cast<UINT_PTR>(icon)) != 0) return TRUE;
  SetLastError(ERROR_INVALID_CURSOR_HANDLE);
  return FALSE;
}
