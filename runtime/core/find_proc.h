// Functions of other libraries that are bound by name at run time.
#pragma once

#include "runtime/core/win.h"

namespace kv {

// The export `name` of `module` as a function pointer of type Function; null when the module is
// null or has no such export (GetProcAddress's last error stays).
template <class Function>
Function FindProc(HMODULE module, LPCSTR name) {
  if (module == nullptr) return nullptr;
  return reinterpret_cast<Function>(reinterpret_cast<void (*)()>(GetProcAddress(module, name)));
}

// The same for a library that is part of every process ("kernel32").
template <class Function>
Function FindProc(LPCWSTR loadedModule, LPCSTR name) {
  return FindProc<Function>(GetModuleHandleW(loadedModule), name);
}

}  // namespace kv
