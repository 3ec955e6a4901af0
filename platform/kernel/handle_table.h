// Kernel handles of this process. An object lives while a handle or a running operation holds it.
#pragma once

#include <windows.h>

#include <memory>

#include "platform/control/leaks.h"

namespace platform {

// What a kernel handle refers to: files, mappings, mutexes, events, processes, threads, tokens,
// pipes.
class KernelObject {
 public:
  virtual ~KernelObject() = default;
};

// A new handle for the object, never null.
HANDLE OpenHandle(std::shared_ptr<KernelObject> object);
// The object of a handle; null for handles that are not open. Pseudo handles are not in the table.
std::shared_ptr<KernelObject> ObjectOf(HANDLE handle);
// The object when it is a T, else null (the caller reports ERROR_INVALID_HANDLE).
template <class T>
std::shared_ptr<T> ObjectOf(HANDLE handle) {
  return std::dynamic_pointer_cast<T>(ObjectOf(handle));
}
// Closes a handle; false when it is not open.
bool ReleaseHandle(HANDLE handle);

}  // namespace platform
