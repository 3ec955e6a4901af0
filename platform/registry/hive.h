// One hive: a journal file that several processes share, and its keys in memory.
//
// A change is one append under an open-file-description lock of the file, which the kernel drops
// when its holder dies; a torn last record is cut off by the next writer. Readers take no lock:
// they compare the file's size and identity with what they have replayed. When what is superseded
// dominates, the file is written anew beside the old one and renamed over it.
#pragma once

#include <functional>
#include <mutex>

#include <filesystem>

#include "platform/registry/key_tree.h"

namespace platform {

class Hive {
 public:
  // Opens the file, or makes an empty one. `place` is where the hive hangs in the registry
  // ("MACHINE\SOFTWARE"). Null when the file cannot be opened or is no hive.
  static std::shared_ptr<Hive> Open(const std::filesystem::path& file, WideString place);
  ~Hive();
  Hive(const Hive&) = delete;
  Hive& operator=(const Hive&) = delete;

  const WideString& place() const { return place_; }

  // Runs `read(const KeyTree&)` on the present state. `read` must not come back to this hive.
  template <class Function>
  auto Read(Function&& read) {
    std::lock_guard lock(mutex_);
    CatchUp();
    return read(static_cast<const KeyTree&>(tree_));
  }

  // The hive while nobody else can change it.
  class Change {
   public:
    const KeyTree& tree() const { return hive_.tree_; }
    void Apply(const JournalRecord& record);
    // `size` in bytes.
    void SetValue(uint32_t key, WideView name, DWORD type, const void* data, size_t size);
    // Makes the key and returns its id.
    uint32_t CreateKey(uint32_t parent, WideView name);

   private:
    friend class Hive;
    explicit Change(Hive& hive) : hive_(hive) {}
    Hive& hive_;
    std::string pending_;
  };
  // Runs `change` with the file locked and appends what it applied in one write; nothing of it
  // stays when it returns an error. Returns that error, or ERROR_CANTWRITE.
  LSTATUS Modify(const std::function<LSTATUS(Change&)>& change);
  // Forces the file to the disk.
  LSTATUS Flush();

 private:
  Hive(std::filesystem::path file, WideString place);
  bool OpenFile();
  // Goes over to a newly opened file.
  bool Adopt(int descriptor);
  // Back to nothing replayed.
  void Forget();
  void CatchUp();
  void Replay();
  bool IsCurrentFile() const;
  bool LockFile();
  void UnlockFile();
  bool Append(const std::string& bytes);
  void CompactWhenWorthwhile();

  const std::filesystem::path file_;
  const WideString place_;
  std::mutex mutex_;
  int descriptor_ = -1;
  uint64_t device_ = 0;
  uint64_t inode_ = 0;
  uint64_t replayed_ = 0;  // bytes
  KeyTree tree_;
};

}  // namespace platform
