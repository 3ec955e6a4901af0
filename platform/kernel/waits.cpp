#include "platform/kernel/waitable.h"

#include <algorithm>

#include "platform/kernel/api_call.h"
#include "platform/kernel/clock.h"
#include "platform/user/message_queue.h"

namespace platform {
namespace {

// How soon a change is noticed that nobody announces.
constexpr uint64_t kSilentChange = 50;

bool ChangesSilently(const std::vector<std::shared_ptr<Waitable>>& objects) {
  return std::any_of(objects.begin(), objects.end(),
                     [](const auto& object) { return object->ChangesSilently(); });
}

DWORD ResultFor(Waitable::Taken taken, size_t index) {
  return (taken == Waitable::Taken::kAbandoned ? WAIT_ABANDONED_0 : WAIT_OBJECT_0) +
         static_cast<DWORD>(index);
}

// The objects of the handles; false, with the last error, when one cannot be waited for.
bool ObjectsOf(DWORD count, const HANDLE* handles, DWORD most,
               std::vector<std::shared_ptr<Waitable>>& objects) {
  if (count > most) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return false;
  }
  for (DWORD i = 0; i < count; ++i) {
    objects.push_back(ObjectOf<Waitable>(handles[i]));
    if (objects.back() == nullptr) {
      SetLastError(ERROR_INVALID_HANDLE);
      return false;
    }
  }
  return true;
}

}  // namespace

DWORD WaitForAny(const std::vector<std::shared_ptr<Waitable>>& objects, DWORD milliseconds,
                 InputWait input) {
  DWORD result = WAIT_TIMEOUT;
  const auto ready = [&] {
    for (size_t i = 0; i < objects.size(); ++i) {
      const Waitable::Taken taken = objects[i]->TryTake();
      if (taken == Waitable::Taken::kNo) continue;
      result = ResultFor(taken, i);
      return true;
    }
    if (input.wake_mask == 0 || !NewInputWaits(input.wake_mask)) return false;
    result = ResultFor(Waitable::Taken::kYes, objects.size());
    return true;
  };
  const uint64_t deadline = DeadlineAfter(milliseconds);
  for (;;) {
    const bool timers = (input.wake_mask & QS_TIMER) != 0;
    const uint64_t timer = timers ? NextTimerDue() : kNever;
    uint64_t until = std::min(deadline, timer);
    if (!ClockIsVirtual() && ChangesSilently(objects)) {
      until = std::min(until, UpTime() + kSilentChange);
    }
    if (WaitOnClock(until, ready)) return result;
    if (until == timer) return ResultFor(Waitable::Taken::kYes, objects.size());
    if (until == deadline) return WAIT_TIMEOUT;
  }
}

DWORD TakeAll(const std::vector<std::shared_ptr<Waitable>>& objects) {
  using Taken = Waitable::Taken;
  std::vector<Taken> taken;
  const auto ready = [&] {
    for (const auto& object : objects) {
      taken.push_back(object->TryTake());
      if (taken.back() == Taken::kNo) break;
    }
    return true;
  };
  WaitOnClock(0, ready);
  if (taken.back() != Taken::kNo) {
    const bool abandoned = std::count(taken.begin(), taken.end(), Taken::kAbandoned) != 0;
    return ResultFor(abandoned ? Taken::kAbandoned : Taken::kYes, 0);
  }
  for (size_t i = taken.size() - 1; i-- > 0;) objects[i]->PutBack(taken[i]);
  if (taken.size() > 1) WakeWaiters();
  return WAIT_TIMEOUT;
}

}  // namespace platform

using namespace platform;

DWORD WINAPI WaitForSingleObject(HANDLE object, DWORD milliseconds) {
  KV_API(WaitForSingleObject, ERROR_INVALID_HANDLE, WAIT_FAILED, object, milliseconds);
  std::vector<std::shared_ptr<Waitable>> objects;
  if (!ObjectsOf(1, &object, 1, objects)) return WAIT_FAILED;
  return WaitForAny(objects, milliseconds);
}

DWORD WINAPI WaitForMultipleObjects(DWORD count, const HANDLE* objects, BOOL all,
                                    DWORD milliseconds) {
  KV_API(WaitForMultipleObjects, ERROR_INVALID_HANDLE, WAIT_FAILED, count, objects, all,
         milliseconds);
  std::vector<std::shared_ptr<Waitable>> waited;
  if (count == 0) SetLastError(ERROR_INVALID_PARAMETER);
  if (count == 0 || !ObjectsOf(count, objects, MAXIMUM_WAIT_OBJECTS, waited)) return WAIT_FAILED;
  if (!all || count == 1) return WaitForAny(waited, milliseconds);
  if (milliseconds == 0) return TakeAll(waited);
  SetLastError(ERROR_CALL_NOT_IMPLEMENTED);
  return WAIT_FAILED;
}

DWORD WINAPI MsgWaitForMultipleObjects(DWORD count, const HANDLE* objects, BOOL all,
                                       DWORD milliseconds, DWORD wake_mask) {
  KV_API(MsgWaitForMultipleObjects, ERROR_INVALID_HANDLE, WAIT_FAILED, count, objects, all,
         milliseconds, wake_mask);
  std::vector<std::shared_ptr<Waitable>> waited;
  if (!ObjectsOf(count, objects, MAXIMUM_WAIT_OBJECTS - 1, waited)) return WAIT_FAILED;
  if (!all) return WaitForAny(waited, milliseconds, {wake_mask});
  SetLastError(ERROR_CALL_NOT_IMPLEMENTED);
  return WAIT_FAILED;
}
