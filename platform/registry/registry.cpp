#include "platform/registry/registry.h"

#include <algorithm>

#include "platform/kernel/installation.h"
#include "platform/registry/initial_keys.h"
#include "platform/security/rights.h"

namespace platform {
namespace {

using Op = JournalRecord::Op;

// In the root hive, a key with this value is where the hive file that it names (relative to the
// machine's directory) hangs.
constexpr const WCHAR* kMountValue = TEXT("hive");
// Marks a hive that a program loaded, and may unload.
constexpr const WCHAR* kLoadedValue = TEXT("loaded");
constexpr const WCHAR* kSystemSid = TEXT("S-1-5-18");

RegistryPath Part(const RegistryPath& path, size_t from) {
  return RegistryPath(path.begin() + std::min(from, path.size()), path.end());
}

WideString Join(const RegistryPath& path, size_t count) {
  WideString text;
  for (size_t i = 0; i < count; ++i) {
    if (i != 0) text += TEXT('\\');
    text += path[i];
  }
  return text;
}

WideString MountedFile(const RegistryNode& node) {
  const RegistryValue* value = node.Value(kMountValue);
  if (value == nullptr) return {};
  const auto* units = reinterpret_cast<const WCHAR*>(value->data.data());
  return WideString(units, value->data.size() / sizeof(WCHAR));
}

// Whether a hive of this file hangs at or below the key.
bool HasMounted(const RegistryNode& node, const WideString& file) {
  if (EqualNoCase(MountedFile(node), file)) return true;
  return std::any_of(node.children.begin(), node.children.end(),
                     [&](const RegistryNode* child) { return HasMounted(*child, file); });
}

}  // namespace

Registry::Registry(Machine& machine) : directory_(machine.directory()) {
  root_ = Hive::Open(directory_ / "registry" / "root", {});
  if (root_ == nullptr) {
    throw std::filesystem::filesystem_error("cannot open the registry", directory_ / "registry",
                                            std::make_error_code(std::errc::io_error));
  }
  const bool installed =
      root_->Read([](const KeyTree& tree) { return !tree.Find(KeyTree::kRoot)->children.empty(); });
  if (!installed) Install();
}

Registry& Registry::Current() {
  return Machine::Current().Part<Registry>();
}

// Under the root's lock: of several processes that open a fresh machine, one fills it.
void Registry::Install() {
  root_->Modify([this](Hive::Change& root) {
    if (!root.tree().Find(KeyTree::kRoot)->children.empty()) return ERROR_SUCCESS;
    const auto fresh = [&](const char* file, const WCHAR* place) {
      AddHive(root, place, file);
      return RegistryKey(OpenHive(file, place), KeyTree::kRoot);
    };
    FillSoftwareHive(fresh("registry/software", TEXT("MACHINE\\SOFTWARE")));
    FillSystemHive(fresh("registry/system", TEXT("MACHINE\\SYSTEM")));
    FillUserHive(fresh("registry/default", TEXT("USER\\.DEFAULT")), UserProfileDirectory());
    AddHive(root, TEXT("USER\\S-1-5-18"), "registry/default");
    return ERROR_SUCCESS;
  });
}

void Registry::AddHive(Hive::Change& root, WideView place, const std::filesystem::path& relative) {
  uint32_t id = KeyTree::kRoot;
  for (const WideString& name : SplitPath(place)) {
    const RegistryNode* child = root.tree().Find(id)->Child(name);
    id = child != nullptr ? child->id : root.CreateKey(id, name);
  }
  const WideString file = ToWide(relative.string());
  root.SetValue(id, kMountValue, REG_SZ, file.data(), file.size() * sizeof(WCHAR));
}

std::shared_ptr<Hive> Registry::OpenHive(const std::filesystem::path& relative, WideView place) {
  std::lock_guard lock(mutex_);
  std::shared_ptr<Hive>& hive = hives_[relative];
  if (hive == nullptr || hive->place() != place) {
    hive = Hive::Open(directory_ / relative, WideString(place));
  }
  return hive;
}

void Registry::EnsureUserHive(const WideString& sid) {
  const RegistryPath place = {TEXT("USER"), sid};
  if (MountOf(place).hive != root_) return;
  root_->Modify([&](Hive::Change& root) {
    const WideString name = Join(place, place.size());
    const std::filesystem::path host = HostPath(UserProfileDirectory() + TEXT("\\ntuser.dat"));
    std::error_code ignored;
    std::filesystem::create_directories(host.parent_path(), ignored);
    const std::filesystem::path file = Relative(host);
    if (root.tree().Find(KeyTree::kRoot)->Child(place[0])->Child(sid) != nullptr) {
      return ERROR_SUCCESS;
    }
    FillUserHive(RegistryKey(OpenHive(file, name), KeyTree::kRoot), UserProfileDirectory());
    AddHive(root, name, file);
    return ERROR_SUCCESS;
  });
}

RegistryPath Registry::RootPath(HKEY predefined) {
  if (predefined == HKEY_LOCAL_MACHINE) return {TEXT("MACHINE")};
  if (predefined == HKEY_CLASSES_ROOT) {
    return {TEXT("MACHINE"), TEXT("SOFTWARE"), TEXT("Classes")};
  }
  if (predefined != HKEY_CURRENT_USER && predefined != HKEY_USERS) return {};
  const WideString sid = ProcessUserSid();
  if (sid != kSystemSid) EnsureUserHive(sid);
  return predefined == HKEY_USERS ? RegistryPath{TEXT("USER")} : RegistryPath{TEXT("USER"), sid};
}

Registry::Mount Registry::MountOf(const RegistryPath& path) {
  WideString file;
  size_t depth = 0;
  root_->Read([&](const KeyTree& tree) {
    const RegistryNode* node = tree.Find(KeyTree::kRoot);
    while (file.empty() && depth < path.size()) {
      node = node->Child(path[depth]);
      if (node == nullptr) return;
      ++depth;
      file = MountedFile(*node);
    }
  });
  if (file.empty()) return {root_, 0};
  return {OpenHive(ToUtf8(file), Join(path, depth)), depth};
}

RegistryKey Registry::Find(const RegistryPath& path) {
  const Mount mount = MountOf(path);
  if (mount.hive == nullptr) return {};
  const uint32_t id = mount.hive->Read([&](const KeyTree& tree) {
    const RegistryNode* node = tree.Find(KeyTree::kRoot);
    for (size_t i = mount.depth; node != nullptr && i < path.size(); ++i) {
      node = node->Child(path[i]);
    }
    return node == nullptr ? 0 : node->id;
  });
  return id == 0 ? RegistryKey() : RegistryKey(mount.hive, id);
}

LSTATUS Registry::Create(const RegistryPath& path, RegistryKey& key, bool& created) {
  created = false;
  key = Find(path);
  if (key) return ERROR_SUCCESS;
  const Mount mount = MountOf(path);
  if (mount.hive == nullptr) return ERROR_CANTOPEN;
  if (mount.hive == root_) return ERROR_INVALID_PARAMETER;
  uint32_t id = KeyTree::kRoot;
  const LSTATUS status = mount.hive->Modify([&](Hive::Change& hive) {
    for (const WideString& name : Part(path, mount.depth)) {
      const RegistryNode* child = hive.tree().Find(id)->Child(name);
      created = child == nullptr;
      id = child != nullptr ? child->id : hive.CreateKey(id, name);
    }
    return ERROR_SUCCESS;
  });
  if (status == ERROR_SUCCESS) key = RegistryKey(mount.hive, id);
  return status;
}

std::optional<RegistryPath> Registry::PathOf(const RegistryKey& key) const {
  return key.Read([&](const RegistryNode* node) -> std::optional<RegistryPath> {
    if (node == nullptr) return std::nullopt;
    RegistryPath below;
    for (; node->parent != nullptr; node = node->parent) below.push_back(node->name);
    RegistryPath path = SplitPath(key.hive().place());
    path.insert(path.end(), below.rbegin(), below.rend());
    return path;
  });
}

// Files of the machine by their place in it, so that machines can be moved.
std::filesystem::path Registry::Relative(const std::filesystem::path& file) const {
  const std::filesystem::path relative = file.lexically_relative(directory_);
  return relative.empty() || *relative.begin() == ".." ? file : relative;
}

LSTATUS Registry::Load(const RegistryPath& path, const std::filesystem::path& file) {
  const std::filesystem::path relative = Relative(file);
  return root_->Modify([&](Hive::Change& root) -> LSTATUS {
    const RegistryNode* const top = root.tree().Find(KeyTree::kRoot);
    if (HasMounted(*top, ToWide(relative.string()))) return ERROR_SHARING_VIOLATION;
    const RegistryNode* const parent = top->Child(path[0]);
    if (parent == nullptr) return ERROR_INVALID_PARAMETER;
    if (parent->Child(path[1]) != nullptr) return ERROR_SHARING_VIOLATION;
    const WideString place = Join(path, path.size());
    if (OpenHive(relative, place) == nullptr) return ERROR_BADDB;
    AddHive(root, place, relative);
    const uint32_t id = root.tree().Find(KeyTree::kRoot)->Child(path[0])->Child(path[1])->id;
    root.Apply({Op::kSetValue, id, REG_SZ, kLoadedValue, {}});
    return ERROR_SUCCESS;
  });
}

LSTATUS Registry::Unload(const RegistryPath& path) {
  std::filesystem::path file;
  const LSTATUS status = root_->Modify([&](Hive::Change& root) -> LSTATUS {
    const RegistryNode* node = root.tree().Find(KeyTree::kRoot)->Child(path[0]);
    if (node != nullptr) node = node->Child(path[1]);
    if (node == nullptr) return ERROR_FILE_NOT_FOUND;
    if (node->Value(kLoadedValue) == nullptr) return ERROR_ACCESS_DENIED;
    file = ToUtf8(MountedFile(*node));
    root.Apply({Op::kDeleteKey, node->id, 0, {}, {}});
    return ERROR_SUCCESS;
  });
  if (status != ERROR_SUCCESS) return status;
  std::lock_guard lock(mutex_);
  hives_.erase(file);
  return ERROR_SUCCESS;
}

LSTATUS Registry::FlushAll() {
  std::vector<std::shared_ptr<Hive>> all = {root_};
  {
    std::lock_guard lock(mutex_);
    for (const auto& [file, hive] : hives_) {
      if (hive != nullptr) all.push_back(hive);
    }
  }
  LSTATUS status = ERROR_SUCCESS;
  for (const auto& hive : all) {
    if (const LSTATUS flushed = hive->Flush(); flushed != ERROR_SUCCESS) status = flushed;
  }
  return status;
}

}  // namespace platform
