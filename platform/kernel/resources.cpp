// Resources of loaded modules.
#include <algorithm>
#include <cstring>
#include <iterator>

#include "platform/control/facts.h"
#include "platform/control/machine.h"
#include "platform/kernel/api_call.h"
#include "platform/kernel/modules.h"

namespace platform {
namespace {

constexpr UINT kStringsPerBlock = 16;
constexpr WORD kEnglish = 0x0409;

// What a callback is given for a key: MAKEINTRESOURCEW or the text itself.
LPWSTR AsArgument(ResourceKey& key) {
  return key.name.empty() ? MAKEINTRESOURCEW(key.id) : key.name.data();
}

// The languages that stand in for one, the best first. The neutral language stands for the user's.
std::vector<WORD> LanguageOrder(WORD language) {
  const WORD user = static_cast<WORD>(FactNumber(facts::kUserLocale, kEnglish));
  const WORD system = static_cast<WORD>(FactNumber(facts::kSystemLocale, kEnglish));
  std::vector<WORD> order;
  const auto add = [&](WORD more) {
    order.push_back(more);
    order.push_back(static_cast<WORD>(PRIMARYLANGID(more)));
  };
  add(language);
  add(user);
  add(system);
  add(kEnglish);
  return order;
}

const pe::ResourceData* FindInOrder(const PeImage& image, const ResourceKey& type,
                                    const ResourceKey& name, WORD language) {
  for (WORD candidate : LanguageOrder(language)) {
    if (const auto* entry = image.Find(type, name, candidate)) return entry;
  }
  const std::vector<WORD> languages = image.Languages(type, name);
  if (language != 0 || languages.empty()) return nullptr;
  return image.Find(type, name, languages.front());
}

DWORD ErrorOfSearch(const PeImage& image, const ResourceKey& type, const ResourceKey& name) {
  if (image.Names(type).empty()) return ERROR_RESOURCE_TYPE_NOT_FOUND;
  return image.Languages(type, name).empty() ? ERROR_RESOURCE_NAME_NOT_FOUND
                                             : ERROR_RESOURCE_LANG_NOT_FOUND;
}

const pe::ResourceData* FindEntry(HMODULE module, LPCWSTR type, LPCWSTR name, WORD language) {
  DWORD error = ERROR_SUCCESS;
  const auto image = ResourcesOf(module, error);
  const pe::ResourceData* entry = nullptr;
  if (image != nullptr) {
    const ResourceKey type_key = ResourceKey::From(type), name_key = ResourceKey::From(name);
    entry = FindInOrder(*image, type_key, name_key, language);
    if (entry == nullptr) error = ErrorOfSearch(*image, type_key, name_key);
  }
  if (entry == nullptr) SetLastError(error);
  return entry;
}

// The bytes behind a handle of FindResourceW; sets the last error when there are none.
std::span<const BYTE> DataOf(HMODULE module, HRSRC resource) {
  DWORD error = ERROR_SUCCESS;
  const auto image = ResourcesOf(module, error);
  std::span<const BYTE> data;
  if (image != nullptr) {
    data = image->Data(reinterpret_cast<const pe::ResourceData*>(resource));
    error = ERROR_RESOURCE_DATA_NOT_FOUND;
  }
  if (data.data() == nullptr) SetLastError(error);
  return data;
}

// The string of a block; empty when the block is too short for it.
std::span<const BYTE> StringInBlock(std::span<const BYTE> block, UINT index) {
  for (size_t at = 0; block.size() - at >= sizeof(WORD);) {
    WORD length;
    std::memcpy(&length, block.data() + at, sizeof length);
    at += sizeof length;
    const size_t bytes = length * sizeof(WCHAR);
    if (block.size() - at < bytes) break;
    if (index-- == 0) return block.subspan(at, bytes);
    at += bytes;
  }
  return {};
}

}  // namespace
}  // namespace platform

using platform::ResourceKey;

BOOL WINAPI EnumResourceNamesW(HMODULE module, LPCWSTR type, ENUMRESNAMEPROCW callback,
                               LONG_PTR parameter) {
  KV_API(EnumResourceNamesW, ERROR_RESOURCE_TYPE_NOT_FOUND, FALSE, module, type, callback,
         parameter);
  DWORD error = ERROR_SUCCESS;
  const auto image = platform::ResourcesOf(module, error);
  std::vector<ResourceKey> names;
  if (image != nullptr) {
    names = image->Names(ResourceKey::From(type));
    if (names.empty()) error = ERROR_RESOURCE_TYPE_NOT_FOUND;
  }
  if (names.empty()) {
    SetLastError(error);
    return FALSE;
  }
  for (ResourceKey& name : names) {
    platform::ProductCallback product;
    if (!callback(module, type, platform::AsArgument(name), parameter)) return FALSE;
  }
  return TRUE;
}

BOOL WINAPI EnumResourceLanguagesW(HMODULE module, LPCWSTR type, LPCWSTR name,
                                   ENUMRESLANGPROCW callback, LONG_PTR parameter) {
  KV_API(EnumResourceLanguagesW, ERROR_RESOURCE_NAME_NOT_FOUND, FALSE, module, type, name, callback,
         parameter);
  DWORD error = ERROR_SUCCESS;
  const auto image = platform::ResourcesOf(module, error);
  std::vector<WORD> languages;
  if (image != nullptr) {
    const ResourceKey type_key = ResourceKey::From(type), name_key = ResourceKey::From(name);
    languages = image->Languages(type_key, name_key);
    if (languages.empty()) error = platform::ErrorOfSearch(*image, type_key, name_key);
  }
  if (languages.empty()) {
    SetLastError(error);
    return FALSE;
  }
  for (WORD language : languages) {
    platform::ProductCallback product;
    if (!callback(module, type, name, language, parameter)) return FALSE;
  }
  return TRUE;
}

HRSRC WINAPI FindResourceW(HMODULE module, LPCWSTR name, LPCWSTR type) {
  KV_API(FindResourceW, ERROR_RESOURCE_NAME_NOT_FOUND, nullptr, module, name, type);
  return FindResourceExW(module, type, name, 0);
}

HRSRC WINAPI FindResourceExW(HMODULE module, LPCWSTR type, LPCWSTR name, WORD language) {
  KV_API(FindResourceExW, ERROR_RESOURCE_NAME_NOT_FOUND, nullptr, module, type, name, language);
  const auto* entry = platform::FindEntry(module, type, name, language);
  return reinterpret_cast<HRSRC>(const_cast<platform::pe::ResourceData*>(entry));
}

HGLOBAL WINAPI LoadResource(HMODULE module, HRSRC resource) {
  KV_API(LoadResource, ERROR_RESOURCE_DATA_NOT_FOUND, nullptr, module, resource);
  return const_cast<BYTE*>(platform::DataOf(module, resource).data());
}

LPVOID WINAPI LockResource(HGLOBAL data) {
  KV_API_NOFAIL(LockResource, nullptr, data);
  return data;
}

DWORD WINAPI SizeofResource(HMODULE module, HRSRC resource) {
  KV_API(SizeofResource, ERROR_RESOURCE_DATA_NOT_FOUND, 0, module, resource);
  return static_cast<DWORD>(platform::DataOf(module, resource).size());
}

int WINAPI LoadStringW(HINSTANCE module, UINT id, LPWSTR buffer, int capacity) {
  KV_API(LoadStringW, ERROR_RESOURCE_NAME_NOT_FOUND, 0, module, id, buffer, capacity);
  if (buffer == nullptr || capacity < 0) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return 0;
  }
  const UINT block = (id & 0xFFFF) / platform::kStringsPerBlock + 1;
  const auto* entry = platform::FindEntry(module, RT_STRING, MAKEINTRESOURCEW(block), 0);
  std::span<const BYTE> text;
  if (entry != nullptr) {
    DWORD error = ERROR_SUCCESS;
    const auto image = platform::ResourcesOf(module, error);
    text = platform::StringInBlock(image->Data(entry), id % platform::kStringsPerBlock);
  }
  const int length = static_cast<int>(text.size() / sizeof(WCHAR));
  if (capacity == 0) {
    // The caller asks for the text's place in the resource; the buffer receives a pointer.
    const BYTE* address = text.data();
    std::memcpy(buffer, &address, sizeof address);
    return length;
  }
  const int copied = std::min(length, capacity - 1);
  if (copied > 0) std::memcpy(buffer, text.data(), copied * sizeof(WCHAR));
  buffer[copied] = 0;
  return copied;
}
