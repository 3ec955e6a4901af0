#include "platform/kernel/api_call.h"

#include <map>
#include <mutex>

#include "platform/control/faults.h"

namespace platform {

struct FunctionState {
  uint64_t calls = 0;
  uint64_t fail_from = 0;  // call number, 0 = none
  uint64_t fail_count = 0;
  DWORD fail_error = 0;
  FARPROC replacement = nullptr;
};

namespace {

thread_local int call_depth = 0;

struct Faults {
  std::mutex mutex;
  std::map<std::string, FunctionState, std::less<>> functions;
  uint64_t fallible_calls = 0;
  uint64_t total_calls = 0;
  uint64_t fail_any_at = 0;  // number of the fallible call, 0 = none
  uint64_t injected = 0;
  std::string last_injected;
  bool recording = false;
  std::vector<std::string> record;

  FunctionState& StateOf(std::string_view name) {
    auto found = functions.find(name);
    if (found == functions.end())
      found = functions.emplace(std::string(name), FunctionState{}).first;
    return found->second;
  }
};

// Never destroyed: modules may call the layer while the process exits.
Faults& faults() {
  static Faults* instance = new Faults;
  return *instance;
}

}  // namespace

ApiCall::ApiCall(ApiFunction& function) {
  if (call_depth++ != 0) return;
  Faults& all = faults();
  std::lock_guard lock(all.mutex);
  FunctionState* state = function.state.load(std::memory_order_relaxed);
  if (state == nullptr) {
    state = &all.StateOf(function.name);
    function.state.store(state, std::memory_order_relaxed);
  }
  ++state->calls;
  ++all.total_calls;
  if (all.recording) all.record.emplace_back(function.name);
  replacement_ = state->replacement;
  if (function.fallible && ++all.fallible_calls == all.fail_any_at) error_ = function.error;
  if (state->fail_from != 0 && state->calls >= state->fail_from &&
      state->calls - state->fail_from < state->fail_count) {
    error_ = state->fail_error != 0 ? state->fail_error : function.error;
  }
  if (error_ != 0) {
    ++all.injected;
    all.last_injected = function.name;
  }
}

ApiCall::~ApiCall() {
  --call_depth;
}

void ApiCall::SetLastErrorOfThread(DWORD error) {
  ::SetLastError(error);
}

bool IsOutermostCall() {
  return call_depth <= 1;
}
bool IsInsideLayer() {
  return call_depth > 0;
}

ProductCallback::ProductCallback() : saved_depth_(call_depth) {
  call_depth = 0;
}
ProductCallback::~ProductCallback() {
  call_depth = saved_depth_;
}

uint64_t CallCount(std::string_view function) {
  std::lock_guard lock(faults().mutex);
  return faults().StateOf(function).calls;
}

uint64_t FallibleCallCount() {
  std::lock_guard lock(faults().mutex);
  return faults().fallible_calls;
}

uint64_t TotalCallCount() {
  std::lock_guard lock(faults().mutex);
  return faults().total_calls;
}

void FailCall(std::string_view function, uint64_t nth, DWORD error, uint64_t count) {
  std::lock_guard lock(faults().mutex);
  FunctionState& state = faults().StateOf(function);
  state.fail_from = state.calls + nth;
  state.fail_count = count;
  state.fail_error = error;
}

void FailAnyCall(uint64_t nth) {
  std::lock_guard lock(faults().mutex);
  faults().fail_any_at = nth == 0 ? 0 : faults().fallible_calls + nth;
}

uint64_t InjectedFailures() {
  std::lock_guard lock(faults().mutex);
  return faults().injected;
}

std::string LastInjectedFunction() {
  std::lock_guard lock(faults().mutex);
  return faults().last_injected;
}

void ReplaceFunction(std::string_view function, FARPROC replacement) {
  std::lock_guard lock(faults().mutex);
  faults().StateOf(function).replacement = replacement;
}

void RecordCalls(bool on) {
  std::lock_guard lock(faults().mutex);
  faults().recording = on;
  if (on) faults().record.clear();
}

std::vector<std::string> RecordedCalls() {
  std::lock_guard lock(faults().mutex);
  return faults().record;
}

void ResetFaults() {
  Faults& all = faults();
  std::lock_guard lock(all.mutex);
  // The states stay where they are: every ApiFunction points at its own.
  for (auto& [name, state] : all.functions) state = FunctionState{};
  all.fallible_calls = all.total_calls = all.fail_any_at = all.injected = 0;
  all.last_injected.clear();
  all.recording = false;
  all.record.clear();
}

OutsideTest::OutsideTest() {
  ++call_depth;
}
OutsideTest::~OutsideTest() {
  --call_depth;
}

}  // namespace platform
