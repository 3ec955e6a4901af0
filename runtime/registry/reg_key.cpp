// Opening, closing and refreshing.
#include "runtime/registry/reg_key.h"

#include <algorithm>
#include <new>

#include "runtime/core/last_error.h"
#include "runtime/ipc/administrator.h"
#include "runtime/registry/delete_key.h"
#include "runtime/registry/key_name.h"
#include "runtime/text/text.h"
#include "runtime/text/wide_text.h"

namespace kv {
namespace {

// Makes `buffer` hold `needed` elements and `extra` more; a buffer that is large enough stays.
template <class Element>
void Grow(std::unique_ptr<Element[]>& buffer, DWORD& capacity, DWORD needed, DWORD extra = 0) {
  if (needed <= capacity) return;
  buffer.reset();
  capacity = needed;
  buffer.reset(new (std::nothrow) Element[needed + extra]());
}

// Of the system's roots, which are always open.
bool IsPredefined(HKEY key) {
  return (reinterpret_cast<ULONG_PTR>(key) & 0x80000000) != 0;
}

}  // namespace

RegKey::~RegKey() = default;

REGSAM RegKey::ViewFlag(int view) {
  return view == 32 ? KEY_WOW64_32KEY : view == 64 ? KEY_WOW64_64KEY : 0;
}

BOOL RegKey::MayCreateBelow(HKEY parent) {
  if (parent != HKEY_LOCAL_MACHINE && parent != HKEY_CLASSES_ROOT && parent != HKEY_USERS)
    return TRUE;
  DWORD integrity = 0;
  IsAdministrator(nullptr, &integrity);
  return integrity >= kHighIntegrity;
}

BOOL RegKey::OpenKey(REGSAM access, HKEY parent, LPCWSTR path) {
  UniqueKey opened;
  const LSTATUS status = RegOpenKeyExW(parent, path, 0, access, opened.Receive());
  return Adopt(status, std::move(opened), parent, path);
}

BOOL RegKey::CreateKey(REGSAM access, HKEY parent, LPCWSTR path) {
  if (!MayCreateBelow(parent)) return Refuse(ERROR_ACCESS_DENIED);
  UniqueKey created;
  const LSTATUS status = RegCreateKeyExW(parent, path, 0, nullptr, REG_OPTION_NON_VOLATILE, access,
                                         nullptr, created.Receive(), nullptr);
  return Adopt(status, std::move(created), parent, path);
}

// Replaces what was open, which may have been the parent, and is none once it is closed. Without a
// copy of the path the key is not open: a deleting close would take an older path.
BOOL RegKey::Adopt(LSTATUS status, UniqueKey key, HKEY parent, LPCWSTR path) {
  const bool belowItself = parent == handle() && !IsPredefined(parent);
  handle_ = std::move(key);
  if (status != ERROR_SUCCESS) return FALSE;
  // Made before the refresh, which may free the buffer that `path` lies in.
  std::unique_ptr<WCHAR[]> copy = CopyOf(path);
  if (copy == nullptr) return Refuse(ERROR_NOT_ENOUGH_MEMORY);
  if (!Refresh()) {
    Close();
    return FALSE;
  }
  parent_ = belowItself ? nullptr : parent;
  path_ = std::move(copy);
  return TRUE;
}

BOOL RegKey::Refuse(DWORD error) {
  Close();
  return FailWith(error);
}

BOOL RegKey::OpenFormatted(REGSAM access, HKEY parent, LPCWSTR format, ...) {
  WCHAR path[MAX_PATH];
  va_list arguments;
  va_start(arguments, format);
  const BOOL fits = FormatTextV(path, MAX_PATH, format, arguments);
  va_end(arguments);
  return fits ? OpenKey(access, parent, path) : Refuse(ERROR_FILENAME_EXCED_RANGE);
}

BOOL RegKey::CreateFormatted(REGSAM access, HKEY parent, LPCWSTR format, ...) {
  WCHAR path[MAX_PATH];
  va_list arguments;
  va_start(arguments, format);
  const BOOL fits = FormatTextV(path, MAX_PATH, format, arguments);
  va_end(arguments);
  return fits ? CreateKey(access, parent, path) : Refuse(ERROR_FILENAME_EXCED_RANGE);
}

BOOL RegKey::Attach(HKEY key) {
  if (key != handle()) handle_.Reset(key);
  if (!Refresh()) {
    handle_.Release();
    return FALSE;
  }
  parent_ = nullptr;
  path_.reset();
  return TRUE;
}

HKEY RegKey::Detach() {
  return handle_.Release();
}

BOOL RegKey::Connect(LPCWSTR machine, HKEY predefined) {
  Close();
  if (RegConnectRegistryW(machine, predefined, handle_.Receive()) != ERROR_SUCCESS || !Refresh()) {
    Close();
    return FALSE;
  }
  parent_ = predefined;
  path_.reset();
  return TRUE;
}

void RegKey::Close() {
  handle_.Reset();
}

void RegKey::Close(Disposal disposal) {
  if (!IsOpen()) return;
  const bool ifEmpty = disposal == Disposal::kDeleteIfEmpty;
  const bool remove = disposal == Disposal::kDelete ||
                      (ifEmpty && Refresh() && subKeyCount_ == 0 && valueCount_ == 0);
  Close();
  if (!remove || parent_ == nullptr || path_ == nullptr) return;
  if (ifEmpty) {
    // Others may have filled it meanwhile.
    DeleteCopiedKey(parent_, path_.get(), nullptr);
  } else {
    MyDeleteKeyW(parent_, path_.get());
  }
  parent_ = nullptr;
  path_.reset();
}

BOOL RegKey::Flush() {
  return !IsOpen() || RegFlushKey(handle()) == ERROR_SUCCESS;
}

BOOL RegKey::Refresh() {
  if (!IsOpen()) return FALSE;
  DWORD subKeys, longestSubKey, values, longestName, longestData;
  if (RegQueryInfoKeyW(handle(), nullptr, nullptr, nullptr, &subKeys, &longestSubKey, nullptr,
                       &values, &longestName, &longestData, nullptr, nullptr) != ERROR_SUCCESS) {
    return FALSE;
  }
  subKeyCount_ = subKeys;
  valueCount_ = values;
  Grow(subKeyName_, subKeyNameCapacity_, 2 * longestSubKey + 1);
  Grow(valueName_, valueNameCapacity_, 2 * longestName + 1);
  Grow(valueData_, valueDataCapacity_, 2 * longestData + 2, kTerminatorRoom);
  if (subKeyName_ != nullptr && valueName_ != nullptr && valueData_ != nullptr) return TRUE;
  subKeyCount_ = valueCount_ = 0;
  FreeBuffers();
  return FailWith(ERROR_NOT_ENOUGH_MEMORY);
}

void RegKey::FreeBuffers() {
  subKeyNameCapacity_ = valueNameCapacity_ = valueDataCapacity_ = 0;
  subKeyName_.reset();
  valueName_.reset();
  valueData_.reset();
}

BOOL RegKey::SubKeyExists(LPCWSTR name) const {
  return IsOpen() && RegKey().OpenKey(kRead, handle(), name);
}

WCHAR RegKey::GetKeyName(LPWSTR output, int capacity) const {
  return kv::GetKeyName(handle(), output, capacity);
}

}  // namespace kv
