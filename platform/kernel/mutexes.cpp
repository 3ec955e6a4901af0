// Mutexes: an owner thread, which may own one several times.
#include <unistd.h>

#include <atomic>

#include "platform/kernel/api_call.h"
#include "platform/kernel/clock.h"
#include "platform/kernel/result.h"
#include "platform/kernel/shared_object.h"
#include "platform/kernel/waitable.h"

namespace platform {
namespace {

class Mutex;

// What the calling thread owns; it is abandoned when the thread ends.
class OwnedMutexes {
 public:
  ~OwnedMutexes();
  void Add(std::weak_ptr<Mutex> mutex) { owned_.push_back(std::move(mutex)); }
  void Remove(const Mutex* mutex);

 private:
  std::vector<std::weak_ptr<Mutex>> owned_;
};

thread_local OwnedMutexes owned_mutexes;

class Mutex : public Waitable, public std::enable_shared_from_this<Mutex> {
 public:
  // Without an object the mutex belongs to this process alone.
  explicit Mutex(std::shared_ptr<SharedObject> object) : object_(std::move(object)) {}

  Taken TryTake() override {
    std::lock_guard lock(lock_);
    const pid_t thread = gettid();
    if (owner_ == thread) {
      ++depth_;
      return Taken::kYes;
    }
    if (owner_ != 0 || (object_ != nullptr && !object_->TryOwn())) return Taken::kNo;
    owner_ = thread;
    depth_ = 1;
    owned_mutexes.Add(weak_from_this());
    return Held().exchange(1) != 0 ? Taken::kAbandoned : Taken::kYes;
  }

  void PutBack(Taken taken) override { Release(taken == Taken::kAbandoned ? 1 : 0); }

  // False when the calling thread is not the owner. `held` stays in the record of an abandoned one.
  bool Release(uint32_t held) {
    std::lock_guard lock(lock_);
    if (owner_ != gettid()) return false;
    if (--depth_ == 0) {
      owned_mutexes.Remove(this);
      GiveUp(held);
    }
    return true;
  }

  void Abandon() {
    std::lock_guard lock(lock_);
    depth_ = 0;
    GiveUp(1);
  }

  bool ChangesSilently() const override { return object_ != nullptr; }

 private:
  std::atomic<uint32_t>& Held() { return object_ != nullptr ? object_->state().value : held_; }
  void GiveUp(uint32_t held) {
    owner_ = 0;
    Held() = held;
    if (object_ != nullptr) object_->Disown();
  }

  const std::shared_ptr<SharedObject> object_;
  std::mutex lock_;
  pid_t owner_ = 0;  // the thread, when it is one of this process
  DWORD depth_ = 0;
  std::atomic<uint32_t> held_ = 0;  // not 0 without an owner: the owner ended
};

OwnedMutexes::~OwnedMutexes() {
  bool any = false;
  for (const auto& owned : owned_) {
    const auto mutex = owned.lock();
    if (mutex == nullptr) continue;
    mutex->Abandon();
    any = true;
  }
  if (any) WakeWaiters();
}

void OwnedMutexes::Remove(const Mutex* mutex) {
  std::erase_if(owned_, [=](const std::weak_ptr<Mutex>& owned) {
    const auto known = owned.lock();
    return known == nullptr || known.get() == mutex;
  });
}

// The mutexes with names that this process has open: threads of the process find the same one by
// whatever handle.
class NamedMutexes {
 public:
  explicit NamedMutexes(Machine& machine) : objects_(machine.Part<SharedObjects>()) {}

  DWORD Open(WideView name, bool create, std::shared_ptr<Mutex>& mutex, bool& existed) {
    ObjectRequest request;
    if (const DWORD error = ObjectPath(name, request.path); error != ERROR_SUCCESS) return error;
    request.kind = ObjectKind::kMutex;
    request.create = create;
    std::shared_ptr<SharedObject> object;
    const DWORD error = objects_.Open(request, object, existed);
    if (error != ERROR_SUCCESS) return error;
    std::lock_guard lock(mutex_);
    std::weak_ptr<Mutex>& known = known_[object.get()];
    mutex = known.lock();
    if (mutex == nullptr) known = mutex = std::make_shared<Mutex>(object);
    std::erase_if(known_, [](const auto& entry) { return entry.second.expired(); });
    return ERROR_SUCCESS;
  }

 private:
  SharedObjects& objects_;
  std::mutex mutex_;
  std::map<const SharedObject*, std::weak_ptr<Mutex>> known_;
};

DWORD OpenMutexByName(WideView name, bool create, std::shared_ptr<Mutex>& mutex, bool& existed) {
  return Machine::Current().Part<NamedMutexes>().Open(name, create, mutex, existed);
}

}  // namespace
}  // namespace platform

using namespace platform;

HANDLE WINAPI CreateMutexW(LPSECURITY_ATTRIBUTES attributes, BOOL initial_owner, LPCWSTR name) {
  KV_API(CreateMutexW, ERROR_ACCESS_DENIED, nullptr, attributes, initial_owner, name);
  std::shared_ptr<Mutex> mutex;
  bool existed = false;
  if (View(name).empty()) {
    mutex = std::make_shared<Mutex>(nullptr);
  } else if (!Finish(OpenMutexByName(name, true, mutex, existed))) {
    return nullptr;
  }
  if (initial_owner && !existed) mutex->TryTake();
  SetLastError(existed ? ERROR_ALREADY_EXISTS : ERROR_SUCCESS);
  return OpenHandle(std::move(mutex));
}

HANDLE WINAPI OpenMutexW(DWORD access, BOOL inherit, LPCWSTR name) {
  KV_API(OpenMutexW, ERROR_FILE_NOT_FOUND, nullptr, access, inherit, name);
  std::shared_ptr<Mutex> mutex;
  bool existed = false;
  DWORD error = inherit ? ERROR_CALL_NOT_IMPLEMENTED : ERROR_SUCCESS;
  if (View(name).empty()) error = ERROR_INVALID_PARAMETER;
  if (error == ERROR_SUCCESS) error = OpenMutexByName(name, false, mutex, existed);
  return Finish(error) ? OpenHandle(std::move(mutex)) : nullptr;
}

BOOL WINAPI ReleaseMutex(HANDLE mutex) {
  KV_API_NOFAIL(ReleaseMutex, FALSE, mutex);
  const auto object = ObjectOf<Mutex>(mutex);
  if (object == nullptr) return Finish(ERROR_INVALID_HANDLE);
  if (!object->Release(0)) return Finish(ERROR_NOT_OWNER);
  WakeWaiters();
  return TRUE;
}
