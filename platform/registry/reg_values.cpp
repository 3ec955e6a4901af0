// Reading, writing and enumerating values and sub-keys.
#include <windows.h>

#include <algorithm>
#include <cstring>

#include "platform/kernel/api_call.h"
#include "platform/registry/open_keys.h"

namespace platform {
namespace {

using Op = JournalRecord::Op;

constexpr size_t kLongestValueName = 16383;

// Copies a name with its terminator; `size` is the capacity in characters and becomes the length.
LSTATUS HandOutName(const WideString& name, LPWSTR buffer, LPDWORD size) {
  if (name.size() >= *size) return ERROR_MORE_DATA;
  std::copy_n(name.c_str(), name.size() + 1, buffer);
  *size = static_cast<DWORD>(name.size());
  return ERROR_SUCCESS;
}

LSTATUS HandOutData(const RegistryValue& value, LPDWORD type, LPBYTE data, LPDWORD size) {
  if (type != nullptr) *type = value.type;
  if (size == nullptr) return ERROR_SUCCESS;
  const DWORD capacity = *size;
  *size = static_cast<DWORD>(value.data.size());
  if (data == nullptr) return ERROR_SUCCESS;
  if (capacity < value.data.size()) return ERROR_MORE_DATA;
  std::copy(value.data.begin(), value.data.end(), data);
  return ERROR_SUCCESS;
}

struct KeyFigures {
  DWORD sub_keys = 0;
  DWORD longest_sub_key = 0;
  DWORD values = 0;
  DWORD longest_value_name = 0;
  DWORD longest_value = 0;
};

KeyFigures FiguresOf(const RegistryNode& node) {
  const auto grow = [](DWORD& longest, size_t size) {
    longest = std::max<DWORD>(longest, static_cast<DWORD>(size));
  };
  KeyFigures figures;
  figures.sub_keys = static_cast<DWORD>(node.children.size());
  figures.values = static_cast<DWORD>(node.values.size());
  for (const RegistryNode* child : node.children) grow(figures.longest_sub_key, child->name.size());
  for (const RegistryValue& value : node.values) {
    grow(figures.longest_value_name, value.name.size());
    grow(figures.longest_value, value.data.size());
  }
  return figures;
}

// Runs `use(const RegistryNode&)` on an open key that has `right`.
template <class Function>
LSTATUS WithNode(HKEY handle, REGSAM right, Function&& use) {
  OpenKey open;
  if (const LSTATUS status = UseKey(handle, right, open); status != ERROR_SUCCESS) return status;
  return open.key.Read([&](const RegistryNode* node) -> LSTATUS {
    return node == nullptr ? ERROR_KEY_DELETED : use(*node);
  });
}

void Store(LPDWORD target, DWORD value) {
  if (target != nullptr) *target = value;
}

}  // namespace
}  // namespace platform

using namespace platform;

LSTATUS WINAPI RegQueryInfoKeyW(HKEY key, LPWSTR class_name, LPDWORD class_size, LPDWORD reserved,
                                LPDWORD sub_keys, LPDWORD max_sub_key, LPDWORD max_class,
                                LPDWORD values, LPDWORD max_value_name, LPDWORD max_value,
                                LPDWORD security_size, PFILETIME last_write) {
  KV_API_STATUS(RegQueryInfoKeyW, ERROR_NOT_ENOUGH_MEMORY, key, class_name, class_size, reserved,
                sub_keys, max_sub_key, max_class, values, max_value_name, max_value, security_size,
                last_write);
  if (reserved != nullptr) return ERROR_INVALID_PARAMETER;
  if (class_name != nullptr || class_size != nullptr || max_class != nullptr ||
      security_size != nullptr || last_write != nullptr) {
    return ERROR_CALL_NOT_IMPLEMENTED;
  }
  return WithNode(key, KEY_QUERY_VALUE, [&](const RegistryNode& node) -> LSTATUS {
    const KeyFigures figures = FiguresOf(node);
    Store(sub_keys, figures.sub_keys);
    Store(max_sub_key, figures.longest_sub_key);
    Store(values, figures.values);
    Store(max_value_name, figures.longest_value_name);
    Store(max_value, figures.longest_value);
    return ERROR_SUCCESS;
  });
}

LSTATUS WINAPI RegEnumKeyExW(HKEY key, DWORD index, LPWSTR name, LPDWORD name_size,
                             LPDWORD reserved, LPWSTR class_name, LPDWORD class_size,
                             PFILETIME last_write) {
  KV_API_STATUS(RegEnumKeyExW, ERROR_NOT_ENOUGH_MEMORY, key, index, name, name_size, reserved,
                class_name, class_size, last_write);
  if (name == nullptr || name_size == nullptr || reserved != nullptr) {
    return ERROR_INVALID_PARAMETER;
  }
  if (class_name != nullptr || class_size != nullptr || last_write != nullptr) {
    return ERROR_CALL_NOT_IMPLEMENTED;
  }
  return WithNode(key, KEY_ENUMERATE_SUB_KEYS, [&](const RegistryNode& node) -> LSTATUS {
    if (index >= node.children.size()) return ERROR_NO_MORE_ITEMS;
    return HandOutName(node.children[index]->name, name, name_size);
  });
}

LSTATUS WINAPI RegEnumValueW(HKEY key, DWORD index, LPWSTR name, LPDWORD name_size,
                             LPDWORD reserved, LPDWORD type, LPBYTE data, LPDWORD size) {
  KV_API_STATUS(RegEnumValueW, ERROR_NOT_ENOUGH_MEMORY, key, index, name, name_size, reserved, type,
                data, size);
  if (name == nullptr || name_size == nullptr || reserved != nullptr ||
      (data != nullptr && size == nullptr)) {
    return ERROR_INVALID_PARAMETER;
  }
  return WithNode(key, KEY_QUERY_VALUE, [&](const RegistryNode& node) -> LSTATUS {
    if (index >= node.values.size()) return ERROR_NO_MORE_ITEMS;
    const RegistryValue& value = node.values[index];
    const LSTATUS status = HandOutName(value.name, name, name_size);
    return status != ERROR_SUCCESS ? status : HandOutData(value, type, data, size);
  });
}

LSTATUS WINAPI RegQueryValueExW(HKEY key, LPCWSTR name, LPDWORD reserved, LPDWORD type, LPBYTE data,
                                LPDWORD size) {
  KV_API_STATUS(RegQueryValueExW, ERROR_ACCESS_DENIED, key, name, reserved, type, data, size);
  if (reserved != nullptr || (data != nullptr && size == nullptr)) return ERROR_INVALID_PARAMETER;
  return WithNode(key, KEY_QUERY_VALUE, [&](const RegistryNode& node) -> LSTATUS {
    const RegistryValue* value = node.Value(View(name));
    return value == nullptr ? ERROR_FILE_NOT_FOUND : HandOutData(*value, type, data, size);
  });
}

LSTATUS WINAPI RegSetValueExW(HKEY key, LPCWSTR name, DWORD reserved, DWORD type, const BYTE* data,
                              DWORD size) {
  KV_API_STATUS(RegSetValueExW, ERROR_ACCESS_DENIED, key, name, reserved, type, data, size);
  if (reserved != 0 || View(name).size() > kLongestValueName) return ERROR_INVALID_PARAMETER;
  if (data == nullptr && size != 0) return ERROR_NOACCESS;
  OpenKey open;
  if (const LSTATUS status = UseKey(key, KEY_SET_VALUE, open); status != ERROR_SUCCESS) {
    return status;
  }
  return open.key.Modify([&](Hive::Change& hive) -> LSTATUS {
    hive.SetValue(open.key.id(), View(name), type, data, size);
    return ERROR_SUCCESS;
  });
}

LSTATUS WINAPI RegDeleteValueW(HKEY key, LPCWSTR name) {
  KV_API_STATUS(RegDeleteValueW, ERROR_ACCESS_DENIED, key, name);
  OpenKey open;
  if (const LSTATUS status = UseKey(key, KEY_SET_VALUE, open); status != ERROR_SUCCESS) {
    return status;
  }
  return open.key.Modify([&](Hive::Change& hive) -> LSTATUS {
    if (hive.tree().Find(open.key.id())->Value(View(name)) == nullptr) return ERROR_FILE_NOT_FOUND;
    hive.Apply({Op::kDeleteValue, open.key.id(), 0, WideString(View(name)), {}});
    return ERROR_SUCCESS;
  });
}
