#include "platform/user/hooks.h"

#include <algorithm>
#include <atomic>
#include <memory>
#include <mutex>
#include <vector>

#include "platform/control/leaks.h"
#include "platform/kernel/api_call.h"

namespace platform {
namespace {

struct Hook {
  UINT_PTR handle;
  DWORD thread;
  HOOKPROC procedure;
  std::atomic<bool> set = true;
  CountedResource counted{Resource::kHook};
};

struct Hooks {
  std::mutex mutex;
  std::vector<std::shared_ptr<Hook>> newest_first;
  UINT_PTR next_handle = 0x00030001;
};

Hooks& hooks() {
  static Hooks* instance = new Hooks;
  return *instance;
}

// One round through a thread's hooks. It works on a copy of the list, since hooks come and go while
// they are called.
class HookRound {
 public:
  HookRound() : outer_(current_) {
    current_ = this;
    std::lock_guard lock(hooks().mutex);
    for (const auto& hook : hooks().newest_first) {
      if (hook->thread == GetCurrentThreadId()) chain_.push_back(hook);
    }
  }
  ~HookRound() { current_ = outer_; }
  HookRound(const HookRound&) = delete;
  HookRound& operator=(const HookRound&) = delete;

  // Null when the thread runs no hook.
  static HookRound* Current() { return current_; }

  // Calls the next hook that is still set.
  LRESULT Next(int code, WPARAM wparam, LPARAM lparam) {
    const size_t here = position_;
    LRESULT result = 0;
    for (size_t i = here; i < chain_.size(); ++i) {
      if (!chain_[i]->set) continue;
      position_ = i + 1;
      ProductCallback call;
      result = chain_[i]->procedure(code, wparam, lparam);
      break;
    }
    position_ = here;
    return result;
  }

 private:
  static thread_local HookRound* current_;
  HookRound* outer_;
  std::vector<std::shared_ptr<Hook>> chain_;
  size_t position_ = 0;
};

thread_local HookRound* HookRound::current_ = nullptr;

}  // namespace

LRESULT CallCbtHooks(int code, WPARAM wparam, LPARAM lparam) {
  return HookRound().Next(code, wparam, lparam);
}

}  // namespace platform

using namespace platform;

HHOOK WINAPI SetWindowsHookExW(int type, HOOKPROC procedure, HINSTANCE module, DWORD thread) {
  KV_API(SetWindowsHookExW, ERROR_NOT_ENOUGH_MEMORY, nullptr, type, procedure, module, thread);
  if (type != WH_CBT || procedure == nullptr || module != nullptr || thread == 0) {
    SetLastError(ERROR_CALL_NOT_IMPLEMENTED);
    return nullptr;
  }
  auto hook = std::make_shared<Hook>();
  hook->thread = thread;
  hook->procedure = procedure;
  std::lock_guard lock(hooks().mutex);
  hook->handle = hooks().next_handle++;
  hooks().newest_first.insert(hooks().newest_first.begin(), hook);
  return reinterpret_cast<HHOOK>(hook->handle);
}

BOOL WINAPI UnhookWindowsHookEx(HHOOK handle) {
  KV_API_NOFAIL(UnhookWindowsHookEx, FALSE, handle);
  std::lock_guard lock(hooks().mutex);
  auto& all = hooks().newest_first;
  const auto found = std::find_if(all.begin(), all.end(), [=](const std::shared_ptr<Hook>& hook) {
    return hook->handle == reinterpret_cast<UINT_PTR>(handle);
  });
  if (found == all.end()) {
    SetLastError(ERROR_INVALID_HOOK_HANDLE);
    return FALSE;
  }
  (*found)->set = false;
  all.erase(found);
  return TRUE;
}

LRESULT WINAPI CallNextHookEx(HHOOK hook, int code, WPARAM wparam, LPARAM lparam) {
  KV_API_NOFAIL(CallNextHookEx, 0, hook, code, wparam, lparam);
  HookRound* round = HookRound::Current();
  return round == nullptr ? 0 : round->Next(code, wparam, lparam);
}
