#include "runtime/core/version_details.h"

#include <string.h>

#include <algorithm>

#include "runtime/core/handles.h"
#include "runtime/core/loaded_library.h"
#include "runtime/core/startup_context.h"
#include "runtime/files/file_actions.h"
#include "runtime/files/paths.h"
#include "runtime/text/format.h"

namespace kv {
namespace {

// A version block that may say anything of its values.
class VersionBlock {
 public:
  VersionBlock(const BYTE* block, size_t size) : block_(block), size_(size) {}

  // The bytes from the value `name` to the end of the block: their number goes to `room`, what the
  // block says of the value's length to `length`. Null when it is missing or empty.
  const BYTE* Query(LPCWSTR name, UINT& length, size_t& room) const {
    void* value = nullptr;
    if (!VerQueryValueW(block_, name, &value, &length) || length == 0) return nullptr;
    const auto* const bytes = static_cast<const BYTE*>(value);
    if (bytes < block_ || bytes > block_ + size_) return nullptr;
    room = static_cast<size_t>(block_ + size_ - bytes);
    return bytes;
  }

  // Copies a value that is no text; FALSE when it is missing or not there whole.
  template <class Value>
  BOOL Read(LPCWSTR name, Value& value) const {
    UINT length;
    size_t room;
    const BYTE* const bytes = Query(name, length, room);
    if (bytes == nullptr || std::min<size_t>(length, room) < sizeof(value)) return FALSE;
    memcpy(&value, bytes, sizeof(value));
    return TRUE;
  }

 private:
  const BYTE* block_;
  size_t size_;
};

constexpr int kPathCapacity = 128;

void ReadText(const VersionBlock& block, LPCWSTR prefix, LPCWSTR name, VersionText* text) {
  if (text == nullptr) return;
  WCHAR path[kPathCapacity];
  FormatText(path, TEXT("%s%s"), prefix, name);
  UINT length;
  size_t room;
  const BYTE* const value = block.Query(path, length, room);
  if (value == nullptr) return;
  const size_t count =
      std::min({size_t{length}, room / sizeof(WCHAR), size_t{kVersionTextCapacity} - 1});
  memcpy(text->text, value, count * sizeof(WCHAR));
  text->text[count] = 0;
}

void ReadFixedInformation(const VersionBlock& block, VersionDetails& details) {
  VS_FIXEDFILEINFO fixed;
  if (!block.Read(TEXT("\\"), fixed)) return;
  details.productMajor = HIWORD(fixed.dwProductVersionMS);
  details.productMinor = LOWORD(fixed.dwProductVersionMS);
  details.fileVersionHigh = fixed.dwFileVersionMS;
  details.packedProductVersion =
      static_cast<WORD>((details.productMajor & 0xFF) * 256 + (details.productMinor & 0xFF));
}

void Clear(VersionDetails& details) {
  for (VersionText* text : {details.productName, details.productVersion, details.companyName,
                            details.originalFileName}) {
    if (text != nullptr) text->text[0] = 0;
  }
  details.productMajor = details.productMinor = details.packedProductVersion = 0;
  details.fileVersionHigh = 0;
}

}  // namespace

BOOL ReadVersionBlock(const BYTE* bytes, size_t size, VersionDetails& details) {
  Clear(details);
  const VersionBlock block(bytes, size);
  DWORD translation;
  if (!block.Read(TEXT("\\VarFileInfo\\Translation"), translation)) return FALSE;
  WCHAR prefix[kPathCapacity];
  FormatText(prefix, TEXT("\\StringFileInfo\\%04x%04x\\"), LOWORD(translation),
             HIWORD(translation));
  ReadText(block, prefix, TEXT("ProductName"), details.productName);
  ReadText(block, prefix, TEXT("ProductVersion"), details.productVersion);
  ReadText(block, prefix, TEXT("CompanyName"), details.companyName);
  ReadText(block, prefix, TEXT("OriginalFilename"), details.originalFileName);
  ReadFixedInformation(block, details);
  return TRUE;
}

BOOL GetFileVersionDetails(LPCWSTR path, VersionDetails& details) {
  Clear(details);
  if (!FileExists(path, Report::kNo)) return FALSE;
  DWORD unused = 0;
  const DWORD size = GetFileVersionInfoSizeW(path, &unused);
  const UniqueGlobal block(size == 0 ? nullptr : GlobalAlloc(GHND, size));
  const GlobalLockScope lock(block.Get());
  return lock.Data() != nullptr && GetFileVersionInfoW(path, 0, size, lock.Data()) &&
         ReadVersionBlock(static_cast<const BYTE*>(lock.Data()), size, details);
}

BOOL GetModuleVersionDetails(HMODULE module, VersionDetails& details) {
  WCHAR path[MAX_PATH];
  GetModulePath(module, path);
  return GetFileVersionDetails(path, details);
}

DWORD GetDispatcherVersion() {
  WCHAR path[MAX_PATH];
  if (startupContext.appDir[0] == 0) {
    PathBesideModule(startupContext.hInstance, kDispatcherFile, path);
  } else if (!PathJoin(startupContext.appDir, kDispatcherFile, path, MAX_PATH)) {
    return 0;
  }
  VersionDetails details;
  GetFileVersionDetails(path, details);
  return details.productMajor * 65536u + details.productMinor;
}

}  // namespace kv
