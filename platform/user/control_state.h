// What the system's controls keep in their windows: values of the size of a pointer, by number.
#pragma once

#include <windows.h>

namespace platform {

// The font is every control's first value.
inline constexpr int kFontValue = 0;

inline LONG_PTR ControlValue(HWND control, int number) {
  return GetWindowLongPtrW(control, number * static_cast<int>(sizeof(LONG_PTR)));
}
// Returns the previous value.
inline LONG_PTR SetControlValue(HWND control, int number, LONG_PTR value) {
  return SetWindowLongPtrW(control, number * static_cast<int>(sizeof(LONG_PTR)), value);
}
constexpr int ControlExtra(int values) {
  return values * static_cast<int>(sizeof(LONG_PTR));
}

}  // namespace platform
