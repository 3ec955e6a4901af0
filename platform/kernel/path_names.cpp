// Other forms of paths.
#include "platform/kernel/api_call.h"
#include "platform/kernel/buffer.h"
#include "platform/kernel/directory_listing.h"
#include "platform/kernel/path.h"

namespace platform {
namespace {

// The path with the short form of each name, as the caller wrote it otherwise.
WideString ShortPath(const ResolvedPath& resolved) {
  std::filesystem::path host = resolved.host;
  WideString text;
  WideView rest = resolved.windows;
  while (rest.size() > 3) {
    const WideView name = BaseName(rest);
    host = host.parent_path();
    text.insert(0, ShortNameOf(host, name));
    rest = DirectoryOf(rest);
    if (rest.size() > 3) text.insert(0, TEXT("\\"));
  }
  return WideString(rest) + text;
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
  return CopyOut(ShortPath(resolved), buffer, capacity);
}
