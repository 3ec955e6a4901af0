#include "runtime/registry/shared_dll_counter.h"

namespace kv {

SharedDllCounter::SharedDllCounter() {
  Create(HKEY_LOCAL_MACHINE, TEXT("Software\\Microsoft\\Windows\\CurrentVersion\\SharedDLLs"));
}

DWORD SharedDllCounter::AddRef(LPCWSTR path) {
  SetDword(path, GetDword(path, 0) + 1);
  return GetDword(path, 0);
}

DWORD SharedDllCounter::Release(LPCWSTR path) {
  const DWORD count = GetDword(path, 0);
  if (count == 1) DeleteValue(path);
  if (count > 1) SetDword(path, count - 1);
  return GetDword(path, 0);
}

}  // namespace kv
