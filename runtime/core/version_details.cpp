#include "runtime/core/version_details.h"

#include "runtime/core/handles.h"
#include "runtime/core/startup_context.h"
#include "runtime/files/file_actions.h"
#include "runtime/files/paths.h"
#include "runtime/text/format.h"
#include "runtime/text/text.h"

namespace kv {
namespace {

// The version block of a file, locked in memory for queries.
class VersionBlock {
 public:
  explicit VersionBlock(LPCWSTR path) : block_(Read(path)), lock_(block_.Get()) {
    valid_ = lock_.Data() != nullptr && GetFileVersionInfoW(path, 0, size_, lock_.Data());
  }

  // The value `name`; null when it is missing or empty. `length` is in characters for texts, in
  // bytes for numbers.
  const void* Query(LPCWSTR name, UINT& length) const {
    void* value = nullptr;
    length = 0;
    if (!valid_ || !VerQueryValueW(lock_.Data(), name, &value, &length) || length == 0)
      return nullptr;
    return value;
  }

 private:
  UniqueGlobal Read(LPCWSTR path) {
    DWORD unused = 0;
    size_ = GetFileVersionInfoSizeW(path, &unused);
    return UniqueGlobal(size_ == 0 ? nullptr : GlobalAlloc(GHND, size_));
  }

  DWORD size_ = 0;
  UniqueGlobal block_;
  GlobalLockScope lock_;
  bool valid_ = false;
};

constexpr int kPathCapacity = 128;

void ReadText(const VersionBlock& block, LPCWSTR prefix, LPCWSTR name, VersionText* text) {
  if (text == nullptr) return;
  WCHAR path[kPathCapacity];
  FormatText(path, TEXT("%s%s"), prefix, name);
  UINT length = 0;
  if (const void* value = block.Query(path, length)) {
    // The block ends behind its last value; a value without a terminator must not be read further
    // than its length.
    const int limit =
        length < kVersionTextCapacity ? static_cast<int>(length) + 1 : kVersionTextCapacity;
    const auto source = static_cast<LPCWSTR>(value);
    int count = 0;
    while (count < limit - 1 && source[count] != 0) ++count;
    for (int i = 0; i < count; ++i) text->text[i] = source[i];
    text->text[count] = 0;
  }
}

void ReadFixedInformation(const VersionBlock& block, VersionDetails& details) {
  UINT length = 0;
  const auto fixed = static_cast<const VS_FIXEDFILEINFO*>(block.Query(TEXT("\\"), length));
  if (fixed == nullptr || length < sizeof(*fixed)) return;
  details.productMajor = HIWORD(fixed->dwProductVersionMS);
  details.productMinor = LOWORD(fixed->dwProductVersionMS);
  details.fileVersionHigh = fixed->dwFileVersionMS;
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

BOOL GetFileVersionDetails(LPCWSTR path, VersionDetails& details) {
  Clear(details);
  if (!FileExists(path, Report::kNo)) return FALSE;
  const VersionBlock block(path);
  UINT length = 0;
  const auto translation =
      static_cast<const DWORD*>(block.Query(TEXT("\\VarFileInfo\\Translation"), length));
  if (translation == nullptr || length < sizeof(*translation)) return FALSE;
  WCHAR prefix[kPathCapacity];
  FormatText(prefix, TEXT("\\StringFileInfo\\%04x%04x\\"), LOWORD(*translation),
             HIWORD(*translation));
  ReadText(block, prefix, TEXT("ProductName"), details.productName);
  ReadText(block, prefix, TEXT("ProductVersion"), details.productVersion);
  ReadText(block, prefix, TEXT("CompanyName"), details.companyName);
  ReadText(block, prefix, TEXT("OriginalFilename"), details.originalFileName);
  ReadFixedInformation(block, details);
  return TRUE;
}

BOOL GetModuleVersionDetails(HMODULE module, VersionDetails& details) {
  WCHAR path[MAX_PATH] = {};
  GetModuleFileNameW(module, path, MAX_PATH);
  path[MAX_PATH - 1] = 0;
  return GetFileVersionDetails(path, details);
}

DWORD GetDispatcherVersion() {
  WCHAR path[MAX_PATH];
  if (startupContext.appDir[0] != 0) {
    PathJoin(startupContext.appDir, kDispatcherFile, path, MAX_PATH);
  } else {
    PathBesideModule(startupContext.hInstance, kDispatcherFile, path);
  }
  VersionDetails details;
  GetFileVersionDetails(path, details);
  return details.productMajor * 65536u + details.productMinor;
}

}  // namespace kv
