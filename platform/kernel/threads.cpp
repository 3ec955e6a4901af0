// Threads of this process.
#include <unistd.h>

#include <atomic>
#include <semaphore>
#include <system_error>
#include <thread>

#include "platform/kernel/api_call.h"
#include "platform/kernel/clock.h"
#include "platform/kernel/result.h"
#include "platform/kernel/waitable.h"

namespace platform {
namespace {

class Thread : public Waitable {
 public:
  Taken TryTake() override { return ended_ ? Taken::kYes : Taken::kNo; }
  DWORD exit_code() const { return ended_ ? exit_code_ : STILL_ACTIVE; }
  void End(DWORD exit_code) {
    exit_code_ = exit_code;
    ended_ = true;
    WakeWaiters();
  }

 private:
  DWORD exit_code_ = 0;
  std::atomic<bool> ended_ = false;
};

struct Start {
  const std::shared_ptr<Thread> thread = std::make_shared<Thread>();
  const LPTHREAD_START_ROUTINE routine;
  const LPVOID parameter;
  DWORD id = 0;
  std::binary_semaphore runs{0};
};

void Run(Start& start) {
  KnowThisThread();
  start.id = static_cast<DWORD>(gettid());
  start.runs.release();
  start.thread->End(start.routine(start.parameter));
}

}  // namespace
}  // namespace platform

using namespace platform;

HANDLE WINAPI CreateThread(LPSECURITY_ATTRIBUTES attributes, SIZE_T stack_size,
                           LPTHREAD_START_ROUTINE routine, LPVOID parameter, DWORD flags,
                           LPDWORD id) {
  KV_API(CreateThread, ERROR_NOT_ENOUGH_MEMORY, nullptr, attributes, stack_size, routine, parameter,
         flags, id);
  if (flags != 0 || routine == nullptr) {
    SetLastError(flags != 0 ? ERROR_CALL_NOT_IMPLEMENTED : ERROR_INVALID_PARAMETER);
    return nullptr;
  }
  // Time must not pass over a thread that goes on working beside the one it started.
  KnowThisThread();
  // Shared, for the thread may still be releasing when it is known to run.
  const std::shared_ptr<Start> start(new Start{.routine = routine, .parameter = parameter});
  try {
    std::thread([start] { Run(*start); }).detach();
  } catch (const std::system_error&) {
    SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return nullptr;
  }
  // The clock counts the thread from here on, so that no wait for it ends too early.
  start->runs.acquire();
  if (id != nullptr) *id = start->id;
  return OpenHandle(start->thread);
}

BOOL WINAPI GetExitCodeThread(HANDLE thread, LPDWORD exit_code) {
  KV_API(GetExitCodeThread, ERROR_INVALID_HANDLE, FALSE, thread, exit_code);
  const auto object = ObjectOf<Thread>(thread);
  if (object == nullptr) return Finish(ERROR_INVALID_HANDLE);
  *exit_code = object->exit_code();
  return TRUE;
}
