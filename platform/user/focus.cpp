// Which window of a thread has the keyboard, and what the keys do in dialogs.
#include <algorithm>

#include "platform/kernel/api_call.h"
#include "platform/user/hooks.h"
#include "platform/user/window.h"

namespace platform {
namespace {

// With the lock held.
bool TakesKeys(const WindowPointer& window) {
  return (window->style & (WS_DISABLED | WS_MINIMIZE)) == 0;
}

HWND FocusOf(DWORD thread) {
  WindowLock lock;
  return StateOf(thread).focus;
}

// Makes the top-level window above a window active when it is not.
void ActivateAbove(HWND handle) {
  WindowPointer top;
  {
    WindowLock lock;
    const auto line = LineOf(handle);
    if (line.empty() || StateOf(line.back()->thread).active == line.back()->handle) return;
    top = line.back();
  }
  Activate(top);
}

void MoveFocus(DWORD thread, HWND from, HWND to) {
  {
    WindowLock lock;
    StateOf(thread).focus = to;
  }
  if (const WindowPointer loser = WindowOf(from)) {
    CallProcedure(loser, WM_KILLFOCUS, reinterpret_cast<WPARAM>(to), 0);
  }
  if (FocusOf(thread) != to) return;
  if (const WindowPointer gainer = WindowOf(to)) {
    CallProcedure(gainer, WM_SETFOCUS, reinterpret_cast<WPARAM>(from), 0);
  }
}

// The control that the Tab key leads to from the one with the focus; null when there is none.
HWND NextTabStop(HWND dialog) {
  constexpr DWORD kStop = WS_TABSTOP | WS_VISIBLE;
  WindowLock lock;
  auto controls = ChildrenOf(dialog);
  const HWND focus = StateOf(GetCurrentThreadId()).focus;
  const auto current = std::find_if(controls.begin(), controls.end(),
                                    [=](const WindowPointer& w) { return w->handle == focus; });
  if (current != controls.end()) std::rotate(controls.begin(), current + 1, controls.end());
  for (const WindowPointer& control : controls) {
    if ((control->style & (kStop | WS_DISABLED)) == kStop) return control->handle;
  }
  return nullptr;
}

void SendCommand(HWND dialog, int id) {
  const HWND control = GetDlgItem(dialog, id);
  if (control != nullptr && !IsWindowEnabled(control)) return;
  SendMessageW(dialog, WM_COMMAND, MAKEWPARAM(id, BN_CLICKED), reinterpret_cast<LPARAM>(control));
}

// The button that the Enter key presses.
int EnterButton(HWND dialog, HWND focus) {
  if ((SendMessageW(focus, WM_GETDLGCODE, 0, 0) & DLGC_DEFPUSHBUTTON) != 0) {
    return static_cast<int>(GetWindowLongPtrW(focus, GWLP_ID));
  }
  const LRESULT answer = SendMessageW(dialog, DM_GETDEFID, 0, 0);
  return HIWORD(answer) == DC_HASDEFID ? LOWORD(answer) : IDOK;
}

// False for a key that means nothing in a dialog.
bool HandleKey(HWND dialog, const MSG& message) {
  switch (message.wParam) {
    case VK_TAB:
      if (const HWND next = NextTabStop(dialog)) SetFocus(next);
      return true;
    case VK_ESCAPE:
      SendCommand(dialog, IDCANCEL);
      return true;
    case VK_RETURN:
      SendCommand(dialog, EnterButton(dialog, message.hwnd));
      return true;
    default:
      return false;
  }
}

}  // namespace
}  // namespace platform

using namespace platform;

HWND WINAPI SetFocus(HWND handle) {
  KV_API_NOFAIL(SetFocus, nullptr, handle);
  const DWORD thread = GetCurrentThreadId();
  const HWND before = FocusOf(thread);
  if (handle != nullptr) {
    const WindowPointer window = RequireWindow(handle);
    if (window == nullptr) return nullptr;
    if (window->thread != thread) {
      SetLastError(ERROR_ACCESS_DENIED);
      return nullptr;
    }
    WindowLock lock;
    const auto line = LineOf(handle);
    if (!std::all_of(line.begin(), line.end(), TakesKeys)) return nullptr;
  }
  if (handle == before) return before;
  if (CallCbtHooks(HCBT_SETFOCUS, reinterpret_cast<WPARAM>(handle),
                   reinterpret_cast<LPARAM>(before)) != 0) {
    return nullptr;
  }
  ActivateAbove(handle);
  MoveFocus(thread, FocusOf(thread), handle);
  return before;
}

HWND WINAPI GetFocus() {
  KV_API_NOFAIL(GetFocus, nullptr);
  return FocusOf(GetCurrentThreadId());
}

BOOL WINAPI IsDialogMessageW(HWND dialog, LPMSG message) {
  KV_API_NOFAIL(IsDialogMessageW, FALSE, dialog, message);
  if (RequireWindow(dialog) == nullptr) return FALSE;
  {
    WindowLock lock;
    if (!IsSameOrBelow(message->hwnd, dialog)) return FALSE;
  }
  if (message->message == WM_KEYDOWN && HandleKey(dialog, *message)) return TRUE;
  TranslateMessage(message);
  DispatchMessageW(message);
  return TRUE;
}
