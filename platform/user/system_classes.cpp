#include "platform/user/system_classes.h"

#include "platform/control/faults.h"
#include "platform/user/message_box.h"

namespace platform {
namespace {

// Offset into a control's extra bytes.
constexpr int kFontOffset = 0;

std::shared_ptr<WindowClass> SystemClass(LPCWSTR name, ATOM atom, WNDPROC procedure, int extra) {
  auto result = std::make_shared<WindowClass>();
  result->name = name;
  result->atom = atom;
  result->data.lpfnWndProc = procedure;
  result->data.cbWndExtra = extra;
  return result;
}

}  // namespace

std::vector<std::shared_ptr<WindowClass>> SystemClasses() {
  return {SystemClass(TEXT("#32770"), kDialogAtom, MessageBoxProcedure, DLGWINDOWEXTRA),
          SystemClass(TEXT("Static"), 0, ControlProcedure, sizeof(HFONT)),
          SystemClass(TEXT("Button"), 0, ControlProcedure, sizeof(HFONT))};
}

LRESULT CALLBACK ControlProcedure(HWND window, UINT message, WPARAM wparam, LPARAM lparam) {
  OutsideTest own_code;
  switch (message) {
    case WM_SETFONT:
      SetWindowLongPtrW(window, kFontOffset, static_cast<LONG_PTR>(wparam));
      return 0;
    case WM_GETFONT:
      return GetWindowLongPtrW(window, kFontOffset);
    default:
      return DefWindowProcW(window, message, wparam, lparam);
  }
}

}  // namespace platform
