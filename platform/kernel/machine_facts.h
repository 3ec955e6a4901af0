// The facts of one machine, which all its processes read and write.
#pragma once

#include <atomic>
#include <cstdint>
#include <filesystem>
#include <map>
#include <mutex>
#include <string>
#include <string_view>

namespace platform {

class MachineFacts {
 public:
  explicit MachineFacts(const std::filesystem::path& machine);
  ~MachineFacts();
  MachineFacts(const MachineFacts&) = delete;
  MachineFacts& operator=(const MachineFacts&) = delete;

  // What the process was told when it was started goes before what the machine says.
  std::string Get(std::string_view name, std::string_view otherwise);
  void Set(std::string_view name, std::string_view value);
  void Clear(std::string_view name);

 private:
  void Read();
  void Write() const;
  // Runs `change` on what the file says now, and writes it.
  template <class Function>
  void Change(Function change);

  const std::filesystem::path file_;
  const std::filesystem::path shared_;
  std::mutex mutex_;
  std::map<std::string, std::string, std::less<>> facts_;
  // Grows with every change by whatever process; null when it cannot be shared.
  std::atomic<uint32_t>* changes_ = nullptr;
  uint32_t changes_read_ = 0;
};

}  // namespace platform
