#include "platform/registry/open_keys.h"

#include <algorithm>
#include <unordered_map>

#include "platform/control/leaks.h"
#include "platform/security/rights.h"

namespace platform {
namespace {

struct Entry {
  OpenKey key;
  std::unique_ptr<CountedResource> counted;
};

struct Handles {
  std::mutex mutex;
  std::unordered_map<UINT_PTR, Entry> open;
  // Apart from kernel handles; values are not used again, so that a key closed twice is noticed.
  UINT_PTR next = 0x20000004;
};

Handles& handles() {
  static Handles* instance = new Handles;
  return *instance;
}

constexpr REGSAM kViewFlags = KEY_WOW64_32KEY | KEY_WOW64_64KEY;

}  // namespace

HKEY OpenKeyHandle(OpenKey key) {
  auto counted = std::make_unique<CountedResource>(Resource::kRegistryKey);
  std::lock_guard lock(handles().mutex);
  const UINT_PTR value = handles().next;
  handles().next += 4;
  handles().open.emplace(value, Entry{std::move(key), std::move(counted)});
  return reinterpret_cast<HKEY>(value);
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
  std::lock_guard lock(handles().mutex);
  const auto found = handles().open.find(reinterpret_cast<UINT_PTR>(handle));
  return found == handles().open.end() ? std::nullopt : std::optional(found->second.key);
}

LSTATUS UseKey(HKEY handle, REGSAM right, OpenKey& key) {
  std::optional<OpenKey> open = KeyOfHandle(handle);
  if (!open) return ERROR_INVALID_HANDLE;
  if ((open->access & right) != right) return ERROR_ACCESS_DENIED;
  key = std::move(*open);
  return ERROR_SUCCESS;
}

bool CloseKeyHandle(HKEY handle) {
  if (IsPredefined(handle)) return true;
  Entry closed;
  std::lock_guard lock(handles().mutex);
  const auto found = handles().open.find(reinterpret_cast<UINT_PTR>(handle));
  if (found == handles().open.end()) return false;
  closed = std::move(found->second);
  handles().open.erase(found);
  return true;
}

bool HasOpenHandles(const Hive& hive) {
  std::lock_guard lock(handles().mutex);
  return std::any_of(handles().open.begin(), handles().open.end(),
                     [&](const auto& entry) { return &entry.second.key.key.hive() == &hive; });
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
