// Basic types and calling conventions.
#pragma once

#include <stdarg.h>
#include <stddef.h>
#include <stdint.h>

#if defined(__i386__)
#define WINAPI __attribute__((stdcall))
#define CDECL __attribute__((cdecl))
// Callbacks may arrive with a stack that is aligned to 4 bytes only.
#define CALLBACK __attribute__((stdcall, force_align_arg_pointer))
#else
#define WINAPI
#define CDECL
#define CALLBACK WINAPI
#endif
#define APIENTRY WINAPI
#define WINAPIV CDECL
#define STDMETHODCALLTYPE WINAPI

#define CONST const
#define VOID void
#define IN
#define OUT
#define FALSE 0
#define TRUE 1
#define MAX_PATH 260

typedef char CHAR, *LPSTR;
typedef const char *LPCSTR, *LPCCH;
typedef char16_t WCHAR, *LPWSTR, *PWSTR;
typedef const char16_t *LPCWSTR, *LPCWCH;
typedef WCHAR TCHAR;

typedef unsigned char UCHAR, *PUCHAR, BYTE, *PBYTE, *LPBYTE;
typedef short SHORT;
typedef unsigned short USHORT, WORD, ATOM, LANGID;
typedef int INT, BOOL, *PBOOL, *LPBOOL, LONG, *PLONG, HRESULT;
typedef unsigned int UINT, *PUINT, DWORD, *PDWORD, *LPDWORD, ULONG, *PULONG, LCID, LCTYPE, COLORREF;
typedef int64_t LONGLONG;
typedef uint64_t ULONGLONG;
typedef float FLOAT;
typedef intptr_t INT_PTR, LONG_PTR;
typedef uintptr_t UINT_PTR, *PUINT_PTR, ULONG_PTR, *PULONG_PTR, DWORD_PTR, *PDWORD_PTR, SIZE_T,
    *PSIZE_T;
typedef void *PVOID, *LPVOID, *HANDLE, **PHANDLE, **LPHANDLE;
typedef const void* LPCVOID;
typedef LONG LSTATUS, NTSTATUS;

#define DECLARE_HANDLE(name) \
  struct name##__ {          \
    int unused;              \
  };                         \
  typedef struct name##__* name

DECLARE_HANDLE(HINSTANCE);
DECLARE_HANDLE(HKEY);
DECLARE_HANDLE(HWND);
DECLARE_HANDLE(HMENU);
DECLARE_HANDLE(HICON);
DECLARE_HANDLE(HRSRC);
DECLARE_HANDLE(HDC);
DECLARE_HANDLE(HFONT);
DECLARE_HANDLE(HBRUSH);
DECLARE_HANDLE(HPEN);
DECLARE_HANDLE(HRGN);
DECLARE_HANDLE(HBITMAP);
DECLARE_HANDLE(HPALETTE);
DECLARE_HANDLE(HHOOK);
DECLARE_HANDLE(HDESK);
DECLARE_HANDLE(HWINSTA);
DECLARE_HANDLE(HMONITOR);
typedef HINSTANCE HMODULE;
typedef HICON HCURSOR;
typedef HANDLE HGLOBAL, HLOCAL;
typedef void* HGDIOBJ;
typedef HKEY* PHKEY;

typedef UINT_PTR WPARAM;
typedef LONG_PTR LPARAM, LRESULT;
typedef INT_PTR(WINAPI* FARPROC)();
typedef INT_PTR(WINAPI* PROC)();

#define LOBYTE(w) ((BYTE)((DWORD_PTR)(w)&0xff))
#define HIBYTE(w) ((BYTE)(((DWORD_PTR)(w) >> 8) & 0xff))
#define LOWORD(l) ((WORD)((DWORD_PTR)(l)&0xffff))
#define HIWORD(l) ((WORD)(((DWORD_PTR)(l) >> 16) & 0xffff))
#define MAKELONG(a, b) ((LONG)(((WORD)(a)) | ((DWORD)((WORD)(b))) << 16))

typedef struct tagPOINT {
  LONG x;
  LONG y;
} POINT, *LPPOINT;
typedef POINT POINTL;

typedef struct tagSIZE {
  LONG cx;
  LONG cy;
} SIZE, *LPSIZE;

typedef struct tagRECT {
  LONG left;
  LONG top;
  LONG right;
  LONG bottom;
} RECT, *LPRECT;

typedef struct _FILETIME {
  DWORD dwLowDateTime;
  DWORD dwHighDateTime;
} FILETIME, *PFILETIME, *LPFILETIME;

typedef struct _GUID {
  DWORD Data1;
  WORD Data2;
  WORD Data3;
  BYTE Data4[8];
} GUID, UUID, IID, CLSID;
typedef const IID& REFIID;
typedef const CLSID& REFCLSID;
