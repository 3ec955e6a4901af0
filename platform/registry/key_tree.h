// The keys of one hive in memory.
#pragma once

#include <windows.h>

#include <memory>
#include <unordered_map>

#include "platform/registry/journal_record.h"

namespace platform {

struct RegistryValue {
  WideString name;
  DWORD type = REG_NONE;
  Bytes data;
};

struct RegistryNode {
  uint32_t id = 0;
  RegistryNode* parent = nullptr;
  WideString name;
  std::vector<RegistryNode*> children;  // sorted by name without regard to case
  std::vector<RegistryValue> values;    // in the order of their creation
  Bytes security;                       // empty: the parent's holds

  const RegistryNode* Child(WideView child) const;
  const RegistryValue* Value(WideView value) const;
};

class KeyTree {
 public:
  static constexpr uint32_t kRoot = 1;

  KeyTree();
  // Null for a key that does not exist any more.
  const RegistryNode* Find(uint32_t id) const;
  // Ids are never used again, so that an open key notices its deletion.
  uint32_t next_id() const { return next_id_; }
  // What a file with only this tree's contents would measure.
  size_t live_bytes() const { return live_bytes_; }
  // A record that does not fit the tree changes nothing.
  void Apply(const JournalRecord& record);
  // The records that rebuild this tree.
  void AppendSnapshot(std::string& out) const;

 private:
  RegistryNode* FindNode(uint32_t id);
  void CreateKey(const JournalRecord& record);
  void DeleteKey(RegistryNode& node);
  void SetValue(RegistryNode& node, const JournalRecord& record);
  void DeleteValue(RegistryNode& node, WideView name);
  void Forget(RegistryNode& node);

  std::unordered_map<uint32_t, std::unique_ptr<RegistryNode>> nodes_;
  uint32_t next_id_ = kRoot + 1;
  size_t live_bytes_ = 0;
};

}  // namespace platform
