// The shell's folders.
#pragma once

#include <objbase.h>
#include <shellapi.h>
#include <shobjidl.h>

#define CSIDL_DESKTOP 0x0000
#define CSIDL_INTERNET 0x0001
#define CSIDL_PROGRAMS 0x0002
#define CSIDL_PRINTERS 0x0004
#define CSIDL_PERSONAL 0x0005
#define CSIDL_STARTUP 0x0007
#define CSIDL_STARTMENU 0x000B
#define CSIDL_DESKTOPDIRECTORY 0x0010
#define CSIDL_DRIVES 0x0011
#define CSIDL_COMMON_STARTMENU 0x0016
#define CSIDL_COMMON_PROGRAMS 0x0017
#define CSIDL_COMMON_STARTUP 0x0018
#define CSIDL_APPDATA 0x001A
#define CSIDL_LOCAL_APPDATA 0x001C

extern "C" {
// The list of a special folder, one of the above, from the task allocator. E_FAIL when the user has
// no such folder, E_INVALIDARG for other numbers.
HRESULT WINAPI SHGetSpecialFolderLocation(HWND owner, int folder, PIDLIST_ABSOLUTE* list);
// The root of the shell's name space.
HRESULT WINAPI SHGetDesktopFolder(IShellFolder** folder);
}
