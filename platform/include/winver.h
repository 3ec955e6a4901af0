// Version resources.
#pragma once

#include <winnt.h>

#define VS_FFI_SIGNATURE 0xFEEF04BD
#define VS_FFI_STRUCVERSION 0x00010000
#define VS_FFI_FILEFLAGSMASK 0x0000003F
#define VOS_NT_WINDOWS32 0x00040004
#define VFT_DLL 0x00000002

typedef struct tagVS_FIXEDFILEINFO {
  DWORD dwSignature;
  DWORD dwStrucVersion;
  DWORD dwFileVersionMS;
  DWORD dwFileVersionLS;
  DWORD dwProductVersionMS;
  DWORD dwProductVersionLS;
  DWORD dwFileFlagsMask;
  DWORD dwFileFlags;
  DWORD dwFileOS;
  DWORD dwFileType;
  DWORD dwFileSubtype;
  DWORD dwFileDateMS;
  DWORD dwFileDateLS;
} VS_FIXEDFILEINFO;
static_assert(sizeof(VS_FIXEDFILEINFO) == 52);

extern "C" {
DWORD WINAPI GetFileVersionInfoSizeW(LPCWSTR path, LPDWORD unused);
BOOL WINAPI GetFileVersionInfoW(LPCWSTR path, DWORD unused, DWORD size, LPVOID block);
// The value at a path ("\\StringFileInfo\\040904b0\\ProductName") as it lies in the block. The
// length is what the resource says, in characters of texts where its writer kept to the rules:
// nothing vouches for as many being there, or for a text's terminator.
BOOL WINAPI VerQueryValueW(LPCVOID block, LPCWSTR query, LPVOID* value, PUINT length);
}
