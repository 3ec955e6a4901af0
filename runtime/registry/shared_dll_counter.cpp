#include "runtime/registry/shared_dll_counter.h"

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
  DWORD count;
  if (ReadCount(path, count)) SetDword(path, count + 1);
  return GetDword(path, 0);
}

DWORD SharedDllCounter::Release(LPCWSTR path) {
  const DWORD count = GetDword(path, 0);
  if (count == 1) DeleteValue(path);
  if (count > 1) SetDword(path, count - 1);
  return GetDword(path, 0);
}

}  // namespace kv
