#include "runtime/registry/expand_environment.h"

#include <new>

#include "runtime/core/messages.h"
#include "runtime/text/text.h"

namespace kv {

std::unique_ptr<WCHAR[]> MyExpandEnvironmentStrings(LPCWSTR text) {
  // In case that a variable grows between the two calls.
  constexpr DWORD kReserve = 16;
  const DWORD needed = ExpandEnvironmentStringsW(text, nullptr, 0);
  if (needed == 0) return nullptr;
  const DWORD capacity = needed + kReserve;
  std::unique_ptr<WCHAR[]> expansion(new (std::nothrow) WCHAR[capacity]);
  if (expansion == nullptr) {
    ShowInternalError(TEXT("MyExpandEnvironmentStrings"));
    return nullptr;
  }
  const DWORD written = ExpandEnvironmentStringsW(text, expansion.get(), capacity);
  // What does not fit is not terminated.
  if (written == 0 || written > capacity) return nullptr;
  return expansion;
}

BOOL ExpandInPlace(LPWSTR buffer, int capacity) {
  const std::unique_ptr<WCHAR[]> expansion = MyExpandEnvironmentStrings(buffer);
  if (expansion == nullptr) return FALSE;
  CopyStringW(buffer, capacity, expansion.get());
  return buffer[0] != 0;
}

}  // namespace kv
