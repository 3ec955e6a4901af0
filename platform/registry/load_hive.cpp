// Loading and unloading hives.
#include <windows.h>

#include "platform/kernel/api_call.h"
#include "platform/kernel/path.h"
#include "platform/registry/open_keys.h"
#include "platform/security/rights.h"

namespace platform {
namespace {

// The place below HKEY_LOCAL_MACHINE or HKEY_USERS of that name.
LSTATUS PlaceOf(HKEY key, LPCWSTR name, RegistryPath& path) {
  if (key != HKEY_LOCAL_MACHINE && key != HKEY_USERS) return ERROR_INVALID_PARAMETER;
  if (View(name).empty() || View(name).find('\\') != WideView::npos) return ERROR_INVALID_PARAMETER;
  if (!CallerHasPrivilege(TEXT("SeRestorePrivilege"))) return ERROR_PRIVILEGE_NOT_HELD;
  path = Registry::Current().RootPath(key);
  path.emplace_back(View(name));
  return ERROR_SUCCESS;
}

}  // namespace
}  // namespace platform

using namespace platform;

LSTATUS WINAPI RegLoadKeyW(HKEY key, LPCWSTR sub_key, LPCWSTR file) {
  KV_API_STATUS(RegLoadKeyW, ERROR_PRIVILEGE_NOT_HELD, key, sub_key, file);
  RegistryPath path;
  if (const LSTATUS status = PlaceOf(key, sub_key, path); status != ERROR_SUCCESS) return status;
  const ResolvedPath found = ResolvePath(View(file));
  if (!found.Exists() && !found.CanBeCreated()) return static_cast<LSTATUS>(found.error);
  if (found.is_device || std::filesystem::is_directory(found.host)) return ERROR_ACCESS_DENIED;
  return Registry::Current().Load(path, found.host);
}

LSTATUS WINAPI RegUnLoadKeyW(HKEY key, LPCWSTR sub_key) {
  KV_API_STATUS(RegUnLoadKeyW, ERROR_ACCESS_DENIED, key, sub_key);
  RegistryPath path;
  if (const LSTATUS status = PlaceOf(key, sub_key, path); status != ERROR_SUCCESS) return status;
  const RegistryKey loaded = Registry::Current().Find(path);
  if (loaded && HasOpenHandles(loaded.hive())) return ERROR_ACCESS_DENIED;
  return Registry::Current().Unload(path);
}
