// Graphics objects of this process.
#pragma once

#include <windows.h>

#include <memory>

namespace platform {

class GdiObject {
 public:
  virtual ~GdiObject() = default;
  // What GetObjectW reports: writes the description when `buffer` is not null and `size` bytes are
  // enough; returns its size, 0 when they are not.
  virtual int Describe(void* buffer, int size) const = 0;
};

// The object of a handle; null when it is none.
std::shared_ptr<GdiObject> GdiObjectOf(HANDLE handle);

// The handle of a stock object, which lives as long as the process.
HGDIOBJ AddStockObject(std::shared_ptr<GdiObject> object);

}  // namespace platform
