// Reading and writing values.
#include <string.h>

#include <algorithm>

#include "runtime/core/last_error.h"
#include "runtime/registry/expand_environment.h"
#include "runtime/registry/key_name.h"
#include "runtime/registry/reg_key.h"
#include "runtime/registry/stable_text.h"
#include "runtime/text/text.h"
#include "runtime/text/wide_text.h"

namespace kv {
namespace {

template <class Value>
void Store(Value* place, Value value) {
  if (place != nullptr) *place = value;
}

BOOL IsText(DWORD type) {
  return type == REG_SZ || type == REG_EXPAND_SZ;
}

size_t TextSize(LPCWSTR text) {
  return (View(text).size() + 1) * sizeof(WCHAR);
}

// Characters of all strings with their terminators, the final one included; 0 when there are none.
size_t MultiStringLength(LPCWSTR strings) {
  LPCWSTR end = strings;
  while (*end != 0) end += View(end).size() + 1;
  return end == strings ? 0 : end - strings + 1;
}

}  // namespace

BOOL RegKey::QueryValue(LPCWSTR name, const BYTE** data, DWORD* type, DWORD* size) {
  Store<const BYTE*>(data, nullptr);
  Store<DWORD>(type, 0);
  Store<DWORD>(size, 0);
  if (!IsOpen() || valueData_ == nullptr) return FALSE;
  const StableText stableName(name, IsInValueData(name));
  DWORD readType = 0, readSize = valueDataCapacity_;
  if (!stableName || RegQueryValueExW(handle(), stableName.Get(), nullptr, &readType,
                                      valueData_.get(), &readSize) != ERROR_SUCCESS) {
    return FALSE;
  }
  TerminateData(readSize);
  Store<const BYTE*>(data, valueData_.get());
  Store(type, readType);
  Store(size, readSize);
  return TRUE;
}

bool RegKey::IsInValueData(LPCWSTR text) const {
  return LiesIn(text, valueData_.get(), valueDataCapacity_ + kTerminatorRoom);
}

void RegKey::TerminateData(DWORD size) {
  memset(valueData_.get() + size, 0, kTerminatorRoom);
}

LPCWSTR RegKey::TextOfData(DWORD size) {
  if (size % sizeof(WCHAR) != 0) valueData_[size - 1] = 0;
  return reinterpret_cast<LPCWSTR>(valueData_.get());
}

LPCWSTR RegKey::GetString(LPCWSTR name) {
  DWORD type, size;
  return QueryValue(name, nullptr, &type, &size) && IsText(type) ? TextOfData(size) : nullptr;
}

LPCWSTR RegKey::GetString(LPCWSTR name, LPCWSTR otherwise) {
  const StableText kept(otherwise, IsInValueData(otherwise));
  // Without memory nothing is read, so that `otherwise` stays what it is.
  const LPCWSTR text = kept ? GetString(name) : nullptr;
  return text != nullptr ? text : kept.Restore();
}

LPCWSTR RegKey::GetDefaultString() {
  return GetString(nullptr);
}

DWORD RegKey::GetDword(LPCWSTR name, DWORD otherwise) {
  const BYTE* data;
  DWORD type;
  if (!QueryValue(name, &data, &type) || type != REG_DWORD) return otherwise;
  DWORD number;
  memcpy(&number, data, sizeof(number));
  return number;
}

BOOL RegKey::GetBinary(LPCWSTR name, const BYTE** data, DWORD* size) {
  DWORD type;
  if (QueryValue(name, data, &type, size) && type == REG_BINARY) return TRUE;
  Store<const BYTE*>(data, nullptr);
  Store<DWORD>(size, 0);
  return FALSE;
}

BOOL RegKey::HasValue(LPCWSTR name, DWORD type, const BYTE* data, DWORD size) {
  const BYTE* own;
  DWORD ownType, ownSize;
  // It may have grown since the key was opened.
  return (QueryValue(name, &own, &ownType, &ownSize) ||
          (Refresh() && QueryValue(name, &own, &ownType, &ownSize))) &&
         ownType == type && ownSize == size && memcmp(own, data, size) == 0;
}

bool RegKey::LacksValue(LPCWSTR name, DWORD type, const BYTE* data, DWORD size) {
  DWORD ownType = 0, ownSize = 0;
  const LSTATUS status = RegQueryValueExW(handle(), name, nullptr, &ownType, nullptr, &ownSize);
  if (status != ERROR_SUCCESS) return status == ERROR_FILE_NOT_FOUND;
  if (ownType != type || ownSize != size) return true;
  const BYTE* own;
  return Refresh() && QueryValue(name, &own) && memcmp(own, data, size) != 0;
}

LPCWSTR RegKey::GetMultiString(LPCWSTR name, DWORD* size) {
  DWORD type, readSize;
  const BOOL found = QueryValue(name, nullptr, &type, &readSize) && type == REG_MULTI_SZ;
  Store<DWORD>(size, found ? readSize : 0);
  return found ? TextOfData(readSize) : nullptr;
}

DWORD RegKey::GetValueType(LPCWSTR name, DWORD required) const {
  DWORD type = 0;
  if (!IsOpen() ||
      RegQueryValueExW(handle(), name, nullptr, &type, nullptr, nullptr) != ERROR_SUCCESS) {
    return 0;
  }
  return required == 0 || type == required ? type : 0;
}

int RegKey::ReadString(LPCWSTR name, LPWSTR buffer, int capacity, Expand expand) const {
  if (buffer == nullptr || capacity <= 0) return 0;
  buffer[0] = 0;
  if (!IsOpen() || valueData_ == nullptr) return 0;
  DWORD type = 0, size = capacity * static_cast<DWORD>(sizeof(WCHAR));
  const LSTATUS status =
      RegQueryValueExW(handle(), name, nullptr, &type, reinterpret_cast<BYTE*>(buffer), &size);
  const WideView stored(buffer, status == ERROR_SUCCESS ? size / sizeof(WCHAR) : 0);
  const size_t length = std::min(stored.find(WCHAR(0)), stored.size());
  if (!IsText(type) || length >= static_cast<size_t>(capacity)) {
    buffer[0] = 0;
    return 0;
  }
  buffer[length] = 0;
  if (type == REG_EXPAND_SZ && expand == Expand::kYes) ExpandInPlace(buffer, capacity);
  return static_cast<int>(View(buffer).size());
}

int RegKey::ReadDefaultString(LPWSTR buffer, int capacity, Expand expand) const {
  return ReadString(nullptr, buffer, capacity, expand);
}

BOOL RegKey::ReadBinary(LPCWSTR name, void* buffer, DWORD size) const {
  DWORD type = 0;
  return IsOpen() &&
         RegQueryValueExW(handle(), name, nullptr, &type, static_cast<BYTE*>(buffer), &size) ==
             ERROR_SUCCESS &&
         type == REG_BINARY;
}

BOOL RegKey::Write(LPCWSTR name, DWORD type, const void* data, size_t size) {
  return IsOpen() && RegSetValueExW(handle(), name, 0, type, static_cast<const BYTE*>(data),
                                    static_cast<DWORD>(size)) == ERROR_SUCCESS;
}

BOOL RegKey::Remove(LPCWSTR name) {
  return IsOpen() && RegDeleteValueW(handle(), name) == ERROR_SUCCESS;
}

BOOL RegKey::WriteAndRefresh(LPCWSTR name, DWORD type, const void* data, size_t size) {
  if (!Write(name, type, data, size)) return FALSE;
  Refresh();
  return TRUE;
}

BOOL RegKey::SetBinary(LPCWSTR name, const void* data, DWORD size) {
  return WriteAndRefresh(name, REG_BINARY, data, size);
}

BOOL RegKey::SetDword(LPCWSTR name, DWORD number) {
  return WriteAndRefresh(name, REG_DWORD, &number, sizeof(number));
}

BOOL RegKey::SetDefaultString(LPCWSTR text) {
  if (text == nullptr) text = TEXT("");
  return WriteAndRefresh(nullptr, REG_SZ, text, TextSize(text));
}

BOOL RegKey::SetString(LPCWSTR name, LPCWSTR text, DWORD type, DeleteIfEmpty deleteIfEmpty) {
  if (text == nullptr || (text[0] == 0 && deleteIfEmpty == DeleteIfEmpty::kYes)) {
    return DeleteValue(name);
  }
  return WriteAndRefresh(name, type, text, TextSize(text));
}

BOOL RegKey::SetSz(LPCWSTR name, LPCWSTR text) {
  return SetString(name, text, REG_SZ, DeleteIfEmpty::kYes);
}

BOOL RegKey::SetMultiString(LPCWSTR name, LPCWSTR strings, DWORD size) {
  if (strings == nullptr || strings[0] == 0) return DeleteValue(name);
  return WriteAndRefresh(name, REG_MULTI_SZ, strings,
                         size != 0 ? size : MultiStringLength(strings) * sizeof(WCHAR));
}

BOOL RegKey::DeleteValue(LPCWSTR name) {
  if (!Remove(name)) return FALSE;
  Refresh();
  return TRUE;
}

BOOL RegKey::CopyValueFrom(RegKey& source, LPCWSTR name) {
  const StableText stableName(name, source.IsInValueData(name));
  const BYTE* data;
  DWORD type, size;
  return stableName && source.QueryValue(stableName.Get(), &data, &type, &size) &&
         WriteAndRefresh(stableName.Get(), type, data, size);
}

BOOL RegKey::MoveValueFrom(RegKey& source, LPCWSTR name, LPCWSTR newName) {
  if (newName == nullptr) newName = name;
  const StableText from(name, source.IsInValueData(name) || IsInValueData(name));
  const StableText to(newName, source.IsInValueData(newName) || IsInValueData(newName));
  const BYTE* data;
  DWORD type, size;
  if (!from || !to || !source.QueryValue(from.Get(), &data, &type, &size)) return FALSE;
  // Onto itself, writing would change nothing, and deleting would lose the value.
  if (EqualNoCase(from.View(), to.View())) {
    const KeyRelation keys = RelateKeys(handle(), source.handle());
    if (keys == KeyRelation::kSame) return TRUE;
    if (keys == KeyRelation::kUnknown && !LacksValue(to.Get(), type, data, size))
      return FailWith(ERROR_NOT_SUPPORTED);
  }
  if (!Write(to.Get(), type, data, size)) return FALSE;
  // Both names may lie in buffers that a refresh replaces.
  const BOOL removed = source.Remove(from.Get());
  source.Refresh();
  if (&source != this) Refresh();
  return removed;
}

BOOL RegKey::RenameValue(LPCWSTR name, LPCWSTR newName) {
  return MoveValueFrom(*this, name, newName == nullptr ? TEXT("") : newName);
}

}  // namespace kv
