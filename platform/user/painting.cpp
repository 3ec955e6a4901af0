#include "platform/user/painting.h"

#include "platform/kernel/api_call.h"
#include "platform/user/window.h"

namespace platform {
namespace {

// With the lock held: the first window to be painted among those and below them; null for none.
HWND FindInvalid(const std::vector<WindowPointer>& windows, const MessageFilter& filter) {
  for (const WindowPointer& window : windows) {
    if ((window->style & WS_VISIBLE) == 0 || (window->style & WS_MINIMIZE) != 0) continue;
    const bool mine = window->thread == GetCurrentThreadId();
    const bool wanted = filter.window == nullptr || IsSameOrBelow(window->handle, filter.window);
    if (window->needs_paint && mine && wanted) return window->handle;
    if (const HWND below = FindInvalid(ChildrenOf(window->handle), filter)) return below;
  }
  return nullptr;
}

}  // namespace

void Invalidate(Window& window) {
  window.needs_paint = true;
  NotePaint(window.thread);
}

std::optional<MSG> FindPaint(const MessageFilter& filter) {
  if (!filter.Takes(WM_PAINT)) return std::nullopt;
  WindowLock lock;
  const HWND window = FindInvalid(ChildrenOf(nullptr), filter);
  if (window == nullptr) return std::nullopt;
  MSG message = {};
  message.hwnd = window;
  message.message = WM_PAINT;
  return message;
}

}  // namespace platform

using namespace platform;

BOOL WINAPI UpdateWindow(HWND handle) {
  KV_API_NOFAIL(UpdateWindow, FALSE, handle);
  if (RequireWindow(handle) == nullptr) return FALSE;
  // What a procedure leaves unpainted is not asked for again.
  for (HWND last = nullptr;;) {
    const auto message = FindPaint({handle, 0, 0});
    if (!message || message->hwnd == last) return TRUE;
    last = message->hwnd;
    if (const WindowPointer window = WindowOf(last)) CallProcedure(window, WM_PAINT, 0, 0);
  }
}

HDC WINAPI BeginPaint(HWND handle, LPPAINTSTRUCT paint) {
  KV_API(BeginPaint, ERROR_INVALID_WINDOW_HANDLE, nullptr, handle, paint);
  const WindowPointer window = RequireWindow(handle);
  if (window == nullptr) return nullptr;
  *paint = {};
  paint->hdc = GetDC(handle);
  GetClientRect(handle, &paint->rcPaint);
  WindowLock lock;
  window->needs_paint = false;
  return paint->hdc;
}

BOOL WINAPI EndPaint(HWND handle, const PAINTSTRUCT* paint) {
  KV_API_NOFAIL(EndPaint, FALSE, handle, paint);
  ReleaseDC(handle, paint->hdc);
  return TRUE;
}
