// What single windows hold: long values, text, properties, enabled state.
#include <algorithm>
#include <cstring>
#include <utility>

#include "platform/kernel/api_call.h"
#include "platform/kernel/buffer.h"
#include "platform/user/shell_window.h"
#include "platform/user/window.h"

namespace platform {
namespace {

// A field of the window that GetWindowLongPtrW and SetWindowLongPtrW know by a negative index.
// Both with the lock held; false for an unknown index.
bool ReadField(const Window& window, int index, LONG_PTR& value) {
  switch (index) {
    case GWLP_WNDPROC:
      value = reinterpret_cast<LONG_PTR>(window.procedure);
      return true;
    case GWLP_HINSTANCE:
      value = reinterpret_cast<LONG_PTR>(window.instance);
      return true;
    case GWLP_HWNDPARENT:
      value = reinterpret_cast<LONG_PTR>(window.parent != nullptr ? window.parent : window.owner);
      return true;
    case GWLP_ID:
      value = window.id;
      return true;
    case GWL_STYLE:
      value = static_cast<LONG>(window.style);
      return true;
    case GWL_EXSTYLE:
      value = static_cast<LONG>(window.ex_style);
      return true;
    case GWLP_USERDATA:
      value = window.user_data;
      return true;
    default:
      return false;
  }
}

bool WriteField(Window& window, int index, LONG_PTR value) {
  switch (index) {
    case GWLP_WNDPROC:
      window.procedure = reinterpret_cast<WNDPROC>(value);
      return true;
    case GWLP_ID:
      window.id = value;
      return true;
    case GWL_STYLE:
      window.style = static_cast<DWORD>(value);
      return true;
    case GWL_EXSTYLE:
      window.ex_style = static_cast<DWORD>(value);
      return true;
    case GWLP_USERDATA:
      window.user_data = value;
      return true;
    default:
      return false;
  }
}

bool IsExtra(const Window& window, int index) {
  return index >= 0 && index + sizeof(LONG_PTR) <= window.extra.size();
}

LONG_PTR FailIndex() {
  SetLastError(ERROR_INVALID_INDEX);
  return 0;
}

// Properties that are named by an atom have its number as their name.
WideString PropertyName(LPCWSTR name) {
  if (!IS_INTRESOURCE(name)) return name;
  return ToWide("#" + std::to_string(reinterpret_cast<ULONG_PTR>(name)));
}

WideString TitleOf(const Window& window) {
  WindowLock lock;
  return window.title;
}

}  // namespace
}  // namespace platform

using namespace platform;

LONG_PTR WINAPI GetWindowLongPtrW(HWND handle, int index) {
  KV_API(GetWindowLongPtrW, ERROR_INVALID_WINDOW_HANDLE, 0, handle, index);
  const WindowPointer window = RequireWindow(handle);
  if (window == nullptr) return 0;
  WindowLock lock;
  LONG_PTR value = 0;
  if (IsExtra(*window, index)) {
    std::memcpy(&value, window->extra.data() + index, sizeof(value));
    return value;
  }
  return ReadField(*window, index, value) ? value : FailIndex();
}

#ifdef __LP64__
LONG WINAPI GetWindowLongW(HWND handle, int index) {
  KV_API(GetWindowLongW, ERROR_INVALID_WINDOW_HANDLE, 0, handle, index);
  if (index >= 0) {
    SetLastError(ERROR_CALL_NOT_IMPLEMENTED);
    return 0;
  }
  return static_cast<LONG>(GetWindowLongPtrW(handle, index));
}
#endif

LONG_PTR WINAPI SetWindowLongPtrW(HWND handle, int index, LONG_PTR value) {
  KV_API(SetWindowLongPtrW, ERROR_INVALID_WINDOW_HANDLE, 0, handle, index, value);
  const WindowPointer window = RequireWindow(handle);
  if (window == nullptr) return 0;
  WindowLock lock;
  LONG_PTR previous = 0;
  if (IsExtra(*window, index)) {
    std::memcpy(&previous, window->extra.data() + index, sizeof(previous));
    std::memcpy(window->extra.data() + index, &value, sizeof(value));
    return previous;
  }
  if (!ReadField(*window, index, previous) || !WriteField(*window, index, value)) {
    return FailIndex();
  }
  return previous;
}

DWORD WINAPI GetWindowThreadProcessId(HWND handle, LPDWORD process) {
  KV_API(GetWindowThreadProcessId, ERROR_INVALID_WINDOW_HANDLE, 0, handle, process);
  if (const auto shell = ProcessOfShellWindow(handle)) {
    if (process != nullptr) *process = *shell;
    return *shell;
  }
  const WindowPointer window = RequireWindow(handle);
  if (window == nullptr) return 0;
  if (process != nullptr) *process = GetCurrentProcessId();
  return window->thread;
}

BOOL WINAPI IsWindowEnabled(HWND handle) {
  KV_API_NOFAIL(IsWindowEnabled, FALSE, handle);
  const WindowPointer window = RequireWindow(handle);
  if (window == nullptr) return FALSE;
  WindowLock lock;
  return (window->style & WS_DISABLED) == 0;
}

BOOL WINAPI EnableWindow(HWND handle, BOOL enable) {
  KV_API_NOFAIL(EnableWindow, FALSE, handle, enable);
  const WindowPointer window = RequireWindow(handle);
  if (window == nullptr) return FALSE;
  bool was_disabled;
  {
    WindowLock lock;
    was_disabled = (window->style & WS_DISABLED) != 0;
    window->style = enable ? window->style & ~DWORD{WS_DISABLED} : window->style | WS_DISABLED;
  }
  if (was_disabled == (enable != FALSE) && window->thread == GetCurrentThreadId()) {
    CallProcedure(window, WM_ENABLE, enable != FALSE, 0);
  }
  return was_disabled;
}

// The text of a window of another thread is read and written without its procedure.
int WINAPI GetWindowTextW(HWND handle, LPWSTR buffer, int capacity) {
  KV_API(GetWindowTextW, ERROR_INVALID_WINDOW_HANDLE, 0, handle, buffer, capacity);
  const WindowPointer window = RequireWindow(handle);
  if (window == nullptr) return 0;
  if (window->thread != GetCurrentThreadId()) return CopyCut(TitleOf(*window), buffer, capacity);
  return static_cast<int>(
      CallProcedure(window, WM_GETTEXT, capacity, reinterpret_cast<LPARAM>(buffer)));
}

BOOL WINAPI SetWindowTextW(HWND handle, LPCWSTR text) {
  KV_API(SetWindowTextW, ERROR_INVALID_WINDOW_HANDLE, FALSE, handle, text);
  const WindowPointer window = RequireWindow(handle);
  if (window == nullptr) return FALSE;
  if (window->thread == GetCurrentThreadId()) {
    return CallProcedure(window, WM_SETTEXT, 0, reinterpret_cast<LPARAM>(text)) != FALSE;
  }
  WindowLock lock;
  window->title = View(text);
  return TRUE;
}

int WINAPI GetClassNameW(HWND handle, LPWSTR buffer, int capacity) {
  KV_API(GetClassNameW, ERROR_INVALID_WINDOW_HANDLE, 0, handle, buffer, capacity);
  const WindowPointer window = RequireWindow(handle);
  return window == nullptr ? 0 : CopyCut(window->window_class->name, buffer, capacity);
}

BOOL WINAPI SetPropW(HWND handle, LPCWSTR name, HANDLE value) {
  KV_API(SetPropW, ERROR_NOT_ENOUGH_MEMORY, FALSE, handle, name, value);
  const WindowPointer window = RequireWindow(handle);
  if (window == nullptr) return FALSE;
  WindowLock lock;
  window->properties[PropertyName(name)] = value;
  return TRUE;
}

HANDLE WINAPI GetPropW(HWND handle, LPCWSTR name) {
  KV_API_NOFAIL(GetPropW, nullptr, handle, name);
  const WindowPointer window = RequireWindow(handle);
  if (window == nullptr) return nullptr;
  WindowLock lock;
  const auto found = window->properties.find(PropertyName(name));
  return found == window->properties.end() ? nullptr : found->second;
}

HANDLE WINAPI RemovePropW(HWND handle, LPCWSTR name) {
  KV_API_NOFAIL(RemovePropW, nullptr, handle, name);
  const WindowPointer window = RequireWindow(handle);
  if (window == nullptr) return nullptr;
  WindowLock lock;
  const auto found = window->properties.find(PropertyName(name));
  if (found == window->properties.end()) return nullptr;
  const HANDLE value = found->second;
  window->properties.erase(found);
  return value;
}

LRESULT WINAPI DefWindowProcW(HWND handle, UINT message, WPARAM wparam, LPARAM lparam) {
  KV_API_NOFAIL(DefWindowProcW, 0, handle, message, wparam, lparam);
  const WindowPointer window = RequireWindow(handle);
  if (window == nullptr) return 0;
  switch (message) {
    case WM_NCCREATE:
      lparam = reinterpret_cast<LPARAM>(reinterpret_cast<CREATESTRUCTW*>(lparam)->lpszName);
      [[fallthrough]];
    case WM_SETTEXT: {
      WindowLock lock;
      window->title = View(reinterpret_cast<LPCWSTR>(lparam));
      return TRUE;
    }
    case WM_GETTEXT:
      return CopyCut(TitleOf(*window), reinterpret_cast<LPWSTR>(lparam), static_cast<int>(wparam));
    case WM_GETTEXTLENGTH:
      return static_cast<LRESULT>(TitleOf(*window).size());
    case WM_CLOSE:
      DestroyWindow(handle);
      return 0;
    case WM_PAINT: {
      WindowLock lock;
      window->needs_paint = false;
      return 0;
    }
    case WM_SETICON: {
      WindowLock lock;
      HICON& icon = window->icons[wparam == ICON_BIG];
      return reinterpret_cast<LRESULT>(std::exchange(icon, reinterpret_cast<HICON>(lparam)));
    }
    case WM_GETICON: {
      WindowLock lock;
      return reinterpret_cast<LRESULT>(window->icons[wparam == ICON_BIG]);
    }
    case WM_ACTIVATE:
      if (LOWORD(wparam) != WA_INACTIVE && HIWORD(wparam) == 0) SetFocus(handle);
      return 0;
    default:
      return 0;
  }
}
