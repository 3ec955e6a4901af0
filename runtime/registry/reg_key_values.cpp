// Reading and writing values.
#include <string.h>

#include <algorithm>

#include "runtime/registry/expand_environment.h"
#include "runtime/registry/reg_key.h"
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
  DWORD readType = 0, readSize = valueDataCapacity_;
  if (RegQueryValueExW(handle(), name, nullptr, &readType, valueData_.get(), &readSize) !=
      ERROR_SUCCESS) {
    return FALSE;
  }
  TerminateData(readSize);
  Store<const BYTE*>(data, valueData_.get());
  Store(type, readType);
  Store(size, readSize);
  return TRUE;
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
  const LPCWSTR text = GetString(name);
  return text != nullptr ? text : otherwise;
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
  const BYTE* data;
  DWORD type, size;
  return source.QueryValue(name, &data, &type, &size) && WriteAndRefresh(name, type, data, size);
}

BOOL RegKey::MoveValueFrom(RegKey& source, LPCWSTR name, LPCWSTR newName) {
  if (newName == nullptr) newName = name;
  const BYTE* data;
  DWORD type, size;
  if (!source.QueryValue(name, &data, &type, &size)) return FALSE;
  // Writing would change nothing, and deleting would lose the value.
  if (&source == this && EqualNoCase(View(name), View(newName))) return TRUE;
  if (!Write(newName, type, data, size)) return FALSE;
  // Both names may lie in buffers that a refresh replaces.
  const BOOL removed = source.Remove(name);
  source.Refresh();
  if (&source != this) Refresh();
  return removed;
}

BOOL RegKey::RenameValue(LPCWSTR name, LPCWSTR newName) {
  return MoveValueFrom(*this, name, newName);
}

}  // namespace kv
