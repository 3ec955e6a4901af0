// The layer's view of the current machine: its parts, built on first use and destroyed with it.
#pragma once

#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <typeindex>
#include <vector>

#include "platform/control/machine.h"
#include "platform/kernel/machine_facts.h"

namespace platform {

class Machine {
 public:
  // The current machine, opened when there is none yet.
  static Machine& Current();
  static void Open(const std::filesystem::path& directory);
  static void Close();

  explicit Machine(const std::filesystem::path& directory);
  ~Machine();
  Machine(const Machine&) = delete;
  Machine& operator=(const Machine&) = delete;

  const std::filesystem::path& directory() const { return directory_; }

  // The machine's one T, built by T(Machine&) on first use. Parts are destroyed in the reverse
  // order of their building. A part's constructor may ask for other parts.
  template <class T>
  T& Part() {
    std::lock_guard lock(parts_mutex_);
    auto found = part_index_.find(typeid(T));
    if (found == part_index_.end()) {
      auto part = std::make_shared<T>(*this);
      found = part_index_.emplace(typeid(T), part.get()).first;
      parts_.push_back(std::move(part));
    }
    return *static_cast<T*>(found->second);
  }

  MachineFacts& facts() { return facts_; }

 private:
  std::filesystem::path directory_;
  MachineFacts facts_;
  std::recursive_mutex parts_mutex_;
  std::map<std::type_index, void*> part_index_;
  std::vector<std::shared_ptr<void>> parts_;
};

}  // namespace platform
