#include "runtime/ui/pump_messages.h"

namespace kv {

BOOL PumpMessages(HWND window, UINT first, UINT last) {
  MSG message;
  while (PeekMessageW(&message, window, first, last, PM_REMOVE)) {
    if (message.message == WM_QUIT) {
      PostQuitMessage(static_cast<int>(message.wParam));
      return FALSE;
    }
    if (window != nullptr && IsDialogMessageW(window, &message)) continue;
    TranslateMessage(&message);
    DispatchMessageW(&message);
  }
  return TRUE;
}

}  // namespace kv
