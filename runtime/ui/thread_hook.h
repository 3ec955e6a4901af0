// Hooks of the calling thread that are objects.
#pragma once

#include "runtime/ui/code_thunk.h"

namespace kv {

// Watches the thread that made it, from its construction to its destruction. HookProc may destroy
// the object when it does nothing with it afterwards.
class CThreadHook {
 public:
  // Installs a hook of that type (WH_…); IsHooked tells whether it could be.
  explicit CThreadHook(int hookType) : CThreadHook(hookType, HookTemplate()) {}
  CThreadHook(const CThreadHook&) = delete;
  CThreadHook& operator=(const CThreadHook&) = delete;
  virtual ~CThreadHook();
  // The hook procedure, whose arguments and result depend on the type. Passes the call on to the
  // hook that was installed before.
  virtual LRESULT CALLBACK HookProc(int code, WPARAM wParam, LPARAM lParam);

  bool IsHooked() const { return hHook_ != nullptr; }

 protected:
  CThreadHook(int hookType, const CodeTemplate& code);

 private:
  HHOOK hHook_ = nullptr;
  CCodeThunk thunk_;
};

}  // namespace kv
