// What the handles of one kind stand for in this process.
#pragma once

#include <windows.h>

#include <algorithm>
#include <memory>
#include <mutex>
#include <optional>
#include <unordered_map>

#include "platform/control/leaks.h"

namespace platform {

// A value with the count of its resource, which ends when the handle does. Without a count for what
// lives as long as the process.
template <class Value>
struct Held {
  Value value;
  std::shared_ptr<CountedResource> counted;
};

template <class Value>
class HandleMap {
 public:
  // Each kind begins at a number of its own, so that a handle of one is none of another.
  explicit HandleMap(UINT_PTR first) : next_(first) {}

  // A new handle, never null. Handles are not used again, so that one closed twice is noticed.
  void* Add(Value value, std::optional<Resource> resource) {
    Held<Value> held = {std::move(value), nullptr};
    if (resource) held.counted = std::make_shared<CountedResource>(*resource);
    std::lock_guard lock(mutex_);
    const UINT_PTR handle = next_;
    next_ += 4;
    open_.emplace(handle, std::move(held));
    return reinterpret_cast<void*>(handle);
  }

  // Nothing when the handle is not open.
  std::optional<Value> Find(const void* handle) {
    std::lock_guard lock(mutex_);
    const auto found = open_.find(reinterpret_cast<UINT_PTR>(handle));
    return found == open_.end() ? std::nullopt : std::optional(found->second.value);
  }

  // Whether the handle is open and its resource is counted.
  bool IsCounted(const void* handle) {
    std::lock_guard lock(mutex_);
    const auto found = open_.find(reinterpret_cast<UINT_PTR>(handle));
    return found != open_.end() && found->second.counted != nullptr;
  }

  // Ends the handle; nothing when it is not open. What it stood for ends with the result, outside
  // the lock.
  std::optional<Held<Value>> Take(const void* handle) {
    std::lock_guard lock(mutex_);
    const auto found = open_.find(reinterpret_cast<UINT_PTR>(handle));
    if (found == open_.end()) return std::nullopt;
    std::optional<Held<Value>> taken(std::move(found->second));
    open_.erase(found);
    return taken;
  }

  template <class Test>
  bool AnyOf(Test test) {
    std::lock_guard lock(mutex_);
    return std::any_of(open_.begin(), open_.end(),
                       [&](const auto& entry) { return test(entry.second.value); });
  }

 private:
  std::mutex mutex_;
  std::unordered_map<UINT_PTR, Held<Value>> open_;
  UINT_PTR next_;
};

}  // namespace platform
