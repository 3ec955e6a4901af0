// Graphics objects of this process: pens, brushes, fonts, bitmaps, regions and device contexts.
#pragma once

#include <windows.h>

#include <atomic>
#include <memory>

#include "platform/control/leaks.h"

namespace platform {

class GdiObject {
 public:
  GdiObject() = default;
  virtual ~GdiObject() = default;
  GdiObject(const GdiObject&) = delete;
  GdiObject& operator=(const GdiObject&) = delete;

  // What GetObjectW reports: writes the description when `buffer` is not null and `size` bytes are
  // enough; returns its size, 0 when they are not. Kinds that nothing asks about fail with
  // ERROR_CALL_NOT_IMPLEMENTED.
  virtual int Describe(void* buffer, int size) const;

  // How many states of device contexts hold the object; while any does, it cannot be deleted.
  std::atomic<int> selections = 0;
};

// A handle for the object, which lives until DeleteGdiObject.
HGDIOBJ AddGdiObject(std::shared_ptr<GdiObject> object, Resource kind = Resource::kGdiObject);
// The handle of a stock object, which lives as long as the process.
HGDIOBJ AddStockObject(std::shared_ptr<GdiObject> object);
// Ends a handle; false when it is none.
bool DeleteGdiObject(HANDLE handle);

// The object of a handle; null when it is none.
std::shared_ptr<GdiObject> GdiObjectOf(HANDLE handle);
// The object when it is a T, else null.
template <class T>
std::shared_ptr<T> GdiObjectOf(HANDLE handle) {
  return std::dynamic_pointer_cast<T>(GdiObjectOf(handle));
}
// The same with ERROR_INVALID_HANDLE as last error.
template <class T>
std::shared_ptr<T> RequireGdiObject(HANDLE handle) {
  auto object = GdiObjectOf<T>(handle);
  if (object == nullptr) SetLastError(ERROR_INVALID_HANDLE);
  return object;
}

// Copies a description into the caller's buffer by the rule of GdiObject::Describe.
int CopyDescription(const void* description, int description_size, void* buffer, int size);

}  // namespace platform
