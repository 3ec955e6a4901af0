// Events: a signal that stays, or ends one wait.
#include <atomic>

#include "platform/kernel/api_call.h"
#include "platform/kernel/clock.h"
#include "platform/kernel/result.h"
#include "platform/kernel/shared_object.h"
#include "platform/kernel/waitable.h"

namespace platform {
namespace {

// What an event's state holds.
constexpr uint32_t kSignalled = 1;
constexpr uint32_t kManualReset = 2;

class Event : public Waitable {
 public:
  Event(std::shared_ptr<SharedObject> object, uint32_t state)
      : object_(std::move(object)), own_state_(state) {}

  Taken TryTake() override {
    const uint32_t kept = (State() & kManualReset) != 0 ? ~0u : ~kSignalled;
    return (State().fetch_and(kept) & kSignalled) != 0 ? Taken::kYes : Taken::kNo;
  }
  void PutBack(Taken) override { Set(); }
  void Set() { State() |= kSignalled; }

 private:
  std::atomic<uint32_t>& State() {
    return object_ != nullptr ? object_->state().value : own_state_;
  }

  const std::shared_ptr<SharedObject> object_;
  std::atomic<uint32_t> own_state_;
};

}  // namespace
}  // namespace platform

using namespace platform;

HANDLE WINAPI CreateEventW(LPSECURITY_ATTRIBUTES attributes, BOOL manual_reset, BOOL initial_state,
                           LPCWSTR name) {
  KV_API(CreateEventW, ERROR_ACCESS_DENIED, nullptr, attributes, manual_reset, initial_state, name);
  const uint32_t state = (manual_reset ? kManualReset : 0) | (initial_state ? kSignalled : 0);
  std::shared_ptr<SharedObject> object;
  bool existed = false;
  if (!View(name).empty()) {
    ObjectRequest request;
    DWORD error = ObjectPath(name, request.path);
    request.kind = ObjectKind::kEvent;
    request.create = true;
    request.value = state;
    if (error == ERROR_SUCCESS) {
      error = Machine::Current().Part<SharedObjects>().Open(request, object, existed);
    }
    if (!Finish(error)) return nullptr;
  }
  SetLastError(existed ? ERROR_ALREADY_EXISTS : ERROR_SUCCESS);
  return OpenHandle(std::make_shared<Event>(std::move(object), state));
}

BOOL WINAPI SetEvent(HANDLE event) {
  KV_API(SetEvent, ERROR_INVALID_HANDLE, FALSE, event);
  const auto object = ObjectOf<Event>(event);
  if (object == nullptr) return Finish(ERROR_INVALID_HANDLE);
  object->Set();
  WakeWaiters();
  return TRUE;
}
