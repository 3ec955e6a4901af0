#include "runtime/ui/thread_hook.h"

namespace kv {

CThreadHook::CThreadHook(int hookType, const CodeTemplate& code) {
  const auto procedure = thunk_.BuildAs<HOOKPROC>(code, this);
  if (procedure != nullptr) {
    hHook_ = SetWindowsHookExW(hookType, procedure, nullptr, GetCurrentThreadId());
  }
}

CThreadHook::~CThreadHook() {
  if (hHook_ != nullptr) UnhookWindowsHookEx(hHook_);
}

LRESULT CALLBACK CThreadHook::HookProc(int code, WPARAM wParam, LPARAM lParam) {
  return CallNextHookEx(hHook_, code, wParam, lParam);
}

}  // namespace kv
