#include <cstring>

#include "platform/registry/registry.h"

namespace platform {
namespace {

using Op = JournalRecord::Op;

const RegistryNode* Walk(const RegistryNode* node, const RegistryPath& path) {
  for (const WideString& name : path) {
    if (node == nullptr) return nullptr;
    node = node->Child(name);
  }
  return node;
}

WideString AsText(const Bytes& data) {
  WideString text(data.size() / sizeof(WCHAR), 0);
  std::memcpy(text.data(), data.data(), text.size() * sizeof(WCHAR));
  return text;
}

}  // namespace

RegistryPath SplitPath(WideView path) {
  RegistryPath names;
  while (!path.empty()) {
    const size_t end = std::min(path.find(TEXT('\\')), path.size());
    if (end != 0) names.emplace_back(path.substr(0, end));
    path.remove_prefix(std::min(end + 1, path.size()));
  }
  return names;
}

LSTATUS RegistryKey::Modify(const std::function<LSTATUS(Hive::Change&)>& change) const {
  return hive_->Modify([&](Hive::Change& hive) -> LSTATUS {
    return hive.tree().Find(id_) == nullptr ? ERROR_KEY_DELETED : change(hive);
  });
}

bool RegistryKey::Exists() const {
  return hive_ != nullptr && Read([](const RegistryNode* node) { return node != nullptr; });
}

RegistryKey RegistryKey::Open(WideView path) const {
  if (hive_ == nullptr) return {};
  const RegistryPath names = SplitPath(path);
  const uint32_t id = Read([&](const RegistryNode* node) {
    node = Walk(node, names);
    return node == nullptr ? 0 : node->id;
  });
  return id == 0 ? RegistryKey() : RegistryKey(hive_, id);
}

RegistryKey RegistryKey::Create(WideView path) const {
  if (RegistryKey existing = Open(path)) return existing;
  if (hive_ == nullptr) return {};
  uint32_t id = id_;
  const LSTATUS status = Modify([&](Hive::Change& hive) {
    for (const WideString& name : SplitPath(path)) {
      const RegistryNode* child = hive.tree().Find(id)->Child(name);
      id = child != nullptr ? child->id : hive.CreateKey(id, name);
    }
    return ERROR_SUCCESS;
  });
  return status == ERROR_SUCCESS ? RegistryKey(hive_, id) : RegistryKey();
}

bool RegistryKey::DeleteTree(WideView path) const {
  const RegistryKey key = Open(path);
  return key && key.Modify([&](Hive::Change& hive) {
    hive.Apply({Op::kDeleteKey, key.id(), 0, {}, {}});
    return ERROR_SUCCESS;
  }) == ERROR_SUCCESS;
}

std::vector<WideString> RegistryKey::SubKeys() const {
  std::vector<WideString> names;
  if (hive_ == nullptr) return names;
  Read([&](const RegistryNode* node) {
    if (node == nullptr) return;
    for (const RegistryNode* child : node->children) names.push_back(child->name);
  });
  return names;
}

std::optional<RegistryValue> RegistryKey::Value(WideView name) const {
  if (hive_ == nullptr) return std::nullopt;
  return Read([&](const RegistryNode* node) -> std::optional<RegistryValue> {
    const RegistryValue* value = node == nullptr ? nullptr : node->Value(name);
    return value == nullptr ? std::nullopt : std::optional(*value);
  });
}

WideString RegistryKey::Text(WideView name) const {
  const auto value = Value(name);
  if (!value || (value->type != REG_SZ && value->type != REG_EXPAND_SZ)) return {};
  const WideString text = AsText(value->data);
  return text.substr(0, text.find(TEXT('\0')));
}

std::vector<WideString> RegistryKey::Texts(WideView name) const {
  const auto value = Value(name);
  std::vector<WideString> texts;
  if (!value || value->type != REG_MULTI_SZ) return texts;
  const WideString all = AsText(value->data);
  for (size_t begin = 0; begin < all.size() && all[begin] != 0;) {
    const size_t end = std::min(all.find(TEXT('\0'), begin), all.size());
    texts.push_back(all.substr(begin, end - begin));
    begin = end + 1;
  }
  return texts;
}

DWORD RegistryKey::Number(WideView name, DWORD otherwise) const {
  const auto value = Value(name);
  DWORD number = otherwise;
  if (value && value->type == REG_DWORD && value->data.size() == sizeof number) {
    std::memcpy(&number, value->data.data(), sizeof number);
  }
  return number;
}

bool RegistryKey::Set(WideView name, DWORD type, const void* data, size_t size) const {
  return hive_ != nullptr && Modify([&](Hive::Change& hive) {
                               hive.SetValue(id_, name, type, data, size);
                               return ERROR_SUCCESS;
                             }) == ERROR_SUCCESS;
}

bool RegistryKey::SetText(WideView name, WideView text, DWORD type) const {
  const WideString terminated(text);
  return Set(name, type, terminated.c_str(), (terminated.size() + 1) * sizeof(WCHAR));
}

bool RegistryKey::SetTexts(WideView name, const std::vector<WideString>& texts) const {
  WideString all;
  for (const WideString& text : texts) all.append(text).push_back(0);
  return Set(name, REG_MULTI_SZ, all.c_str(), (all.size() + 1) * sizeof(WCHAR));
}

bool RegistryKey::SetNumber(WideView name, DWORD number) const {
  return Set(name, REG_DWORD, &number, sizeof number);
}

bool RegistryKey::DeleteValue(WideView name) const {
  return hive_ != nullptr && Modify([&](Hive::Change& hive) -> LSTATUS {
                               if (hive.tree().Find(id_)->Value(name) == nullptr)
                                 return ERROR_FILE_NOT_FOUND;
                               hive.Apply({Op::kDeleteValue, id_, 0, WideString(name), {}});
                               return ERROR_SUCCESS;
                             }) == ERROR_SUCCESS;
}

RegistryKey FindKey(WideView path) {
  return Registry::Current().Find(SplitPath(path));
}

RegistryKey MakeKey(WideView path) {
  RegistryKey key;
  bool created;
  return Registry::Current().Create(SplitPath(path), key, created) == ERROR_SUCCESS ? key
                                                                                    : RegistryKey();
}

}  // namespace platform
