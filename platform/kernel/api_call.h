// The entry line of every function that the layer implements.
//
//   BOOL WINAPI CopyFileW(LPCWSTR from, LPCWSTR to, BOOL fail_if_exists) {
//     KV_API(CopyFileW, ERROR_ACCESS_DENIED, FALSE, from, to, fail_if_exists);
//     ...
//
// It makes the call countable, replaceable and fallible. The arguments are the function's own, in
// order (they go to a replacement); the failure value is what the function returns when it fails,
// with the error as last error.
#pragma once

#include <windows.h>

#include <atomic>
#include <string_view>

namespace platform {

struct FunctionState;

// One per implemented function, constant-initialised.
struct ApiFunction {
  const char* name;
  DWORD error;    // the typical error of an injected failure
  bool fallible;  // documented as able to fail: takes part in sweeps
  std::atomic<FunctionState*> state = nullptr;
};

class ApiCall {
 public:
  explicit ApiCall(ApiFunction& function);
  ~ApiCall();
  ApiCall(const ApiCall&) = delete;
  ApiCall& operator=(const ApiCall&) = delete;

  // Null unless a test replaces the function.
  template <class Function>
  Function Replacement() const {
    return reinterpret_cast<Function>(reinterpret_cast<void (*)()>(replacement_));
  }
  // The injected error, or 0.
  DWORD error() const { return error_; }
  // True when this call must fail; sets the last error.
  bool Fails() const {
    if (error_ == 0) return false;
    SetLastErrorOfThread(error_);
    return true;
  }

 private:
  static void SetLastErrorOfThread(DWORD error);
  FARPROC replacement_ = nullptr;
  DWORD error_ = 0;
};

// True when the current call came from the product, not from the layer itself; resources are
// accounted only then.
bool IsOutermostCall();
// True while the thread executes the layer's own code.
bool IsInsideLayer();

// While one lives, the thread runs code of the product that the layer calls back.
class ProductCallback {
 public:
  ProductCallback();
  ~ProductCallback();
  ProductCallback(const ProductCallback&) = delete;
  ProductCallback& operator=(const ProductCallback&) = delete;

 private:
  int saved_depth_;
};

}  // namespace platform

#define KV_API_ENTER_(function, error, fallible, ...)                               \
  static constinit ::platform::ApiFunction kv_function{#function, error, fallible}; \
  ::platform::ApiCall kv_call(kv_function);                                         \
  if (auto kv_replacement = kv_call.Replacement<decltype(&::function)>())           \
  return kv_replacement(__VA_ARGS__)

// A function that returns `failure` and sets the last error when it fails.
#define KV_API(function, error, failure, ...)        \
  KV_API_ENTER_(function, error, true, __VA_ARGS__); \
  if (kv_call.Fails()) return failure
// A function that returns its error code and leaves the last error alone.
#define KV_API_STATUS(function, typical_error, ...)          \
  KV_API_ENTER_(function, typical_error, true, __VA_ARGS__); \
  if (kv_call.error() != 0) return static_cast<decltype(::function(__VA_ARGS__))>(kv_call.error())
// A function that cannot fail in practice, or that releases something: counted, never part of a
// sweep, but a test may still let it fail by name.
#define KV_API_NOFAIL(function, failure, ...)                     \
  KV_API_ENTER_(function, ERROR_GEN_FAILURE, false, __VA_ARGS__); \
  if (kv_call.Fails()) return failure
// A function without a result.
#define KV_API_VOID(function, ...) KV_API_ENTER_(function, ERROR_SUCCESS, false, __VA_ARGS__)
