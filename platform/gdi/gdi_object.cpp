#include "platform/gdi/gdi_object.h"

#include <cstring>

#include "platform/gdi/device_context.h"
#include "platform/kernel/api_call.h"
#include "platform/kernel/handle_map.h"
#include "platform/kernel/result.h"

namespace platform {
namespace {

HandleMap<std::shared_ptr<GdiObject>>& handles() {
  static auto* instance = new HandleMap<std::shared_ptr<GdiObject>>(0x01000010);
  return *instance;
}

DWORD Delete(HANDLE handle) {
  const auto object = GdiObjectOf(handle);
  if (object == nullptr || std::dynamic_pointer_cast<DeviceContext>(object) != nullptr) {
    return ERROR_INVALID_HANDLE;
  }
  const bool stock = !handles().IsCounted(handle);
  if (stock) return ERROR_SUCCESS;
  if (object->selections != 0) return ERROR_BUSY;
  DeleteGdiObject(handle);
  return ERROR_SUCCESS;
}

}  // namespace

int GdiObject::Describe(void*, int) const {
  SetLastError(ERROR_CALL_NOT_IMPLEMENTED);
  return 0;
}

HGDIOBJ AddGdiObject(std::shared_ptr<GdiObject> object, Resource kind) {
  return handles().Add(std::move(object), kind);
}

HGDIOBJ AddStockObject(std::shared_ptr<GdiObject> object) {
  return handles().Add(std::move(object), std::nullopt);
}

bool DeleteGdiObject(HANDLE handle) {
  return handles().Take(handle).has_value();
}

std::shared_ptr<GdiObject> GdiObjectOf(HANDLE handle) {
  return handles().Find(handle).value_or(nullptr);
}

int CopyDescription(const void* description, int description_size, void* buffer, int size) {
  if (buffer == nullptr) return description_size;
  if (size < description_size) return 0;
  std::memcpy(buffer, description, description_size);
  return description_size;
}

}  // namespace platform

using namespace platform;

int WINAPI GetObjectW(HANDLE handle, int size, LPVOID buffer) {
  KV_API(GetObjectW, ERROR_INVALID_HANDLE, 0, handle, size, buffer);
  const auto object = RequireGdiObject<GdiObject>(handle);
  return object == nullptr ? 0 : object->Describe(buffer, size);
}

BOOL WINAPI DeleteObject(HGDIOBJ handle) {
  KV_API_NOFAIL(DeleteObject, FALSE, handle);
  return Finish(Delete(handle));
}
