// What component objects of the layer have in common.
#pragma once

#include <objbase.h>

#include <atomic>
#include <string>

#include "platform/control/leaks.h"
#include "platform/kernel/api_call.h"
#include "platform/kernel/text.h"

// The entry line of a method, as KV_API is that of a function: countable and fallible under `name`
// ("IPersistFile::Load").
#define KV_METHOD(name, typical_error)                                             \
  static constinit ::platform::ApiFunction kv_function{name, typical_error, true}; \
  ::platform::ApiCall kv_call(kv_function);                                        \
  if (kv_call.error() != 0) return HRESULT_FROM_WIN32(kv_call.error())

namespace platform {

// An object with one reference that deletes itself with the last.
template <class... Interfaces>
class ComObject : public Interfaces... {
 public:
  virtual ~ComObject() = default;

  ULONG STDMETHODCALLTYPE AddRef() override { return ++references_; }
  ULONG STDMETHODCALLTYPE Release() override {
    const ULONG left = --references_;
    if (left == 0) delete this;
    return left;
  }

 private:
  std::atomic<ULONG> references_ = 1;
  CountedResource counted_{Resource::kComObject};
};

// The end of QueryInterface: hands out the interface with a reference, or null.
inline HRESULT HandOut(IUnknown* interface, void* pointer, void** object) {
  *object = pointer;
  if (interface == nullptr) return E_NOINTERFACE;
  interface->AddRef();
  return S_OK;
}

// Objects of the shell, with one reference for the caller.
IUnknown* NewShellLink();
IUnknown* NewInternetShortcut();
inline constexpr CLSID kInternetShortcutClass = {
    0xFBF23B40, 0xE3F0, 0x101B, {0x84, 0x88, 0x00, 0xAA, 0x00, 0x3E, 0x56, 0xF8}};

// A copy from the task allocator, terminator included.
LPWSTR CopyForTask(WideView text);

// The whole file, as far as sharing and rights allow; the error otherwise.
DWORD ReadWholeFile(LPCWSTR path, std::string& bytes);
DWORD WriteWholeFile(LPCWSTR path, std::string_view bytes);

}  // namespace platform
