// Where windows are, and whether they can be seen.
#include <algorithm>

#include "platform/kernel/api_call.h"
#include "platform/user/window.h"

namespace platform {
namespace {

constexpr UINT kKnownFlags = SWP_NOSIZE | SWP_NOMOVE | SWP_NOZORDER | SWP_NOACTIVATE;

// With the lock held: the corner from which a window's position counts; the screen's for none.
POINT OriginOf(const Window* window) {
  if (window == nullptr) return {0, 0};
  const RECT area = ClientArea(window->style, window->rectangle);
  return {area.left, area.top};
}

// With the lock held.
POINT OriginOf(HWND window) {
  const auto line = LineOf(window);
  return OriginOf(line.empty() ? nullptr : line.front().get());
}

// With the lock held.
void MoveBy(const WindowPointer& window, LONG x, LONG y) {
  RECT& r = window->rectangle;
  r = {r.left + x, r.top + y, r.right + x, r.bottom + y};
  for (const WindowPointer& child : ChildrenOf(window->handle)) MoveBy(child, x, y);
}

// Takes the keyboard from a window that cannot be seen any more.
void LeaveFocus(const WindowPointer& window) {
  HWND focus, parent;
  {
    WindowLock lock;
    focus = StateOf(window->thread).focus;
    parent = window->parent;
    if (focus == nullptr || !IsSameOrBelow(focus, window->handle)) return;
  }
  SetFocus(parent);
}

void Hide(const WindowPointer& window) {
  CallProcedure(window, WM_SHOWWINDOW, FALSE, 0);
  bool was_active;
  {
    WindowLock lock;
    window->style &= ~WS_VISIBLE;
    ThreadState& state = StateOf(window->thread);
    was_active = state.active == window->handle;
    if (was_active) state.active = nullptr;
  }
  LeaveFocus(window);
  if (was_active) ActivateOwner(*window);
}

void Minimize(const WindowPointer& window) {
  {
    WindowLock lock;
    window->style |= WS_MINIMIZE | WS_VISIBLE;
  }
  LeaveFocus(window);
}

}  // namespace
}  // namespace platform

using namespace platform;

BOOL WINAPI ShowWindow(HWND handle, int command) {
  KV_API_NOFAIL(ShowWindow, FALSE, handle, command);
  const WindowPointer window = RequireOwnWindow(handle);
  if (window == nullptr) return FALSE;
  bool was_visible, was_minimized;
  {
    WindowLock lock;
    was_visible = (window->style & WS_VISIBLE) != 0;
    was_minimized = (window->style & WS_MINIMIZE) != 0;
    if (command == SW_SHOWNORMAL) window->style &= ~DWORD{WS_MINIMIZE};
  }
  switch (command) {
    case SW_HIDE:
      if (was_visible) Hide(window);
      break;
    case SW_SHOWNORMAL:
    case SW_SHOW:
      if (!was_visible || was_minimized) Show(window);
      break;
    case SW_MINIMIZE:
      Minimize(window);
      break;
    default:
      SetLastError(ERROR_CALL_NOT_IMPLEMENTED);
      return FALSE;
  }
  return was_visible;
}

BOOL WINAPI IsWindowVisible(HWND handle) {
  KV_API_NOFAIL(IsWindowVisible, FALSE, handle);
  if (RequireWindow(handle) == nullptr) return FALSE;
  WindowLock lock;
  const auto line = LineOf(handle);
  return std::all_of(line.begin(), line.end(),
                     [](const WindowPointer& w) { return (w->style & WS_VISIBLE) != 0; });
}

BOOL WINAPI IsIconic(HWND handle) {
  KV_API_NOFAIL(IsIconic, FALSE, handle);
  const WindowPointer window = RequireWindow(handle);
  if (window == nullptr) return FALSE;
  WindowLock lock;
  return (window->style & WS_MINIMIZE) != 0;
}

BOOL WINAPI SetWindowPos(HWND handle, HWND insert_after, int x, int y, int width, int height,
                         UINT flags) {
  KV_API(SetWindowPos, ERROR_INVALID_WINDOW_HANDLE, FALSE, handle, insert_after, x, y, width,
         height, flags);
  const WindowPointer window = RequireOwnWindow(handle);
  if (window == nullptr) return FALSE;
  if ((flags & ~kKnownFlags) != 0) {
    SetLastError(ERROR_CALL_NOT_IMPLEMENTED);
    return FALSE;
  }
  bool activates;
  {
    WindowLock lock;
    if ((flags & SWP_NOZORDER) == 0 && !PutBehind(*window, insert_after)) {
      SetLastError(ERROR_INVALID_WINDOW_HANDLE);
      return FALSE;
    }
    RECT& r = window->rectangle;
    const POINT origin = OriginOf(window->parent);
    if ((flags & SWP_NOMOVE) == 0) MoveBy(window, origin.x + x - r.left, origin.y + y - r.top);
    if ((flags & SWP_NOSIZE) == 0) r = {r.left, r.top, r.left + width, r.top + height};
    Invalidate(*window);
    activates = (flags & SWP_NOACTIVATE) == 0 && (window->style & WS_CHILD) == 0;
  }
  if (activates) Activate(window);
  return TRUE;
}

BOOL WINAPI GetWindowRect(HWND handle, LPRECT rectangle) {
  KV_API(GetWindowRect, ERROR_INVALID_WINDOW_HANDLE, FALSE, handle, rectangle);
  const WindowPointer window = RequireWindow(handle);
  if (window == nullptr) return FALSE;
  WindowLock lock;
  *rectangle = window->rectangle;
  return TRUE;
}

BOOL WINAPI GetClientRect(HWND handle, LPRECT rectangle) {
  KV_API(GetClientRect, ERROR_INVALID_WINDOW_HANDLE, FALSE, handle, rectangle);
  const WindowPointer window = RequireWindow(handle);
  if (window == nullptr) return FALSE;
  WindowLock lock;
  const RECT area = ClientArea(window->style, window->rectangle);
  *rectangle = {0, 0, area.right - area.left, area.bottom - area.top};
  return TRUE;
}

int WINAPI MapWindowPoints(HWND from, HWND to, LPPOINT points, UINT count) {
  KV_API(MapWindowPoints, ERROR_INVALID_WINDOW_HANDLE, 0, from, to, points, count);
  for (HWND window : {from, to}) {
    if (window != HWND_DESKTOP && RequireWindow(window) == nullptr) return 0;
  }
  WindowLock lock;
  const POINT source = OriginOf(from), target = OriginOf(to);
  const POINT distance = {source.x - target.x, source.y - target.y};
  for (UINT i = 0; i < count; ++i) {
    points[i] = {points[i].x + distance.x, points[i].y + distance.y};
  }
  return MAKELONG(distance.x, distance.y);
}
