#include "runtime/registry/expand_environment.h"

#include <new>

#include "runtime/core/messages.h"
#include "runtime/text/text.h"

namespace kv {

std::unique_ptr<WCHAR[]> MyExpandEnvironmentStrings(LPCWSTR text) {
  constexpr DWORD kReserve = 16;
  DWORD needed = ExpandEnvironmentStringsW(text, nullptr, 0);
  // A variable may grow between two calls; what then does not fit is not terminated.
  while (needed != 0) {
    const DWORD capacity = needed + kReserve;
    std::unique_ptr<WCHAR[]> expansion(new (std::nothrow) WCHAR[capacity]);
    if (expansion == nullptr) {
      ShowInternalError(TEXT("MyExpandEnvironmentStrings"));
      return nullptr;
    }
    expansion[0] = 0;
    needed = ExpandEnvironmentStringsW(text, expansion.get(), capacity);
    if (needed != 0 && needed <= capacity) return expansion;
  }
  return nullptr;
}

BOOL ExpandInPlace(LPWSTR buffer, int capacity) {
  const std::unique_ptr<WCHAR[]> expansion = MyExpandEnvironmentStrings(buffer);
  if (expansion == nullptr) return FALSE;
  CopyStringW(buffer, capacity, expansion.get());
  return buffer[0] != 0;
}

}  // namespace kv
