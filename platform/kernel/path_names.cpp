// Other forms of paths.
#include "platform/kernel/api_call.h"
#include "platform/kernel/buffer.h"
#include "platform/kernel/directory_listing.h"
#include "platform/kernel/path.h"

namespace platform {
namespace {

// An existing path with the short form of each name, as the caller wrote it otherwise.
WideString ShortPath(WideView path) {
  constexpr WideView kSeparators = TEXT("\\/");
  const size_t prefix = path.starts_with(kVerbatimPrefix) ? kVerbatimPrefix.size() : 0;
  WideString text(path.substr(0, prefix));
  for (size_t at = prefix; at < path.size();) {
    const size_t end = std::min(path.find_first_of(kSeparators, at), path.size());
    const WideView name = path.substr(at, end - at);
    const bool stays =
        name.empty() || name == TEXT(".") || name == TEXT("..") || name.back() == ':';
    if (stays) {
      text += name;
    } else {
      const std::filesystem::path host = ResolvePath(path.substr(0, end)).host;
      text += ShortNameOf(host.parent_path(), ToWide(host.filename().string()));
    }
    text += path.substr(end, 1);
    at = end + 1;
  }
  return text;
}

}  // namespace
}  // namespace platform

using namespace platform;

DWORD WINAPI GetFullPathNameW(LPCWSTR path, DWORD capacity, LPWSTR buffer, LPWSTR* file_part) {
  KV_API(GetFullPathNameW, ERROR_INVALID_NAME, 0, path, capacity, buffer, file_part);
  if (View(path).empty()) {
    SetLastError(ERROR_INVALID_NAME);
    return 0;
  }
  const WideString full = FullPath(path);
  const DWORD length = CopyOut(full, buffer, capacity);
  if (file_part != nullptr) {
    const bool written = length < capacity;
    *file_part =
        written && full.back() != '\\' ? buffer + (BaseName(full).data() - full.data()) : nullptr;
  }
  return length;
}

DWORD WINAPI GetShortPathNameW(LPCWSTR path, LPWSTR buffer, DWORD capacity) {
  KV_API(GetShortPathNameW, ERROR_FILE_NOT_FOUND, 0, path, buffer, capacity);
  const ResolvedPath resolved = ResolvePath(View(path));
  if (!resolved.Exists() || resolved.is_device) {
    SetLastError(resolved.Exists() ? ERROR_INVALID_PARAMETER : resolved.error);
    return 0;
  }
  return CopyOut(ShortPath(path), buffer, capacity);
}
