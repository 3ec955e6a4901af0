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

typedef char CHAR, *PCHAR, *LPSTR, *PSTR;
typedef const char *LPCSTR, *PCSTR, *LPCCH;
typedef char16_t WCHAR, *PWCHAR, *LPWSTR, *PWSTR, *PWCH, *LPWCH;
typedef const char16_t *LPCWSTR, *PCWSTR, *LPCWCH, *PCWCH;
typedef WCHAR TCHAR, *LPTSTR, *PTSTR;
typedef const WCHAR *LPCTSTR, *PCTSTR;
typedef const WCHAR* PCZZWSTR;
typedef WCHAR* PZZWSTR;

typedef unsigned char UCHAR, *PUCHAR, BYTE, *PBYTE, *LPBYTE, BOOLEAN, *PBOOLEAN;
typedef signed char INT8;
typedef short SHORT, *PSHORT;
typedef unsigned short USHORT, *PUSHORT, WORD, *PWORD, *LPWORD, ATOM, LANGID;
typedef int INT, *PINT, *LPINT, BOOL, *PBOOL, *LPBOOL, LONG, *PLONG, *LPLONG, HRESULT;
typedef unsigned int UINT, *PUINT, DWORD, *PDWORD, *LPDWORD, ULONG, *PULONG, LCID, LCTYPE, COLORREF;
typedef int64_t LONGLONG, *PLONGLONG, LONG64, INT64;
typedef uint64_t ULONGLONG, *PULONGLONG, DWORDLONG, ULONG64, UINT64, DWORD64;
typedef float FLOAT;
typedef intptr_t INT_PTR, *PINT_PTR, LONG_PTR, *PLONG_PTR;
typedef uintptr_t UINT_PTR, *PUINT_PTR, ULONG_PTR, *PULONG_PTR, DWORD_PTR, *PDWORD_PTR, SIZE_T,
    *PSIZE_T, *LPSIZE_T;
typedef intptr_t SSIZE_T;
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
#define MAKEWORD(a, b) ((WORD)(((BYTE)(a)) | ((WORD)((BYTE)(b))) << 8))
#define MAKELONG(a, b) ((LONG)(((WORD)(a)) | ((DWORD)((WORD)(b))) << 16))

typedef struct tagPOINT {
  LONG x;
  LONG y;
} POINT, *PPOINT, *LPPOINT;
typedef POINT POINTL, *PPOINTL;

typedef struct tagSIZE {
  LONG cx;
  LONG cy;
} SIZE, *PSIZE, *LPSIZE;
typedef SIZE SIZEL, *PSIZEL, *LPSIZEL;

typedef struct tagRECT {
  LONG left;
  LONG top;
  LONG right;
  LONG bottom;
} RECT, *PRECT, *LPRECT;
typedef const RECT* LPCRECT;
typedef RECT RECTL, *PRECTL, *LPRECTL;

typedef struct _FILETIME {
  DWORD dwLowDateTime;
  DWORD dwHighDateTime;
} FILETIME, *PFILETIME, *LPFILETIME;

typedef struct _GUID {
  DWORD Data1;
  WORD Data2;
  WORD Data3;
  BYTE Data4[8];
} GUID, UUID, IID, CLSID, *LPGUID;
typedef const GUID& REFGUID;
typedef const IID& REFIID;
typedef const CLSID& REFCLSID;
