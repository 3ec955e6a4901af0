#include "platform/kernel/handle_table.h"

#include "platform/kernel/api_call.h"
#include "platform/kernel/handle_map.h"

namespace platform {
namespace {

HandleMap<std::shared_ptr<KernelObject>>& handles() {
  static auto* instance = new HandleMap<std::shared_ptr<KernelObject>>(4);
  return *instance;
}

}  // namespace

HANDLE OpenHandle(std::shared_ptr<KernelObject> object) {
  return handles().Add(std::move(object), Resource::kHandle);
}

std::shared_ptr<KernelObject> ObjectOf(HANDLE handle) {
  return handles().Find(handle).value_or(nullptr);
}

bool ReleaseHandle(HANDLE handle) {
  return handles().Take(handle).has_value();
}

}  // namespace platform

BOOL WINAPI CloseHandle(HANDLE handle) {
  KV_API_NOFAIL(CloseHandle, FALSE, handle);
  if (platform::ReleaseHandle(handle)) return TRUE;
  SetLastError(ERROR_INVALID_HANDLE);
  return FALSE;
}
