#include "platform/kernel/machine_facts.h"

#include <sys/mman.h>

#include <fstream>

#include "platform/kernel/locked_file.h"
#include "platform/kernel/process_record.h"

namespace platform {

MachineFacts::MachineFacts(const std::filesystem::path& machine)
    : file_(machine / "facts"), shared_(machine / "objects" / "facts") {
  const LockedFile shared(shared_);
  if (ftruncate(shared.get(), sizeof *changes_) == 0) {
    void* const address =
        mmap(nullptr, sizeof *changes_, PROT_READ | PROT_WRITE, MAP_SHARED, shared.get(), 0);
    if (address != MAP_FAILED) changes_ = static_cast<std::atomic<uint32_t>*>(address);
  }
  Read();
}

MachineFacts::~MachineFacts() {
  if (changes_ != nullptr) munmap(changes_, sizeof *changes_);
}

void MachineFacts::Read() {
  // Counted before the file is read: what comes in between is read again.
  if (changes_ != nullptr) changes_read_ = *changes_;
  std::ifstream file(file_);
  facts_.clear();
  for (std::string line; std::getline(file, line);) {
    const size_t equals = line.find('=');
    if (equals != std::string::npos) facts_[line.substr(0, equals)] = line.substr(equals + 1);
  }
}

void MachineFacts::Write() const {
  const std::filesystem::path fresh = file_.string() + ".new";
  {
    std::ofstream file(fresh, std::ios::trunc);
    for (const auto& [name, value] : facts_) file << name << '=' << value << '\n';
  }
  std::filesystem::rename(fresh, file_);
}

template <class Function>
void MachineFacts::Change(Function change) {
  const LockedFile locked(shared_);
  std::lock_guard lock(mutex_);
  if (changes_ != nullptr && changes_read_ != *changes_) Read();
  change();
  Write();
  if (changes_ != nullptr) changes_read_ = ++*changes_;
}

std::string MachineFacts::Get(std::string_view name, std::string_view otherwise) {
  std::lock_guard lock(mutex_);
  const ProcessFacts& told = ProcessRecord::Own().facts;
  if (const auto own = told.find(name); own != told.end()) return own->second;
  if (changes_ != nullptr && changes_read_ != *changes_) Read();
  const auto found = facts_.find(name);
  return found == facts_.end() ? std::string(otherwise) : found->second;
}

void MachineFacts::Set(std::string_view name, std::string_view value) {
  Change([&] {
    ProcessRecord::Own().facts.erase(std::string(name));
    facts_[std::string(name)] = value;
  });
}

void MachineFacts::Clear(std::string_view name) {
  Change([&] { facts_.erase(std::string(name)); });
}

}  // namespace platform
