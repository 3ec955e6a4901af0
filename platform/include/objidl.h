// Interfaces of component objects that are kept in files, and the task allocator's.
#pragma once

#include <unknwn.h>

#define STGM_READ 0x00000000
#define STGM_READWRITE 0x00000002

typedef WCHAR OLECHAR, *LPOLESTR;
typedef const WCHAR* LPCOLESTR;

struct IMalloc : IUnknown {
  virtual void* STDMETHODCALLTYPE Alloc(SIZE_T size) = 0;
  virtual void* STDMETHODCALLTYPE Realloc(void* block, SIZE_T size) = 0;
  virtual void STDMETHODCALLTYPE Free(void* block) = 0;
  virtual SIZE_T STDMETHODCALLTYPE GetSize(void* block) = 0;
  // 1 when the block is one of this allocator, 0 when not, -1 for null.
  virtual int STDMETHODCALLTYPE DidAlloc(void* block) = 0;
  virtual void STDMETHODCALLTYPE HeapMinimize() = 0;
};

struct IPersist : IUnknown {
  virtual HRESULT STDMETHODCALLTYPE GetClassID(CLSID* id) = 0;
};

struct IPersistFile : IPersist {
  virtual HRESULT STDMETHODCALLTYPE IsDirty() = 0;
  virtual HRESULT STDMETHODCALLTYPE Load(LPCOLESTR file, DWORD mode) = 0;
  // With `remember` the file becomes the object's own.
  virtual HRESULT STDMETHODCALLTYPE Save(LPCOLESTR file, BOOL remember) = 0;
  virtual HRESULT STDMETHODCALLTYPE SaveCompleted(LPCOLESTR file) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetCurFile(LPOLESTR* file) = 0;
};

struct IBindCtx;

extern "C" {
extern const IID IID_IMalloc;
extern const IID IID_IPersist;
extern const IID IID_IPersistFile;
}
