#include "platform/registry/open_keys.h"

#include "platform/kernel/handle_map.h"
#include "platform/security/rights.h"

namespace platform {
namespace {

HandleMap<OpenKey>& handles() {
  static auto* instance = new HandleMap<OpenKey>(0x20000004);
  return *instance;
}

constexpr REGSAM kViewFlags = KEY_WOW64_32KEY | KEY_WOW64_64KEY;

}  // namespace

HKEY OpenKeyHandle(OpenKey key) {
  return static_cast<HKEY>(handles().Add(std::move(key), Resource::kRegistryKey));
}

bool IsPredefined(HKEY handle) {
  return handle == HKEY_LOCAL_MACHINE || handle == HKEY_CURRENT_USER || handle == HKEY_USERS ||
         handle == HKEY_CLASSES_ROOT;
}

std::optional<OpenKey> KeyOfHandle(HKEY handle) {
  if (IsPredefined(handle)) {
    Registry& registry = Registry::Current();
    const RegistryKey key = registry.Find(registry.RootPath(handle));
    if (!key) return std::nullopt;
    return OpenKey{key, AllowedAccess(key)};
  }
  return handles().Find(handle);
}

LSTATUS UseKey(HKEY handle, REGSAM right, OpenKey& key) {
  std::optional<OpenKey> open = KeyOfHandle(handle);
  if (!open) return ERROR_INVALID_HANDLE;
  if ((open->access & right) != right) return ERROR_ACCESS_DENIED;
  key = std::move(*open);
  return ERROR_SUCCESS;
}

bool CloseKeyHandle(HKEY handle) {
  return IsPredefined(handle) || handles().Take(handle).has_value();
}

bool HasOpenHandles(const Hive& hive) {
  return handles().AnyOf([&](const OpenKey& open) { return &open.key.hive() == &hive; });
}

REGSAM AllowedAccess(const RegistryKey& key) {
  const WideString& place = key.hive().place();
  if (CallerIsElevatedAdministrator() || EqualNoCase(place, TEXT("USER\\") + CallerSid())) {
    return KEY_ALL_ACCESS;
  }
  return place.starts_with(TEXT("USER\\S-1-5-21-")) ? 0 : KEY_READ;
}

bool GrantAccess(const RegistryKey& key, REGSAM asked, REGSAM& granted) {
  const REGSAM allowed = AllowedAccess(key);
  asked &= ~kViewFlags;
  if ((asked & GENERIC_READ) != 0) asked |= KEY_READ;
  if ((asked & GENERIC_WRITE) != 0) asked |= KEY_WRITE;
  if ((asked & GENERIC_EXECUTE) != 0) asked |= KEY_EXECUTE;
  if ((asked & GENERIC_ALL) != 0) asked |= KEY_ALL_ACCESS;
  if ((asked & MAXIMUM_ALLOWED) != 0) asked |= allowed;
  asked &= ~(GENERIC_READ | GENERIC_WRITE | GENERIC_EXECUTE | GENERIC_ALL | MAXIMUM_ALLOWED);
  granted = asked;
  return (asked & ~allowed) == 0 && (allowed != 0);
}

}  // namespace platform
