#include "platform/kernel/machine.h"

#include <cstdlib>

#include "platform/control/faults.h"
#include "platform/kernel/installation.h"

namespace platform {
namespace {

std::recursive_mutex current_mutex;
Machine* current = nullptr;

std::filesystem::path DefaultDirectory() {
  if (const char* chosen = std::getenv("KV_MACHINE"); chosen != nullptr && *chosen != 0)
    return chosen;
  if (const char* data = std::getenv("XDG_DATA_HOME"); data != nullptr && *data != 0) {
    return std::filesystem::path(data) / "folvane-machine";
  }
  const char* home = std::getenv("HOME");
  return std::filesystem::path(home != nullptr ? home : "/tmp") / ".local/share/folvane-machine";
}

std::filesystem::path WithFolders(const std::filesystem::path& directory) {
  for (const char* folder : {"drive_c", "registry", "objects"}) {
    std::filesystem::create_directories(directory / folder);
  }
  return directory;
}

}  // namespace

Machine& Machine::Current() {
  std::lock_guard lock(current_mutex);
  if (current == nullptr) Open(DefaultDirectory());
  return *current;
}

void Machine::Open(const std::filesystem::path& directory) {
  std::lock_guard lock(current_mutex);
  Close();
  current = new Machine(directory);
  PrepareMachine(*current);
}

void Machine::Close() {
  // It stays the current machine while its parts go: a monitor that is unloaded now may still need
  // it.
  std::lock_guard lock(current_mutex);
  if (current == nullptr) return;
  OutsideTest closing;
  delete current;
  current = nullptr;
}

Machine::Machine(const std::filesystem::path& directory)
    : directory_(WithFolders(std::filesystem::absolute(directory))), facts_(directory_) {}

Machine::~Machine() {
  while (!parts_.empty()) {
    std::shared_ptr<void> last = std::move(parts_.back());
    parts_.pop_back();
    // The part stays in the index while it is destroyed: what it calls may need it.
    void* address = last.get();
    last.reset();
    std::erase_if(part_index_, [address](const auto& entry) { return entry.second == address; });
  }
}

void UseMachine(const std::filesystem::path& directory) {
  Machine::Open(directory);
}
void CloseMachine() {
  Machine::Close();
}
std::filesystem::path MachineDirectory() {
  return Machine::Current().directory();
}

std::string Fact(std::string_view name, std::string_view otherwise) {
  return Machine::Current().facts().Get(name, otherwise);
}

long FactNumber(std::string_view name, long otherwise) {
  const std::string text = Fact(name);
  return text.empty() ? otherwise : std::strtol(text.c_str(), nullptr, 0);
}

void SetFact(std::string_view name, std::string_view value) {
  Machine::Current().facts().Set(name, value);
}
void SetFactNumber(std::string_view name, long value) {
  SetFact(name, std::to_string(value));
}
void ClearFact(std::string_view name) {
  Machine::Current().facts().Clear(name);
}

}  // namespace platform
