// The ground of component objects.
#pragma once

#include <winnt.h>

inline bool operator==(const GUID& a, const GUID& b) {
  return __builtin_memcmp(&a, &b, sizeof(GUID)) == 0;
}

// Objects live as long as somebody holds a reference to them.
struct IUnknown {
  // A further interface of the same object, with a reference of its own; E_NOINTERFACE, with null,
  // when it has none of that name.
  virtual HRESULT STDMETHODCALLTYPE QueryInterface(REFIID id, void** object) = 0;
  // Both return the references that there are now.
  virtual ULONG STDMETHODCALLTYPE AddRef() = 0;
  virtual ULONG STDMETHODCALLTYPE Release() = 0;
};
typedef IUnknown* LPUNKNOWN;

extern "C" const IID IID_IUnknown;
