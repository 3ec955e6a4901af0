// Opening, making, deleting and connecting keys.
#include <windows.h>

#include <algorithm>

#include "platform/control/facts.h"
#include "platform/kernel/api_call.h"
#include "platform/registry/open_keys.h"

namespace platform {
namespace {

using Op = JournalRecord::Op;

constexpr size_t kLongestKeyName = 255;
constexpr size_t kDeepestKey = 512;

// The place of `sub_key` below an open key, in the view that the access mask asks for.
LSTATUS PlaceOf(HKEY base, LPCWSTR sub_key, REGSAM access, RegistryPath& path) {
  const std::optional<OpenKey> open = KeyOfHandle(base);
  if (!open) return ERROR_INVALID_HANDLE;
  const std::optional<RegistryPath> above = Registry::Current().PathOf(open->key);
  if (!above) return ERROR_KEY_DELETED;
  const WideView below = View(sub_key);
  if (below.starts_with(TEXT('\\'))) return ERROR_BAD_PATHNAME;
  path = *above;
  for (WideString& name : SplitPath(below)) path.push_back(std::move(name));
  path = ApplyView(path, UsesView32(access));
  return ERROR_SUCCESS;
}

LSTATUS OpenPlace(const RegistryPath& path, REGSAM access, PHKEY result) {
  const RegistryKey key = Registry::Current().Find(path);
  if (!key) return ERROR_FILE_NOT_FOUND;
  REGSAM granted;
  if (!GrantAccess(key, access, granted)) return ERROR_ACCESS_DENIED;
  *result = OpenKeyHandle({key, granted});
  return ERROR_SUCCESS;
}

// The nearest key above a missing one.
RegistryKey NearestAbove(RegistryPath path) {
  RegistryKey key;
  while (!key && !path.empty()) {
    path.pop_back();
    key = Registry::Current().Find(path);
  }
  return key;
}

LSTATUS CreatePlace(const RegistryPath& path, bool& created) {
  Registry& registry = Registry::Current();
  created = false;
  if (registry.Find(path)) return ERROR_SUCCESS;
  if (path.size() > kDeepestKey) return ERROR_NO_SYSTEM_RESOURCES;
  if (std::any_of(path.begin(), path.end(),
                  [](const WideString& name) { return name.size() > kLongestKeyName; })) {
    return ERROR_INVALID_PARAMETER;
  }
  const RegistryKey above = NearestAbove(path);
  if (registry.IsAboveHives(above)) return ERROR_INVALID_PARAMETER;
  if ((AllowedAccess(above) & KEY_CREATE_SUB_KEY) == 0) return ERROR_ACCESS_DENIED;
  RegistryKey key;
  return registry.Create(path, key, created);
}

bool DeletesTrees() {
  return FactNumber(facts::kPlatformId, VER_PLATFORM_WIN32_NT) != VER_PLATFORM_WIN32_NT;
}

LSTATUS DeletePlace(const RegistryPath& path) {
  Registry& registry = Registry::Current();
  const RegistryKey key = registry.Find(path);
  if (!key) return ERROR_FILE_NOT_FOUND;
  const bool root_of_hive = key.id() == KeyTree::kRoot || registry.IsAboveHives(key);
  if (root_of_hive || (AllowedAccess(key) & DELETE) == 0) return ERROR_ACCESS_DENIED;
  const bool trees = DeletesTrees();
  return key.Modify([&](Hive::Change& hive) -> LSTATUS {
    if (!trees && !hive.tree().Find(key.id())->children.empty()) return ERROR_ACCESS_DENIED;
    hive.Apply({Op::kDeleteKey, key.id(), 0, {}, {}});
    return ERROR_SUCCESS;
  });
}

bool IsThisMachine(WideView name) {
  if (name.empty()) return true;
  WCHAR own[MAX_COMPUTERNAME_LENGTH + 1];
  DWORD size = MAX_COMPUTERNAME_LENGTH + 1;
  if (!GetComputerNameW(own, &size)) return false;
  if (name.starts_with(TEXT("\\\\"))) name.remove_prefix(2);
  return EqualNoCase(name, WideView(own, size));
}

}  // namespace
}  // namespace platform

using namespace platform;

LSTATUS WINAPI RegOpenKeyExW(HKEY key, LPCWSTR sub_key, DWORD options, REGSAM access,
                             PHKEY result) {
  KV_API_STATUS(RegOpenKeyExW, ERROR_ACCESS_DENIED, key, sub_key, options, access, result);
  if (result == nullptr) return ERROR_INVALID_PARAMETER;
  if (options != 0) return ERROR_CALL_NOT_IMPLEMENTED;
  if (IsPredefined(key) && View(sub_key).empty()) {
    *result = key;
    return ERROR_SUCCESS;
  }
  RegistryPath path;
  if (const LSTATUS status = PlaceOf(key, sub_key, access, path); status != ERROR_SUCCESS) {
    return status;
  }
  return OpenPlace(path, access, result);
}

LSTATUS WINAPI RegOpenKeyW(HKEY key, LPCWSTR sub_key, PHKEY result) {
  KV_API_STATUS(RegOpenKeyW, ERROR_FILE_NOT_FOUND, key, sub_key, result);
  if (result == nullptr) return ERROR_INVALID_PARAMETER;
  if (View(sub_key).empty()) {
    *result = key;
    return ERROR_SUCCESS;
  }
  return RegOpenKeyExW(key, sub_key, 0, MAXIMUM_ALLOWED, result);
}

LSTATUS WINAPI RegCreateKeyExW(HKEY key, LPCWSTR sub_key, DWORD reserved, LPWSTR class_name,
                               DWORD options, REGSAM access, LPSECURITY_ATTRIBUTES security,
                               PHKEY result, LPDWORD disposition) {
  KV_API_STATUS(RegCreateKeyExW, ERROR_ACCESS_DENIED, key, sub_key, reserved, class_name, options,
                access, security, result, disposition);
  if (reserved != 0 || sub_key == nullptr || result == nullptr) return ERROR_INVALID_PARAMETER;
  if (class_name != nullptr || options != REG_OPTION_NON_VOLATILE || security != nullptr) {
    return ERROR_CALL_NOT_IMPLEMENTED;
  }
  RegistryPath path;
  if (const LSTATUS status = PlaceOf(key, sub_key, access, path); status != ERROR_SUCCESS) {
    return status;
  }
  bool created;
  if (const LSTATUS status = CreatePlace(path, created); status != ERROR_SUCCESS) return status;
  if (const LSTATUS status = OpenPlace(path, access, result); status != ERROR_SUCCESS) {
    return status;
  }
  if (disposition != nullptr) {
    *disposition = created ? REG_CREATED_NEW_KEY : REG_OPENED_EXISTING_KEY;
  }
  return ERROR_SUCCESS;
}

LSTATUS WINAPI RegCloseKey(HKEY key) {
  KV_API_NOFAIL(RegCloseKey, ERROR_INVALID_HANDLE, key);
  return CloseKeyHandle(key) ? ERROR_SUCCESS : ERROR_INVALID_HANDLE;
}

LSTATUS WINAPI RegDeleteKeyW(HKEY key, LPCWSTR sub_key) {
  KV_API_STATUS(RegDeleteKeyW, ERROR_ACCESS_DENIED, key, sub_key);
  if (sub_key == nullptr) return ERROR_INVALID_PARAMETER;
  RegistryPath path;
  if (const LSTATUS status = PlaceOf(key, sub_key, 0, path); status != ERROR_SUCCESS) {
    return status;
  }
  return DeletePlace(path);
}

LSTATUS WINAPI RegDeleteKeyA(HKEY key, LPCSTR sub_key) {
  KV_API_STATUS(RegDeleteKeyA, ERROR_ACCESS_DENIED, key, sub_key);
  if (sub_key == nullptr) return ERROR_INVALID_PARAMETER;
  WideString wide(MultiByteToWideChar(CP_ACP, 0, sub_key, -1, nullptr, 0), 0);
  MultiByteToWideChar(CP_ACP, 0, sub_key, -1, wide.data(), static_cast<int>(wide.size()));
  return RegDeleteKeyW(key, wide.c_str());
}

LSTATUS WINAPI RegFlushKey(HKEY key) {
  KV_API_STATUS(RegFlushKey, ERROR_CANTWRITE, key);
  const std::optional<OpenKey> open = KeyOfHandle(key);
  if (!open) return ERROR_INVALID_HANDLE;
  Registry& registry = Registry::Current();
  return registry.IsAboveHives(open->key) ? registry.FlushAll() : open->key.hive().Flush();
}

LSTATUS WINAPI RegConnectRegistryW(LPCWSTR machine, HKEY key, PHKEY result) {
  KV_API_STATUS(RegConnectRegistryW, ERROR_BAD_NETPATH, machine, key, result);
  if (result == nullptr) return ERROR_INVALID_PARAMETER;
  if (key != HKEY_LOCAL_MACHINE && key != HKEY_USERS) return ERROR_INVALID_HANDLE;
  if (!IsThisMachine(View(machine))) return ERROR_BAD_NETPATH;
  return OpenPlace(Registry::Current().RootPath(key), MAXIMUM_ALLOWED, result);
}
