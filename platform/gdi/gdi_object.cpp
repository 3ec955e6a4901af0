#include "platform/gdi/gdi_object.h"

#include <cstring>
#include <map>
#include <mutex>

#include "platform/gdi/device_context.h"
#include "platform/kernel/api_call.h"
#include "platform/kernel/result.h"

namespace platform {
namespace {

struct LiveObject {
  std::shared_ptr<GdiObject> object;
  std::unique_ptr<CountedResource> counted;  // null for a stock object
};

struct Objects {
  std::mutex mutex;
  std::map<UINT_PTR, LiveObject> live;
  UINT_PTR next = 0x01000010;
};

Objects& objects() {
  static Objects* instance = new Objects;
  return *instance;
}

// Handles are not used again, so that one deleted twice is noticed.
HGDIOBJ Add(LiveObject object) {
  std::lock_guard lock(objects().mutex);
  const UINT_PTR handle = objects().next++;
  objects().live.emplace(handle, std::move(object));
  return reinterpret_cast<HGDIOBJ>(handle);
}

bool IsStockObject(HANDLE handle) {
  std::lock_guard lock(objects().mutex);
  const auto found = objects().live.find(reinterpret_cast<UINT_PTR>(handle));
  return found != objects().live.end() && found->second.counted == nullptr;
}

DWORD Delete(HANDLE handle) {
  const auto object = GdiObjectOf(handle);
  if (object == nullptr || std::dynamic_pointer_cast<DeviceContext>(object) != nullptr) {
    return ERROR_INVALID_HANDLE;
  }
  if (IsStockObject(handle)) return ERROR_SUCCESS;
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
  return Add({std::move(object), std::make_unique<CountedResource>(kind)});
}

HGDIOBJ AddStockObject(std::shared_ptr<GdiObject> object) {
  return Add({std::move(object), nullptr});
}

bool DeleteGdiObject(HANDLE handle) {
  LiveObject deleted;
  std::lock_guard lock(objects().mutex);
  const auto found = objects().live.find(reinterpret_cast<UINT_PTR>(handle));
  if (found == objects().live.end()) return false;
  deleted = std::move(found->second);
  objects().live.erase(found);
  return true;
}

std::shared_ptr<GdiObject> GdiObjectOf(HANDLE handle) {
  std::lock_guard lock(objects().mutex);
  const auto found = objects().live.find(reinterpret_cast<UINT_PTR>(handle));
  return found == objects().live.end() ? nullptr : found->second.object;
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
