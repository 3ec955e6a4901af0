// Component objects of the calling thread.
#pragma once

#include <objidl.h>

#define CLSCTX_INPROC_SERVER 1
#define COINIT_APARTMENTTHREADED 2

extern "C" {
// Lets the calling thread use component objects; S_FALSE when it could already. Each success is
// undone by one CoUninitialize. `reserved` is null; mode: COINIT_APARTMENTTHREADED only.
HRESULT WINAPI CoInitializeEx(LPVOID reserved, DWORD mode);
void WINAPI CoUninitialize();
// A new object of the shell's link or Internet-shortcut class. CO_E_NOTINITIALIZED before
// CoInitializeEx, REGDB_E_CLASSNOTREG for other classes, E_NOINTERFACE.
HRESULT WINAPI CoCreateInstance(REFCLSID class_id, LPUNKNOWN outer, DWORD context, REFIID id,
                                LPVOID* object);
// The task allocator with a reference for the caller; `context` is 1.
HRESULT WINAPI CoGetMalloc(DWORD context, IMalloc** allocator);
LPVOID WINAPI CoTaskMemAlloc(SIZE_T size);
void WINAPI CoTaskMemFree(LPVOID block);
}
