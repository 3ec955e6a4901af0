#include "platform/kernel/api_call.h"
#include "platform/kernel/buffer.h"
#include "platform/kernel/clock.h"
#include "platform/kernel/files.h"
#include "platform/kernel/installation.h"

namespace platform {
namespace {

constexpr size_t kPrefixLength = 3;
constexpr size_t kLongestDirectory = MAX_PATH - 14;
constexpr UINT kNumbers = 0xFFFF;

WideString TempName(WideView directory, WideView prefix, UINT number) {
  WideString name(directory);
  if (name.back() != '\\') name += '\\';
  name += prefix.substr(0, kPrefixLength);
  WideString digits;
  for (; number != 0; number /= 16) digits.insert(0, 1, TEXT("0123456789ABCDEF")[number % 16]);
  return name + digits + TEXT(".tmp");
}

// Makes the file under the first number that is free; 0 and the error when there is none.
UINT MakeTempFile(WideView directory, WideView prefix, WideString& path, DWORD& error) {
  const UINT start = static_cast<UINT>(UpTime());
  for (UINT i = 0; i < kNumbers; ++i) {
    const UINT number = (start + i) % kNumbers + 1;
    path = TempName(directory, prefix, number);
    std::shared_ptr<File> file;
    bool existed = false;
    error = File::Open(path, {GENERIC_WRITE, 0, CREATE_NEW, FILE_ATTRIBUTE_NORMAL}, file, existed);
    if (error == ERROR_SUCCESS) return number;
    if (error != ERROR_FILE_EXISTS) return 0;
  }
  return 0;
}

}  // namespace
}  // namespace platform

using namespace platform;

DWORD WINAPI GetTempPathW(DWORD capacity, LPWSTR buffer) {
  KV_API(GetTempPathW, ERROR_NOT_ENOUGH_MEMORY, 0, capacity, buffer);
  return CopyOut(TempDirectory() + TEXT("\\"), buffer, capacity);
}

UINT WINAPI GetTempFileNameW(LPCWSTR directory, LPCWSTR prefix, UINT unique, LPWSTR path) {
  KV_API(GetTempFileNameW, ERROR_ACCESS_DENIED, 0, directory, prefix, unique, path);
  const WideView folder = View(directory);
  DWORD error = ERROR_SUCCESS;
  if (unique != 0) error = ERROR_CALL_NOT_IMPLEMENTED;
  if (folder.size() > kLongestDirectory) error = ERROR_BUFFER_OVERFLOW;
  const ResolvedPath resolved = ResolvePath(folder);
  if (error == ERROR_SUCCESS &&
      (!resolved.Exists() || HostAttributes(resolved.host) != FILE_ATTRIBUTE_DIRECTORY)) {
    error = ERROR_DIRECTORY;
  }
  WideString made;
  const UINT number = error == ERROR_SUCCESS ? MakeTempFile(folder, View(prefix), made, error) : 0;
  if (number == 0) {
    SetLastError(error);
    return 0;
  }
  CopyOut(made, path, MAX_PATH);
  return number;
}
