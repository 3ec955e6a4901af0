#include "runtime/registry/profile.h"

#include <string.h>

#include <new>
#include <string_view>

#include "runtime/core/messages.h"
#include "runtime/core/startup_context.h"
#include "runtime/files/mapped_file.h"
#include "runtime/text/format.h"
#include "runtime/text/text.h"
#include "runtime/text/wide_text.h"

namespace kv {
namespace {

// Lists are read into buffers of this many characters, which grow by as many.
constexpr DWORD kListStep = 32767;
constexpr DWORD kListLimit9x = 65535;

// The capacity behind `capacity`; the same one when it cannot grow.
DWORD NextCapacity(DWORD capacity) {
  const DWORD next = capacity + kListStep;
  return startupContext.platform.win9xKind != 0 && next > kListLimit9x ? kListLimit9x : next;
}

// What the system leaves free when everything fitted.
bool Fits(DWORD length, DWORD capacity) {
  return length < capacity - 2;
}

// Reads a list of strings with `read(buffer, capacity)` into `block`; its start, or null when it is
// empty.
template <class Read>
LPCWSTR ReadList(CGlobalBlock& block, Read read) {
  for (DWORD capacity = kListStep;;) {
    const DWORD bytes = capacity * sizeof(WCHAR);
    // A block that could not be locked once may hold the bytes all the same.
    if (!block.Alloc(bytes, GMEM_MOVEABLE, 0) || !block.Lock()) return nullptr;
    const auto list = static_cast<LPWSTR>(block.data());
    const DWORD length = read(list, capacity);
    if (length == 0) return nullptr;
    const DWORD next = NextCapacity(capacity);
    if (Fits(length, capacity) || next == capacity) return list;
    capacity = next;
  }
}

// The string at the cursor, which moves behind it; null at the empty one that ends the list.
LPCWSTR TakeString(LPCWSTR& cursor) {
  if (cursor == nullptr || *cursor == 0) return nullptr;
  const LPCWSTR taken = cursor;
  cursor += View(taken).size() + 1;
  return taken;
}

std::unique_ptr<WCHAR[]> NewValueBuffer() {
  return std::unique_ptr<WCHAR[]>(new (std::nothrow) WCHAR[kProfileValueCapacity]);
}

using Bytes = std::string_view;

Bytes Trimmed(Bytes text) {
  constexpr Bytes kBlanks = " \t\r";
  const size_t first = text.find_first_not_of(kBlanks);
  return first == Bytes::npos ? Bytes()
                              : text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

// Whether ANSI bytes are the name; only names of plain letters and digits are looked for.
bool EqualBytes(Bytes text, LPCWSTR name) {
  const WideView wide = View(name);
  if (text.size() != wide.size()) return false;
  for (size_t i = 0; i < wide.size(); ++i) {
    if (ToUpper(static_cast<BYTE>(text[i])) != ToUpper(wide[i])) return false;
  }
  return true;
}

// The name of the key's first line in the section, as a part of `file`; empty when there is none.
Bytes FindKeyName(Bytes file, LPCWSTR section, LPCWSTR key) {
  bool inside = false;
  for (size_t at = 0; at < file.size();) {
    const size_t end = file.find('\n', at) == Bytes::npos ? file.size() : file.find('\n', at);
    const Bytes line = Trimmed(file.substr(at, end - at));
    if (line.starts_with('[')) {
      inside = EqualBytes(Trimmed(line.substr(1, line.find(']') - 1)), section);
    } else if (inside && line.find('=') != Bytes::npos) {
      const Bytes name = Trimmed(line.substr(0, line.find('=')));
      if (EqualBytes(name, key)) return name;
    }
    at = end + 1;
  }
  return {};
}

}  // namespace

CProfile::CProfile() : value_(NewValueBuffer()) {}

LPCWSTR CProfile::FirstKey(LPCWSTR section) {
  cursor_ = ReadList(keyList_, [section](LPWSTR buffer, DWORD capacity) {
    return GetProfileStringW(section, nullptr, TEXT(""), buffer, capacity);
  });
  return TakeString(cursor_);
}

LPCWSTR CProfile::NextKey() {
  return TakeString(cursor_);
}

UINT CProfile::GetInt(LPCWSTR section, LPCWSTR key, INT otherwise) const {
  return GetProfileIntW(section, key, otherwise);
}

LPCWSTR CProfile::GetString(LPCWSTR section, LPCWSTR key, LPCWSTR otherwise) {
  if (value_ == nullptr) return otherwise;
  const LPCWSTR given = otherwise == nullptr ? TEXT("") : otherwise;
  return GetProfileStringW(section, key, given, value_.get(), kProfileValueCapacity) != 0
             ? value_.get()
             : otherwise;
}

DWORD CProfile::GetString(LPCWSTR section, LPCWSTR key, LPWSTR buffer, DWORD capacity) const {
  return GetProfileStringW(section, key, TEXT(""), buffer, capacity);
}

CPrivateProfile::CPrivateProfile() : value_(NewValueBuffer()) {}

CPrivateProfile::CPrivateProfile(LPCWSTR fileName) : value_(NewValueBuffer()) {
  CopyStringW(fileName_, fileName);
}

LPCWSTR CPrivateProfile::FirstKey(LPCWSTR section) {
  cursor_ = ReadList(keyList_, [this, section](LPWSTR buffer, DWORD capacity) {
    return GetPrivateProfileStringW(section, nullptr, TEXT(""), buffer, capacity, fileName_);
  });
  return TakeString(cursor_);
}

LPCWSTR CPrivateProfile::NextKey() {
  return TakeString(cursor_);
}

UINT CPrivateProfile::GetInt(LPCWSTR section, LPCWSTR key, INT otherwise) const {
  return GetPrivateProfileIntW(section, key, otherwise, fileName_);
}

LPCWSTR CPrivateProfile::GetString(LPCWSTR section, LPCWSTR key) {
  if (value_ == nullptr) return nullptr;
  return GetString(section, key, value_.get(), kProfileValueCapacity) != 0 ? value_.get() : nullptr;
}

DWORD CPrivateProfile::GetString(LPCWSTR section, LPCWSTR key, LPWSTR buffer,
                                 DWORD capacity) const {
  return GetPrivateProfileStringW(section, key, TEXT(""), buffer, capacity, fileName_);
}

std::unique_ptr<WCHAR[]> CPrivateProfile::GetSection(LPCWSTR section) const {
  for (DWORD capacity = kListStep;;) {
    std::unique_ptr<WCHAR[]> buffer(new (std::nothrow) WCHAR[capacity]);
    if (buffer == nullptr) {
      ShowInternalError(TEXT("CPrivateProfile::GetSection could not allocate a buffer"));
      return nullptr;
    }
    const DWORD length = GetPrivateProfileSectionW(section, buffer.get(), capacity, fileName_);
    if (length == 0) return nullptr;
    if (Fits(length, capacity)) return buffer;
    const DWORD next = NextCapacity(capacity);
    if (next == capacity) return nullptr;
    capacity = next;
  }
}

BOOL CPrivateProfile::WriteString(LPCWSTR section, LPCWSTR key, LPCWSTR text) const {
  return WritePrivateProfileStringW(section, key, text, fileName_);
}

BOOL CPrivateProfile::WriteInt(LPCWSTR section, LPCWSTR key, int number) const {
  return WriteFormatted(section, key, TEXT("%d"), number);
}

BOOL CPrivateProfile::WriteFormatted(LPCWSTR section, LPCWSTR key, LPCWSTR format, ...) const {
  WCHAR text[kProfileValueCapacity];
  va_list arguments;
  va_start(arguments, format);
  const BOOL fits = FormatTextV(text, kProfileValueCapacity, format, arguments);
  va_end(arguments);
  return fits && WriteString(section, key, text);
}

BOOL CPrivateProfile::WriteSection(LPCWSTR section, LPCWSTR data) const {
  return WritePrivateProfileSectionW(section, data, fileName_);
}

BOOL CPrivateProfile::DeleteSection(LPCWSTR section) const {
  return WriteString(section, nullptr, nullptr);
}

BOOL CPrivateProfile::DeleteKey(LPCWSTR section, LPCWSTR key) const {
  return WriteString(section, key, nullptr);
}

BOOL CPrivateProfile::Flush() const {
  return WritePrivateProfileStringW(nullptr, nullptr, nullptr, fileName_);
}

BOOL CPrivateProfile::RenameKey(LPCWSTR section, LPCWSTR key, LPCWSTR newKey) const {
  const WideView wanted = View(newKey);
  if (wanted.empty() || wanted.size() > View(key).size()) return FALSE;
  CMappedFile file;
  const auto content =
      static_cast<char*>(file.MapFile(fileName_, CMappedFile::Access::kWrite, 0, Quiet::kYes));
  if (content == nullptr) return FALSE;
  const Bytes name = FindKeyName(Bytes(content, file.size()), section, key);
  CHAR narrow[kProfileValueCapacity];
  WideToAnsi(narrow, kProfileValueCapacity, newKey, CP_ACP);
  const Bytes replacement = narrow;
  if (name.empty() || replacement.empty() || replacement.size() > name.size()) return FALSE;
  char* const place = content + (name.data() - content);
  memset(place, ' ', name.size());
  memcpy(place, replacement.data(), replacement.size());
  return TRUE;
}

}  // namespace kv
