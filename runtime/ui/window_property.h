// Window properties that lead from windows to the library's objects.
#pragma once

#include "runtime/core/win.h"

namespace kv {

// The property `suffix` of this loaded copy of the library: two copies never see each other's
// values.
class WindowProperty {
 public:
  explicit WindowProperty(LPCWSTR suffix);

  // Null when the window does not have it.
  void* Get(HWND window) const { return GetPropW(window, name_); }
  BOOL Set(HWND window, void* value) const { return SetPropW(window, name_, value); }
  void Remove(HWND window) const { RemovePropW(window, name_); }

 private:
  WCHAR name_[80];
};

}  // namespace kv
