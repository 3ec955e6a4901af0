#include <errno.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/kernel/api_call.h"
#include "platform/kernel/host_error.h"
#include "platform/kernel/path.h"
#include "platform/kernel/result.h"

namespace platform {
namespace {

// A directory must leave room for a file name of the old kind.
constexpr size_t kLongestDirectory = MAX_PATH - 12;

DWORD CreateHostDirectory(WideView path) {
  if (!path.starts_with(kVerbatimPrefix) && path.size() >= kLongestDirectory) {
    return ERROR_FILENAME_EXCED_RANGE;
  }
  const ResolvedPath resolved = ResolvePath(path);
  if (resolved.Exists()) return ERROR_ALREADY_EXISTS;
  if (!resolved.CanBeCreated()) return resolved.error;
  if (mkdir(resolved.host.c_str(), 0777) == 0) return ERROR_SUCCESS;
  return errno == EEXIST ? ERROR_ALREADY_EXISTS : ErrorOfErrno(errno);
}

bool IsCurrentDirectory(const std::filesystem::path& host) {
  return ResolvePath(Machine::Current().Part<CurrentDirectory>().Get()).host == host;
}

DWORD RemoveHostDirectory(const ResolvedPath& path) {
  if (!path.Exists()) return path.error;
  if (path.is_device || !std::filesystem::is_directory(path.host)) return ERROR_DIRECTORY;
  if (IsCurrentDirectory(path.host)) return ERROR_SHARING_VIOLATION;
  // Of a link only the link goes.
  const bool is_link = std::filesystem::is_symlink(path.host);
  const int failed = is_link ? unlink(path.host.c_str()) : rmdir(path.host.c_str());
  return failed == 0 ? ERROR_SUCCESS : ErrorOfErrno(errno);
}

}  // namespace
}  // namespace platform

using namespace platform;

BOOL WINAPI CreateDirectoryW(LPCWSTR path, LPSECURITY_ATTRIBUTES attributes) {
  KV_API(CreateDirectoryW, ERROR_ACCESS_DENIED, FALSE, path, attributes);
  return Finish(CreateHostDirectory(View(path)));
}

BOOL WINAPI RemoveDirectoryW(LPCWSTR path) {
  KV_API(RemoveDirectoryW, ERROR_ACCESS_DENIED, FALSE, path);
  return Finish(RemoveHostDirectory(ResolvePath(View(path))));
}
