#include "platform/registry/key_tree.h"

#include <algorithm>

namespace platform {
namespace {

using Op = JournalRecord::Op;

auto PlaceOf(std::vector<RegistryNode*>& children, WideView name) {
  return std::lower_bound(
      children.begin(), children.end(), name,
      [](const RegistryNode* node, WideView other) { return LessNoCase()(node->name, other); });
}

JournalRecord KeyRecord(const RegistryNode& node) {
  return {Op::kCreateKey, node.id, node.parent->id, node.name, {}};
}
JournalRecord ValueRecord(const RegistryNode& node, const RegistryValue& value) {
  return {Op::kSetValue, node.id, value.type, value.name, value.data};
}
JournalRecord SecurityRecord(const RegistryNode& node) {
  return {Op::kSetSecurity, node.id, 0, {}, node.security};
}

void AppendNode(std::string& out, const RegistryNode& node) {
  if (node.parent != nullptr) AppendRecord(out, KeyRecord(node));
  if (!node.security.empty()) AppendRecord(out, SecurityRecord(node));
  for (const RegistryValue& value : node.values) AppendRecord(out, ValueRecord(node, value));
  for (const RegistryNode* child : node.children) AppendNode(out, *child);
}

}  // namespace

const RegistryNode* RegistryNode::Child(WideView child) const {
  auto& all = const_cast<RegistryNode*>(this)->children;
  const auto place = PlaceOf(all, child);
  return place != all.end() && EqualNoCase((*place)->name, child) ? *place : nullptr;
}

const RegistryValue* RegistryNode::Value(WideView value) const {
  for (const RegistryValue& candidate : values) {
    if (EqualNoCase(candidate.name, value)) return &candidate;
  }
  return nullptr;
}

KeyTree::KeyTree() {
  auto root = std::make_unique<RegistryNode>();
  root->id = kRoot;
  nodes_.emplace(kRoot, std::move(root));
}

const RegistryNode* KeyTree::Find(uint32_t id) const {
  const auto found = nodes_.find(id);
  return found == nodes_.end() ? nullptr : found->second.get();
}

RegistryNode* KeyTree::FindNode(uint32_t id) {
  return const_cast<RegistryNode*>(Find(id));
}

void KeyTree::Apply(const JournalRecord& record) {
  if (record.op == Op::kHive) {
    next_id_ = std::max(next_id_, record.number);
    return;
  }
  if (record.op == Op::kCreateKey) return CreateKey(record);
  RegistryNode* node = FindNode(record.key);
  if (node == nullptr) return;
  switch (record.op) {
    case Op::kDeleteKey:
      return DeleteKey(*node);
    case Op::kSetValue:
      return SetValue(*node, record);
    case Op::kDeleteValue:
      return DeleteValue(*node, record.name);
    case Op::kSetSecurity:
      if (!node->security.empty()) live_bytes_ -= EncodedSize(SecurityRecord(*node));
      node->security = record.data;
      live_bytes_ += EncodedSize(record);
      return;
    default:
      return;
  }
}

void KeyTree::CreateKey(const JournalRecord& record) {
  RegistryNode* parent = FindNode(record.number);
  if (parent == nullptr || record.key == UINT32_MAX || Find(record.key) != nullptr ||
      parent->Child(record.name) != nullptr) {
    return;
  }
  auto node = std::make_unique<RegistryNode>();
  node->id = record.key;
  node->parent = parent;
  node->name = record.name;
  parent->children.insert(PlaceOf(parent->children, record.name), node.get());
  nodes_.emplace(record.key, std::move(node));
  next_id_ = std::max(next_id_, record.key + 1);
  live_bytes_ += EncodedSize(record);
}

void KeyTree::DeleteKey(RegistryNode& node) {
  if (node.parent == nullptr) return;
  std::erase(node.parent->children, &node);
  Forget(node);
}

void KeyTree::Forget(RegistryNode& node) {
  for (RegistryNode* child : node.children) Forget(*child);
  live_bytes_ -= EncodedSize(KeyRecord(node));
  if (!node.security.empty()) live_bytes_ -= EncodedSize(SecurityRecord(node));
  for (const RegistryValue& value : node.values) {
    live_bytes_ -= EncodedSize(ValueRecord(node, value));
  }
  nodes_.erase(node.id);
}

void KeyTree::SetValue(RegistryNode& node, const JournalRecord& record) {
  live_bytes_ += EncodedSize(record);
  if (auto* value = const_cast<RegistryValue*>(node.Value(record.name))) {
    live_bytes_ -= EncodedSize(ValueRecord(node, *value));
    value->type = record.number;
    value->data = record.data;
    return;
  }
  node.values.push_back({record.name, record.number, record.data});
}

void KeyTree::DeleteValue(RegistryNode& node, WideView name) {
  const RegistryValue* value = node.Value(name);
  if (value == nullptr) return;
  live_bytes_ -= EncodedSize(ValueRecord(node, *value));
  node.values.erase(node.values.begin() + (value - node.values.data()));
}

void KeyTree::AppendSnapshot(std::string& out) const {
  AppendRecord(out, {Op::kHive, 0, next_id_, {}, {}});
  AppendNode(out, *Find(kRoot));
}

}  // namespace platform
