// Posting, sending, taking and dispatching messages.
#include "platform/kernel/api_call.h"
#include "platform/user/message_queue.h"
#include "platform/user/painting.h"
#include "platform/user/window.h"

namespace platform {
namespace {

constexpr UINT kShortestTimer = 10;  // milliseconds

MSG NewMessage(HWND window, UINT message, WPARAM wparam, LPARAM lparam) {
  MSG result = {};
  result.hwnd = window;
  result.message = message;
  result.wParam = wparam;
  result.lParam = lparam;
  result.time = static_cast<DWORD>(UpTime());
  return result;
}

// What the calling thread has to do next, in the system's order: messages posted, painting, timers.
std::optional<MSG> NextMessage(const MessageFilter& filter, bool remove) {
  if (auto posted = TakePosted(filter, remove)) return posted;
  const uint64_t now = UpTime();
  auto result = FindPaint(filter);
  if (!result) result = TakeTimer(filter, remove, now);
  if (result) result->time = static_cast<DWORD>(now);
  return result;
}

// The character of a key that types one without a shift key; 0 for others.
WCHAR CharacterOf(WPARAM key) {
  if (key >= 'A' && key <= 'Z') return static_cast<WCHAR>(key - 'A' + 'a');
  const bool types = (key >= '0' && key <= '9') || key == VK_SPACE || key == VK_RETURN ||
                     key == VK_TAB || key == VK_ESCAPE;
  return types ? static_cast<WCHAR>(key) : WCHAR{0};
}

}  // namespace
}  // namespace platform

using namespace platform;

LRESULT WINAPI SendMessageW(HWND handle, UINT message, WPARAM wparam, LPARAM lparam) {
  KV_API_NOFAIL(SendMessageW, 0, handle, message, wparam, lparam);
  const WindowPointer window = RequireWindow(handle);
  if (window == nullptr) return 0;
  if (window->thread != GetCurrentThreadId()) {
    return SendToThread(window->thread, handle, message, wparam, lparam);
  }
  return CallProcedure(window, message, wparam, lparam);
}

BOOL WINAPI PostMessageW(HWND handle, UINT message, WPARAM wparam, LPARAM lparam) {
  KV_API(PostMessageW, ERROR_NOT_ENOUGH_QUOTA, FALSE, handle, message, wparam, lparam);
  DWORD thread = GetCurrentThreadId();
  if (handle == nullptr) {
    OpenQueue();
  } else {
    const WindowPointer window = RequireWindow(handle);
    if (window == nullptr) return FALSE;
    thread = window->thread;
  }
  if (PostToThread(thread, NewMessage(handle, message, wparam, lparam))) return TRUE;
  SetLastError(ERROR_INVALID_THREAD_ID);
  return FALSE;
}

void WINAPI PostQuitMessage(int exit_code) {
  KV_API_VOID(PostQuitMessage, exit_code);
  PostQuit(exit_code);
}

BOOL WINAPI PeekMessageW(LPMSG message, HWND window, UINT first, UINT last, UINT flags) {
  KV_API_NOFAIL(PeekMessageW, FALSE, message, window, first, last, flags);
  if ((flags & ~PM_REMOVE) != 0) {
    SetLastError(ERROR_CALL_NOT_IMPLEMENTED);
    return FALSE;
  }
  if (window != nullptr && RequireWindow(window) == nullptr) return FALSE;
  OpenQueue();
  ServeSentMessages();
  const auto found = NextMessage({window, first, last}, (flags & PM_REMOVE) != 0);
  if (found) *message = *found;
  return found.has_value();
}

BOOL WINAPI TranslateMessage(const MSG* message) {
  KV_API_NOFAIL(TranslateMessage, FALSE, message);
  if (message->message != WM_KEYDOWN && message->message != WM_KEYUP) return FALSE;
  const WCHAR typed = CharacterOf(message->wParam);
  if (message->message == WM_KEYDOWN && typed != 0) {
    PostToThread(GetCurrentThreadId(), NewMessage(message->hwnd, WM_CHAR, typed, message->lParam));
  }
  return TRUE;
}

LRESULT WINAPI DispatchMessageW(const MSG* message) {
  KV_API_NOFAIL(DispatchMessageW, 0, message);
  if (message->hwnd == nullptr) return 0;
  const WindowPointer window = RequireOwnWindow(message->hwnd);
  if (window == nullptr) return 0;
  return CallProcedure(window, message->message, message->wParam, message->lParam);
}

LRESULT WINAPI CallWindowProcW(WNDPROC previous, HWND window, UINT message, WPARAM wparam,
                               LPARAM lparam) {
  KV_API_NOFAIL(CallWindowProcW, 0, previous, window, message, wparam, lparam);
  ProductCallback call;
  return previous(window, message, wparam, lparam);
}

UINT_PTR WINAPI SetTimer(HWND handle, UINT_PTR id, UINT period, TIMERPROC procedure) {
  KV_API(SetTimer, ERROR_NOT_ENOUGH_MEMORY, 0, handle, id, period, procedure);
  if (handle == nullptr || procedure != nullptr || id == 0) {
    SetLastError(ERROR_CALL_NOT_IMPLEMENTED);
    return 0;
  }
  const WindowPointer window = RequireWindow(handle);
  if (window == nullptr) return 0;
  if (window->thread != GetCurrentThreadId()) {
    SetLastError(ERROR_ACCESS_DENIED);
    return 0;
  }
  SetTimerOf(handle, id, period < kShortestTimer ? kShortestTimer : period, UpTime());
  return id;
}

BOOL WINAPI KillTimer(HWND handle, UINT_PTR id) {
  KV_API_NOFAIL(KillTimer, FALSE, handle, id);
  const WindowPointer window = RequireWindow(handle);
  if (window == nullptr) return FALSE;
  if (KillTimerOf(window->thread, handle, id)) return TRUE;
  SetLastError(ERROR_INVALID_PARAMETER);
  return FALSE;
}
