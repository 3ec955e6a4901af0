// Calls of the spooler between whose questions something is added.
#pragma once

#include <windows.h>

#include "platform/control/faults.h"

namespace kv::test {

// The next `growing_times` calls of an Enum… function that GrowingCall replaces ask for room that
// will be too small.
inline int growing_times = 0;

template <auto kFunction>
struct GrowingCall;
template <class... Before, BOOL(WINAPI* kFunction)(Before...)>
struct GrowingCall<kFunction> {
  static BOOL WINAPI Call(Before... arguments) {
    if (growing_times == 0) return kFunction(arguments...);
    --growing_times;
    // The room needed and the number of records stand last.
    DWORD* places[] = {AsPlace(arguments)...};
    *places[sizeof...(Before) - 2] = 8;
    *places[sizeof...(Before) - 1] = 0;
    SetLastError(ERROR_INSUFFICIENT_BUFFER);
    return FALSE;
  }

 private:
  static DWORD* AsPlace(LPDWORD place) { return place; }
  template <class Other>
  static DWORD* AsPlace(Other) {
    return nullptr;
  }
};

template <auto kFunction>
void LetGrow(const char* name, int times) {
  platform::ResetFaults();
  platform::Replace(name, &GrowingCall<kFunction>::Call);
  growing_times = times;
}

}  // namespace kv::test
