// Internet shortcuts.
#pragma once

#include <unknwn.h>

#define URL_E_INVALID_SYNTAX ((HRESULT)0x80041001)

typedef struct urlinvokecommandinfoW URLINVOKECOMMANDINFOW, *PURLINVOKECOMMANDINFOW;

struct IUniformResourceLocatorW : IUnknown {
  // URL_E_INVALID_SYNTAX for a text without a protocol; no flags.
  virtual HRESULT STDMETHODCALLTYPE SetURL(LPCWSTR address, DWORD flags) = 0;
  // A text from the task allocator; S_FALSE, with null, when there is none.
  virtual HRESULT STDMETHODCALLTYPE GetURL(LPWSTR* address) = 0;
  virtual HRESULT STDMETHODCALLTYPE InvokeCommand(PURLINVOKECOMMANDINFOW command) = 0;
};
