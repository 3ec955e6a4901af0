#include "platform/kernel/handle_table.h"

#include <mutex>
#include <unordered_map>

#include "platform/kernel/api_call.h"

namespace platform {
namespace {

struct OpenObject {
  std::shared_ptr<KernelObject> object;
  std::unique_ptr<CountedResource> counted;
};

struct Table {
  std::mutex mutex;
  std::unordered_map<UINT_PTR, OpenObject> open;
  UINT_PTR next = 4;
};

Table& table() {
  static Table* instance = new Table;
  return *instance;
}

}  // namespace

HANDLE OpenHandle(std::shared_ptr<KernelObject> object) {
  auto counted = std::make_unique<CountedResource>(Resource::kHandle);
  std::lock_guard lock(table().mutex);
  const UINT_PTR value = table().next;
  // Values are not used again soon, so that a handle closed twice is noticed.
  table().next += 4;
  table().open.emplace(value, OpenObject{std::move(object), std::move(counted)});
  return reinterpret_cast<HANDLE>(value);
}

std::shared_ptr<KernelObject> ObjectOf(HANDLE handle) {
  std::lock_guard lock(table().mutex);
  const auto found = table().open.find(reinterpret_cast<UINT_PTR>(handle));
  return found == table().open.end() ? nullptr : found->second.object;
}

bool ReleaseHandle(HANDLE handle) {
  OpenObject released;
  std::lock_guard lock(table().mutex);
  const auto found = table().open.find(reinterpret_cast<UINT_PTR>(handle));
  if (found == table().open.end()) return false;
  released = std::move(found->second);
  table().open.erase(found);
  return true;
}

}  // namespace platform

BOOL WINAPI CloseHandle(HANDLE handle) {
  KV_API_NOFAIL(CloseHandle, FALSE, handle);
  if (platform::ReleaseHandle(handle)) return TRUE;
  SetLastError(ERROR_INVALID_HANDLE);
  return FALSE;
}
