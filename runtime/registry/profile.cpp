#include "runtime/registry/profile.h"

#include <string.h>

#include <algorithm>
#include <new>
#include <string_view>

#include "runtime/core/handles.h"
#include "runtime/core/last_error.h"
#include "runtime/core/messages.h"
#include "runtime/core/startup_context.h"
#include "runtime/files/mapped_file.h"
#include "runtime/registry/stable_text.h"
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

// Makes the block hold `bytes`, whatever it held before. Its own growing would report that it
// cannot.
BOOL Provide(CGlobalBlock& block, DWORD bytes) {
  if (block.data() != nullptr && block.size() >= bytes) return TRUE;
  UniqueGlobal larger(GlobalAlloc(GMEM_MOVEABLE, bytes));
  const GlobalLockScope lock(larger.Get());
  if (lock.Data() == nullptr || !block.Attach(larger.Get()))
    return FailWith(ERROR_NOT_ENOUGH_MEMORY);
  larger.Release();
  return TRUE;
}

// Reads a list of strings with `read(section, buffer, capacity)` into `block`, which may hold the
// section's name; the list's start, or null when it is empty.
template <class Read>
LPCWSTR ReadList(CGlobalBlock& block, LPCWSTR section, Read read) {
  const StableText stableSection(section, LiesIn(section, block.data(), block.size()));
  if (!stableSection) return nullptr;
  for (DWORD capacity = kListStep;;) {
    if (!Provide(block, capacity * sizeof(WCHAR))) return nullptr;
    const auto list = static_cast<LPWSTR>(block.data());
    const DWORD length = read(stableSection.Get(), list, capacity);
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

constexpr size_t kValueBytes = kProfileValueCapacity * sizeof(WCHAR);

std::unique_ptr<WCHAR[]> NewValueBuffer() {
  return std::unique_ptr<WCHAR[]>(new (std::nothrow) WCHAR[kProfileValueCapacity]);
}

// An argument that may lie in the buffer that gets the value.
class ValueArgument : public StableText {
 public:
  ValueArgument(LPCWSTR text, const std::unique_ptr<WCHAR[]>& value)
      : StableText(text, LiesIn(text, value.get(), kValueBytes)) {}
};

BOOL IsReady(const std::unique_ptr<WCHAR[]>& value) {
  return value != nullptr || FailWith(ERROR_NOT_ENOUGH_MEMORY);
}

// Whether a key of that name makes a line that is read as one.
bool IsKeyName(WideView name) {
  return !name.empty() && name.find_first_of(TEXT("=\r\n")) == WideView::npos && name[0] != '[' &&
         name[0] != ';';
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
  cursor_ = ReadList(keyList_, section, [](LPCWSTR name, LPWSTR buffer, DWORD capacity) {
    return GetProfileStringW(name, nullptr, TEXT(""), buffer, capacity);
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
  if (!IsReady(value_)) return otherwise;
  const ValueArgument stableSection(section, value_), stableKey(key, value_);
  const ValueArgument given(otherwise, value_);
  if (!stableSection || !stableKey || !given) return otherwise;
  const LPCWSTR wanted = otherwise == nullptr ? TEXT("") : given.Get();
  return GetProfileStringW(stableSection.Get(), stableKey.Get(), wanted, value_.get(),
                           kProfileValueCapacity) != 0
             ? value_.get()
             : given.Restore();
}

DWORD CProfile::GetString(LPCWSTR section, LPCWSTR key, LPWSTR buffer, DWORD capacity) const {
  return GetProfileStringW(section, key, TEXT(""), buffer, capacity);
}

CPrivateProfile::CPrivateProfile() : value_(NewValueBuffer()) {}

// A name that was cut would be another file's.
CPrivateProfile::CPrivateProfile(LPCWSTR fileName) : value_(NewValueBuffer()) {
  if (View(fileName).size() < MAX_PATH) CopyStringW(fileName_, fileName);
}

BOOL CPrivateProfile::HasFile() const {
  return fileName_[0] != 0 || FailWith(ERROR_INVALID_NAME);
}

LPCWSTR CPrivateProfile::FirstKey(LPCWSTR section) {
  cursor_ = ReadList(keyList_, section, [this](LPCWSTR name, LPWSTR buffer, DWORD capacity) {
    return GetString(name, nullptr, buffer, capacity);
  });
  return TakeString(cursor_);
}

LPCWSTR CPrivateProfile::NextKey() {
  return TakeString(cursor_);
}

UINT CPrivateProfile::GetInt(LPCWSTR section, LPCWSTR key, INT otherwise) const {
  return HasFile() ? GetPrivateProfileIntW(section, key, otherwise, fileName_)
                   : static_cast<UINT>(otherwise);
}

LPCWSTR CPrivateProfile::GetString(LPCWSTR section, LPCWSTR key) {
  if (!IsReady(value_)) return nullptr;
  const ValueArgument stableSection(section, value_), stableKey(key, value_);
  if (!stableSection || !stableKey) return nullptr;
  return GetString(stableSection.Get(), stableKey.Get(), value_.get(), kProfileValueCapacity) != 0
             ? value_.get()
             : nullptr;
}

DWORD CPrivateProfile::GetString(LPCWSTR section, LPCWSTR key, LPWSTR buffer,
                                 DWORD capacity) const {
  if (HasFile())
    return GetPrivateProfileStringW(section, key, TEXT(""), buffer, capacity, fileName_);
  CopyStringW(buffer, static_cast<int>(capacity), nullptr);
  return 0;
}

std::unique_ptr<WCHAR[]> CPrivateProfile::GetSection(LPCWSTR section) const {
  if (!HasFile()) return nullptr;
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
  return HasFile() && WritePrivateProfileStringW(section, key, text, fileName_);
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
  return fits ? WriteString(section, key, text) : FailWith(ERROR_INSUFFICIENT_BUFFER);
}

BOOL CPrivateProfile::WriteSection(LPCWSTR section, LPCWSTR data) const {
  return HasFile() && WritePrivateProfileSectionW(section, data, fileName_);
}

BOOL CPrivateProfile::DeleteSection(LPCWSTR section) const {
  return WriteString(section, nullptr, nullptr);
}

BOOL CPrivateProfile::DeleteKey(LPCWSTR section, LPCWSTR key) const {
  return WriteString(section, key, nullptr);
}

BOOL CPrivateProfile::Flush() const {
  return HasFile() && WritePrivateProfileStringW(nullptr, nullptr, nullptr, fileName_);
}

BOOL CPrivateProfile::RenameKey(LPCWSTR section, LPCWSTR key, LPCWSTR newKey) const {
  if (!HasFile()) return FALSE;
  const WideView wanted = View(newKey);
  if (!IsKeyName(wanted) || wanted.size() > View(key).size())
    return FailWith(ERROR_INVALID_PARAMETER);
  CMappedFile file;
  const auto content =
      static_cast<char*>(file.MapFile(fileName_, CMappedFile::Access::kWrite, 0, Quiet::kYes));
  if (content == nullptr) return FALSE;
  const Bytes name = FindKeyName(Bytes(content, file.size()), section, key);
  if (name.empty()) return FailWith(ERROR_FILE_NOT_FOUND);
  CHAR narrow[kProfileValueCapacity] = {};
  const int needed = WideCharToMultiByte(CP_ACP, 0, newKey, -1, nullptr, 0, nullptr, nullptr);
  if (needed > static_cast<int>(std::min<size_t>(kProfileValueCapacity, name.size() + 1)))
    return FailWith(ERROR_INVALID_PARAMETER);
  BOOL lacksCharacters = FALSE;
  WideToAnsi(narrow, needed, newKey, CP_ACP, &lacksCharacters);
  if (narrow[0] == 0 || lacksCharacters) return FailWith(ERROR_NO_UNICODE_TRANSLATION);
  const Bytes replacement = narrow;
  char* const place = content + (name.data() - content);
  memset(place, ' ', name.size());
  memcpy(place, replacement.data(), replacement.size());
  return TRUE;
}

}  // namespace kv
