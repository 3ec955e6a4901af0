// Texts, pictures and buttons.
#include "platform/user/controls.h"

#include "platform/control/faults.h"
#include "platform/user/control_state.h"
#include "platform/user/icons.h"
#include "platform/user/window.h"

namespace platform {
namespace {

constexpr int kImageValue = 1;  // of a picture

DWORD StyleOf(HWND window) {
  return static_cast<DWORD>(GetWindowLongW(window, GWL_STYLE));
}

// A picture takes the size of its icon.
LRESULT SetIcon(HWND window, LPARAM icon) {
  const auto size = IconSize(reinterpret_cast<HICON>(icon));
  if (size) {
    SetWindowPos(window, nullptr, 0, 0, size->cx, size->cy,
                 SWP_NOMOVE | SWP_NOZORDER | SWP_NOACTIVATE);
  }
  return SetControlValue(window, kImageValue, icon);
}

LRESULT TellParent(HWND button, UINT message, WPARAM wparam, LPARAM lparam) {
  return SendMessageW(GetParent(button), message, wparam, lparam);
}

void Click(HWND button) {
  if (!IsWindowEnabled(button)) return;
  const int id = static_cast<int>(GetWindowLongPtrW(button, GWLP_ID));
  TellParent(button, WM_COMMAND, MAKEWPARAM(id, BN_CLICKED), reinterpret_cast<LPARAM>(button));
}

void PaintButton(HWND button) {
  PAINTSTRUCT paint;
  if (BeginPaint(button, &paint) == nullptr) return;
  if ((StyleOf(button) & BS_TYPEMASK) == BS_OWNERDRAW) {
    DRAWITEMSTRUCT item = {};
    item.CtlType = ODT_BUTTON;
    item.CtlID = static_cast<UINT>(GetWindowLongPtrW(button, GWLP_ID));
    item.itemAction = ODA_DRAWENTIRE;
    item.itemState =
        (IsWindowEnabled(button) ? 0 : ODS_DISABLED) | (GetFocus() == button ? ODS_FOCUS : 0);
    item.hwndItem = button;
    item.hDC = paint.hdc;
    item.rcItem = paint.rcPaint;
    TellParent(button, WM_DRAWITEM, item.CtlID, reinterpret_cast<LPARAM>(&item));
  }
  EndPaint(button, &paint);
}

}  // namespace

LRESULT ControlMessage(HWND window, UINT message, WPARAM wparam, LPARAM lparam) {
  switch (message) {
    case WM_SETFONT:
      SetControlValue(window, kFontValue, static_cast<LONG_PTR>(wparam));
      return 0;
    case WM_GETFONT:
      return ControlValue(window, kFontValue);
    case WM_SETTEXT: {
      const LRESULT result = DefWindowProcW(window, message, wparam, lparam);
      if (const WindowPointer record = WindowOf(window)) {
        WindowLock lock;
        Invalidate(*record);
      }
      return result;
    }
    default:
      return DefWindowProcW(window, message, wparam, lparam);
  }
}

LRESULT CALLBACK StaticProcedure(HWND window, UINT message, WPARAM wparam, LPARAM lparam) {
  OutsideTest own_code;
  switch (message) {
    case STM_SETICON:
      return SetIcon(window, static_cast<LPARAM>(wparam));
    case STM_SETIMAGE:
      return wparam == IMAGE_ICON ? SetIcon(window, lparam) : 0;
    case STM_GETICON:
    case STM_GETIMAGE:
      return ControlValue(window, kImageValue);
    case WM_GETDLGCODE:
      return DLGC_STATIC;
    default:
      return ControlMessage(window, message, wparam, lparam);
  }
}

LRESULT CALLBACK ButtonProcedure(HWND window, UINT message, WPARAM wparam, LPARAM lparam) {
  OutsideTest own_code;
  switch (message) {
    case BM_CLICK:
      Click(window);
      return 0;
    case WM_KEYUP:
      if (wparam == VK_SPACE) Click(window);
      return 0;
    case WM_PAINT:
      PaintButton(window);
      return 0;
    case WM_GETDLGCODE:
      return DLGC_BUTTON |
             ((StyleOf(window) & BS_TYPEMASK) == BS_DEFPUSHBUTTON ? DLGC_DEFPUSHBUTTON
                                                                  : DLGC_UNDEFPUSHBUTTON);
    default:
      return ControlMessage(window, message, wparam, lparam);
  }
}

}  // namespace platform
