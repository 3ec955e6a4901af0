// Walking through sub-keys and values.
#include <string.h>

#include "runtime/registry/reg_key.h"

namespace kv {
namespace {

// An index below 0 is beyond any count.
BOOL IsIndex(int index, DWORD count) {
  return static_cast<DWORD>(index) < count;
}

}  // namespace

LPCWSTR RegKey::FirstSubKey() {
  Refresh();
  return SubKeyAt(subKeyIndex_ = 0);
}

LPCWSTR RegKey::LastSubKey() {
  Refresh();
  return SubKeyAt(subKeyIndex_ = static_cast<int>(subKeyCount_) - 1);
}

LPCWSTR RegKey::NextSubKey() {
  return SubKeyAt(++subKeyIndex_);
}

LPCWSTR RegKey::PrevSubKey() {
  return SubKeyAt(--subKeyIndex_);
}

LPCWSTR RegKey::SubKeyAt(int index) {
  if (!IsOpen() || subKeyName_ == nullptr || !IsIndex(index, subKeyCount_)) return nullptr;
  DWORD length = subKeyNameCapacity_;
  return RegEnumKeyExW(handle(), static_cast<DWORD>(index), subKeyName_.get(), &length, nullptr,
                       nullptr, nullptr, nullptr) == ERROR_SUCCESS
             ? subKeyName_.get()
             : nullptr;
}

LPCWSTR RegKey::FirstValue(const BYTE** data, DWORD* type, DWORD* size) {
  return ValueOnWalk(Walk::kFirst, data, type, size);
}

LPCWSTR RegKey::LastValue(const BYTE** data, DWORD* type, DWORD* size) {
  return ValueOnWalk(Walk::kLast, data, type, size);
}

LPCWSTR RegKey::NextValue(const BYTE** data, DWORD* type, DWORD* size) {
  return ValueOnWalk(Walk::kNext, data, type, size);
}

LPCWSTR RegKey::PrevValue(const BYTE** data, DWORD* type, DWORD* size) {
  return ValueOnWalk(Walk::kPrev, data, type, size);
}

LPCWSTR RegKey::ValueOnWalk(Walk walk, const BYTE** data, DWORD* type, DWORD* size) {
  switch (walk) {
    case Walk::kFirst:
      Refresh();
      valueIndex_ = 0;
      break;
    case Walk::kLast:
      Refresh();
      valueIndex_ = static_cast<int>(valueCount_) - 1;
      break;
    case Walk::kNext:
      ++valueIndex_;
      break;
    case Walk::kPrev:
      --valueIndex_;
      break;
  }
  return ValueAt(valueIndex_, data, type, size);
}

LPCWSTR RegKey::ValueAt(int index, const BYTE** data, DWORD* type, DWORD* size) {
  if (data != nullptr) *data = nullptr;
  if (type != nullptr) *type = 0;
  if (size != nullptr) *size = 0;
  if (!IsOpen() || valueName_ == nullptr || !IsIndex(index, valueCount_)) return nullptr;
  DWORD length = valueNameCapacity_, readType = 0, readSize = valueDataCapacity_;
  if (RegEnumValueW(handle(), static_cast<DWORD>(index), valueName_.get(), &length, nullptr,
                    &readType, valueData_.get(), &readSize) != ERROR_SUCCESS) {
    return nullptr;
  }
  TerminateData(readSize);
  if (data != nullptr) *data = valueData_.get();
  if (type != nullptr) *type = readType;
  if (size != nullptr) *size = readSize;
  return valueName_.get();
}

LPCWSTR RegKey::FindValue(DWORD wanted, Walk walk, const BYTE** data, DWORD* size) {
  const Walk onward = walk == Walk::kFirst || walk == Walk::kNext ? Walk::kNext : Walk::kPrev;
  DWORD type;
  LPCWSTR name = ValueOnWalk(walk, data, &type, size);
  while (name != nullptr && type != wanted) name = ValueOnWalk(onward, data, &type, size);
  return name;
}

LPCWSTR RegKey::FindDword(Walk walk, DWORD* number) {
  const BYTE* data;
  const LPCWSTR name = FindValue(REG_DWORD, walk, &data, nullptr);
  if (name != nullptr && number != nullptr) memcpy(number, data, sizeof(*number));
  return name;
}

LPCWSTR RegKey::FindString(Walk walk, LPCWSTR* text) {
  const BYTE* data;
  DWORD size;
  const LPCWSTR name = FindValue(REG_SZ, walk, &data, &size);
  *text = name != nullptr ? TextOfData(size) : nullptr;
  return name;
}

LPCWSTR RegKey::FindFirstDword(DWORD* number) {
  return FindDword(Walk::kFirst, number);
}
LPCWSTR RegKey::FindNextDword(DWORD* number) {
  return FindDword(Walk::kNext, number);
}
LPCWSTR RegKey::FindLastDword(DWORD* number) {
  return FindDword(Walk::kLast, number);
}
LPCWSTR RegKey::FindPrevDword(DWORD* number) {
  return FindDword(Walk::kPrev, number);
}
LPCWSTR RegKey::FindFirstString(LPCWSTR* text) {
  return FindString(Walk::kFirst, text);
}
LPCWSTR RegKey::FindNextString(LPCWSTR* text) {
  return FindString(Walk::kNext, text);
}
LPCWSTR RegKey::FindLastString(LPCWSTR* text) {
  return FindString(Walk::kLast, text);
}
LPCWSTR RegKey::FindPrevString(LPCWSTR* text) {
  return FindString(Walk::kPrev, text);
}

}  // namespace kv
