#include "platform/gdi/gdi_object.h"

#include <map>
#include <mutex>

#include "platform/kernel/api_call.h"

namespace platform {
namespace {

struct Objects {
  std::mutex mutex;
  std::map<UINT_PTR, std::shared_ptr<GdiObject>> live;
  UINT_PTR next = 0x01000010;
};

Objects& objects() {
  static Objects* instance = new Objects;
  return *instance;
}

}  // namespace

std::shared_ptr<GdiObject> GdiObjectOf(HANDLE handle) {
  std::lock_guard lock(objects().mutex);
  const auto found = objects().live.find(reinterpret_cast<UINT_PTR>(handle));
  return found == objects().live.end() ? nullptr : found->second;
}

HGDIOBJ AddStockObject(std::shared_ptr<GdiObject> object) {
  std::lock_guard lock(objects().mutex);
  const UINT_PTR handle = objects().next++;
  objects().live.emplace(handle, std::move(object));
  return reinterpret_cast<HGDIOBJ>(handle);
}

}  // namespace platform

int WINAPI GetObjectW(HANDLE handle, int size, LPVOID buffer) {
  KV_API(GetObjectW, ERROR_INVALID_HANDLE, 0, handle, size, buffer);
  const auto object = platform::GdiObjectOf(handle);
  if (object == nullptr) {
    SetLastError(ERROR_INVALID_HANDLE);
    return 0;
  }
  return object->Describe(buffer, size);
}
