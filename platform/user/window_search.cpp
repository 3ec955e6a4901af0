// Finding windows.
#include <algorithm>

#include "platform/kernel/api_call.h"
#include "platform/user/window.h"

namespace platform {
namespace {

bool HasClass(const Window& window, LPCWSTR name_or_atom) {
  if (name_or_atom == nullptr) return true;
  if (!IS_INTRESOURCE(name_or_atom)) return EqualNoCase(window.window_class->name, name_or_atom);
  return window.window_class->atom == reinterpret_cast<ULONG_PTR>(name_or_atom);
}

}  // namespace
}  // namespace platform

using namespace platform;

HWND WINAPI FindWindowW(LPCWSTR class_name, LPCWSTR title) {
  KV_API_NOFAIL(FindWindowW, nullptr, class_name, title);
  WindowLock lock;
  for (const WindowPointer& window : ChildrenOf(nullptr)) {
    if (HasClass(*window, class_name) && (title == nullptr || EqualNoCase(window->title, title))) {
      return window->handle;
    }
  }
  return nullptr;
}

BOOL WINAPI EnumThreadWindows(DWORD thread, WNDENUMPROC callback, LPARAM parameter) {
  KV_API_NOFAIL(EnumThreadWindows, FALSE, thread, callback, parameter);
  BOOL result = FALSE;
  for (const WindowPointer& window : ChildrenNow(nullptr)) {
    // The callback may have destroyed some that stood behind it.
    if (window->thread != thread || WindowOf(window->handle) == nullptr) continue;
    ProductCallback call;
    result = callback(window->handle, parameter);
    if (!result) break;
  }
  return result;
}

HWND WINAPI GetLastActivePopup(HWND handle) {
  KV_API_NOFAIL(GetLastActivePopup, nullptr, handle);
  const WindowPointer window = RequireWindow(handle);
  if (window == nullptr) return nullptr;
  HWND last;
  {
    WindowLock lock;
    last = window->owner == nullptr ? window->last_active_popup : nullptr;
  }
  return WindowOf(last) != nullptr ? last : handle;
}

HWND WINAPI GetParent(HWND handle) {
  KV_API_NOFAIL(GetParent, nullptr, handle);
  const WindowPointer window = RequireWindow(handle);
  if (window == nullptr) return nullptr;
  WindowLock lock;
  if ((window->style & WS_CHILD) != 0) return window->parent;
  return (window->style & WS_POPUP) != 0 ? window->owner : nullptr;
}

HWND WINAPI GetDlgItem(HWND dialog, int id) {
  KV_API(GetDlgItem, ERROR_CONTROL_ID_NOT_FOUND, nullptr, dialog, id);
  if (RequireWindow(dialog) == nullptr) return nullptr;
  WindowLock lock;
  for (const WindowPointer& child : ChildrenOf(dialog)) {
    if (static_cast<int>(child->id) == id) return child->handle;
  }
  SetLastError(ERROR_CONTROL_ID_NOT_FOUND);
  return nullptr;
}
