// Heap, global and local memory.
#pragma once

#include <minwinbase.h>

#define HEAP_ZERO_MEMORY 0x00000008

#define GMEM_FIXED 0x0000
#define GMEM_MOVEABLE 0x0002
#define GMEM_ZEROINIT 0x0040
#define GMEM_LOCKCOUNT 0x00FF
#define GMEM_DISCARDED 0x4000
#define GMEM_INVALID_HANDLE 0x8000
#define GHND (GMEM_MOVEABLE | GMEM_ZEROINIT)
#define GPTR (GMEM_FIXED | GMEM_ZEROINIT)
#define LMEM_FIXED 0x0000
#define LMEM_ZEROINIT 0x0040
#define LPTR (LMEM_FIXED | LMEM_ZEROINIT)

extern "C" {
HANDLE WINAPI GetProcessHeap();
LPVOID WINAPI HeapAlloc(HANDLE heap, DWORD flags, SIZE_T size);
BOOL WINAPI HeapFree(HANDLE heap, DWORD flags, LPVOID block);

HGLOBAL WINAPI GlobalAlloc(UINT flags, SIZE_T size);
HGLOBAL WINAPI GlobalReAlloc(HGLOBAL memory, SIZE_T size, UINT flags);
HGLOBAL WINAPI GlobalFree(HGLOBAL memory);
LPVOID WINAPI GlobalLock(HGLOBAL memory);
BOOL WINAPI GlobalUnlock(HGLOBAL memory);
SIZE_T WINAPI GlobalSize(HGLOBAL memory);
UINT WINAPI GlobalFlags(HGLOBAL memory);
HLOCAL WINAPI LocalAlloc(UINT flags, SIZE_T size);
HLOCAL WINAPI LocalFree(HLOCAL memory);
}
