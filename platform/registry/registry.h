// The machine's registry: hives mounted in one tree, and the layer's own way to its keys (no
// rights, no views, no entry lines).
#pragma once

#include <map>
#include <optional>

#include "platform/kernel/machine.h"
#include "platform/registry/hive.h"
#include "platform/registry/wow64_view.h"

namespace platform {

// A key by its hive and id. It may have been deleted meanwhile: reads then find nothing and writes
// fail.
class RegistryKey {
 public:
  RegistryKey() = default;
  RegistryKey(std::shared_ptr<Hive> hive, uint32_t id) : hive_(std::move(hive)), id_(id) {}
  explicit operator bool() const { return hive_ != nullptr; }
  Hive& hive() const { return *hive_; }
  uint32_t id() const { return id_; }

  // Runs `read(const RegistryNode*)`, which gets null when the key does not exist any more.
  template <class Function>
  auto Read(Function&& read) const {
    return hive_->Read([&](const KeyTree& tree) { return read(tree.Find(id_)); });
  }
  // Runs `change(Hive::Change&)` while the key exists, else gives ERROR_KEY_DELETED.
  LSTATUS Modify(const std::function<LSTATUS(Hive::Change&)>& change) const;

  bool Exists() const;
  // Sub-keys by path, within the key's hive; Open gives an empty RegistryKey for a missing one.
  RegistryKey Open(WideView path) const;
  RegistryKey Create(WideView path) const;
  // Deletes the sub-key with everything below it.
  bool DeleteTree(WideView path) const;
  std::vector<WideString> SubKeys() const;

  std::optional<RegistryValue> Value(WideView name) const;
  // The text of a string value up to its terminator, not expanded; empty for anything else.
  WideString Text(WideView name) const;
  // The strings of a multi-string.
  std::vector<WideString> Texts(WideView name) const;
  DWORD Number(WideView name, DWORD otherwise) const;
  bool Set(WideView name, DWORD type, const void* data, size_t size) const;
  bool SetText(WideView name, WideView text, DWORD type = REG_SZ) const;
  bool SetTexts(WideView name, const std::vector<WideString>& texts) const;
  bool SetNumber(WideView name, DWORD number) const;
  bool DeleteValue(WideView name) const;

 private:
  std::shared_ptr<Hive> hive_;
  uint32_t id_ = 0;
};

// The names of a path, without empty ones.
RegistryPath SplitPath(WideView path);

class Registry {
 public:
  explicit Registry(Machine& machine);
  static Registry& Current();

  // Where a predefined key lies; empty for one that does not exist here. HKEY_CLASSES_ROOT is the
  // machine's classes alone.
  RegistryPath RootPath(HKEY predefined);
  // The key at a path below the registry's root; an empty RegistryKey when there is none.
  RegistryKey Find(const RegistryPath& path);
  // The same, made with all keys on the way when it is missing; `created` tells. Nothing can be
  // made beside the hives (ERROR_INVALID_PARAMETER).
  LSTATUS Create(const RegistryPath& path, RegistryKey& key, bool& created);
  // Nothing when the key was deleted.
  std::optional<RegistryPath> PathOf(const RegistryKey& key) const;
  // Whether keys hang directly in the tree of hives, as HKEY_LOCAL_MACHINE does.
  bool IsAboveHives(const RegistryKey& key) const { return &key.hive() == root_.get(); }
  LSTATUS FlushAll();

  // Hangs the hive file in the tree, one level below `place`; a file that does not exist becomes an
  // empty hive. ERROR_SHARING_VIOLATION when the file or the name is in use, ERROR_BADDB for what
  // is no hive. It stays until it is unloaded, whatever happens to the process.
  LSTATUS Load(const RegistryPath& path, const std::filesystem::path& file);
  // ERROR_ACCESS_DENIED for a hive that the system itself uses, or while this process has keys of
  // it open; ERROR_FILE_NOT_FOUND when none of that name is loaded.
  LSTATUS Unload(const RegistryPath& path);

 private:
  struct Mount {
    std::shared_ptr<Hive> hive;
    size_t depth = 0;  // names of the path that lead to the hive's root
  };
  Mount MountOf(const RegistryPath& path);
  std::shared_ptr<Hive> OpenHive(const std::filesystem::path& relative, WideView place);
  void Install();
  void AddHive(Hive::Change& root, WideView place, const std::filesystem::path& relative);
  std::filesystem::path Relative(const std::filesystem::path& file) const;
  void EnsureUserHive(const WideString& sid);

  const std::filesystem::path directory_;
  std::mutex mutex_;
  std::map<std::filesystem::path, std::shared_ptr<Hive>> hives_;
  std::shared_ptr<Hive> root_;
};

// Keys of the current machine's registry by their full path ("MACHINE\SYSTEM\CurrentControlSet").
RegistryKey FindKey(WideView path);
RegistryKey MakeKey(WideView path);

}  // namespace platform
