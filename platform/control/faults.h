// Counting, failing and replacing the calls that the product makes to the layer.
//
// Only calls that come from outside the layer count: what the layer calls itself on the way is
// invisible, while a callback into the product (DllMain, a port operation, a window procedure) is
// outside again.
#pragma once

#include <windows.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace platform {

// Calls of `function` since the last ResetFaults.
uint64_t CallCount(std::string_view function);
// Calls of functions that are documented as able to fail, and of all functions.
uint64_t FallibleCallCount();
uint64_t TotalCallCount();

// Lets the n-th next call (1 = the next one) of `function`, and the `count - 1` calls after it,
// fail with `error`, or with the function's own typical error when `error` is 0. The function need
// not be one that takes part in a sweep.
void FailCall(std::string_view function, uint64_t nth, DWORD error = 0, uint64_t count = 1);
// Lets the n-th next call of any fallible function fail with that function's typical error.
void FailAnyCall(uint64_t nth);
// Failures injected since the last ResetFaults, and the function that the last of them hit.
uint64_t InjectedFailures();
std::string LastInjectedFunction();

// Calls of `function` go to `replacement`, which has the same signature and calling convention.
// Calls that the replacement makes to the layer reach the layer itself. Null ends the replacement.
void ReplaceFunction(std::string_view function, FARPROC replacement);
template <class Function>
void Replace(std::string_view function, Function* replacement) {
  ReplaceFunction(function, reinterpret_cast<FARPROC>(reinterpret_cast<void (*)()>(replacement)));
}

// Records the names of calls in their order while it is on.
void RecordCalls(bool on);
std::vector<std::string> RecordedCalls();

// Forgets counts, failures, replacements and the record.
void ResetFaults();

// While one lives on a thread, that thread's calls are the layer's own: neither counted nor failed.
// For the fixture's own preparations.
class OutsideTest {
 public:
  OutsideTest();
  ~OutsideTest();
  OutsideTest(const OutsideTest&) = delete;
  OutsideTest& operator=(const OutsideTest&) = delete;
};

}  // namespace platform
