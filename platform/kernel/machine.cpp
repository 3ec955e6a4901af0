#include "platform/kernel/machine.h"

#include <unistd.h>

#include <cstdlib>
#include <fstream>

#include "platform/control/faults.h"
#include "platform/kernel/installation.h"
#include "platform/kernel/process_record.h"

namespace platform {
namespace {

constexpr const char* kFactsFile = "facts";

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
    : directory_(std::filesystem::absolute(directory)) {
  for (const char* folder : {"drive_c", "registry", "objects"}) {
    std::filesystem::create_directories(directory_ / folder);
  }
  ReadFacts();
}

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

void Machine::ReadFacts() {
  std::ifstream file(directory_ / kFactsFile);
  for (std::string line; std::getline(file, line);) {
    const size_t equals = line.find('=');
    if (equals != std::string::npos) facts_[line.substr(0, equals)] = line.substr(equals + 1);
  }
}

void Machine::WriteFacts() const {
  const std::filesystem::path target = directory_ / kFactsFile;
  const std::filesystem::path fresh = target.string() + "." + std::to_string(getpid());
  {
    std::ofstream file(fresh, std::ios::trunc);
    for (const auto& [name, value] : facts_) file << name << '=' << value << '\n';
  }
  std::filesystem::rename(fresh, target);
}

std::string Machine::Fact(std::string_view name, std::string_view otherwise) const {
  std::lock_guard lock(facts_mutex_);
  const ProcessFacts& told = ProcessRecord::Own().facts;
  if (const auto own = told.find(name); own != told.end()) return own->second;
  const auto found = facts_.find(name);
  return found == facts_.end() ? std::string(otherwise) : found->second;
}

void Machine::SetFact(std::string_view name, std::string_view value) {
  std::lock_guard lock(facts_mutex_);
  ProcessRecord::Own().facts.erase(std::string(name));
  facts_[std::string(name)] = value;
  WriteFacts();
}

void Machine::ClearFact(std::string_view name) {
  std::lock_guard lock(facts_mutex_);
  if (facts_.erase(std::string(name)) != 0) WriteFacts();
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
  return Machine::Current().Fact(name, otherwise);
}

long FactNumber(std::string_view name, long otherwise) {
  const std::string text = Fact(name);
  return text.empty() ? otherwise : std::strtol(text.c_str(), nullptr, 0);
}

void SetFact(std::string_view name, std::string_view value) {
  Machine::Current().SetFact(name, value);
}
void SetFactNumber(std::string_view name, long value) {
  SetFact(name, std::to_string(value));
}
void ClearFact(std::string_view name) {
  Machine::Current().ClearFact(name);
}

}  // namespace platform
