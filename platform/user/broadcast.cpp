// Messages to all windows.
#include "platform/kernel/api_call.h"
#include "platform/user/message_queue.h"
#include "platform/user/window.h"

using namespace platform;

LRESULT WINAPI SendMessageTimeoutW(HWND handle, UINT message, WPARAM wparam, LPARAM lparam,
                                   UINT flags, UINT timeout, PDWORD_PTR result) {
  KV_API(SendMessageTimeoutW, ERROR_TIMEOUT, 0, handle, message, wparam, lparam, flags, timeout,
         result);
  if (handle != HWND_BROADCAST || flags != SMTO_ABORTIFHUNG) {
    SetLastError(ERROR_CALL_NOT_IMPLEMENTED);
    return 0;
  }
  if (result != nullptr) *result = 0;
  for (const WindowPointer& window : ChildrenNow(nullptr)) {
    // A procedure may have destroyed some that stood behind its own.
    if (WindowOf(window->handle) == nullptr) continue;
    if (window->thread == GetCurrentThreadId()) {
      CallProcedure(window, message, wparam, lparam);
    } else {
      SendToThreadUntil(DeadlineAfter(timeout), window->thread, window->handle, message, wparam,
                        lparam);
    }
  }
  return 1;
}
