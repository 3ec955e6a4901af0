#include "runtime/registry/shared_dll_counter.h"

#include "runtime/registry/stable_text.h"

namespace kv {

SharedDllCounter::SharedDllCounter() {
  Create(HKEY_LOCAL_MACHINE, TEXT("Software\\Microsoft\\Windows\\CurrentVersion\\SharedDLLs"));
}

BOOL SharedDllCounter::ReadCount(LPCWSTR path, DWORD& count) const {
  count = 0;
  DWORD type = 0, size = sizeof(count);
  const LSTATUS status =
      RegQueryValueExW(handle(), path, nullptr, &type, reinterpret_cast<BYTE*>(&count), &size);
  if (status == ERROR_SUCCESS && type == REG_DWORD) return TRUE;
  count = 0;
  return status == ERROR_SUCCESS || status == ERROR_MORE_DATA || status == ERROR_FILE_NOT_FOUND;
}

DWORD SharedDllCounter::AddRef(LPCWSTR path) {
  // The path may be one of the names or texts that the key has handed out.
  const StableText stablePath(path, true);
  if (!stablePath) return GetDword(path, 0);
  DWORD count;
  if (ReadCount(stablePath.Get(), count)) SetDword(stablePath.Get(), count + 1);
  return GetDword(stablePath.Get(), 0);
}

DWORD SharedDllCounter::Release(LPCWSTR path) {
  const StableText stablePath(path, true);
  if (!stablePath) return GetDword(path, 0);
  const DWORD count = GetDword(stablePath.Get(), 0);
  if (count == 1) DeleteValue(stablePath.Get());
  if (count > 1) SetDword(stablePath.Get(), count - 1);
  return GetDword(stablePath.Get(), 0);
}

}  // namespace kv
