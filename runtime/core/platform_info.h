// Which Windows the module runs on, in a few numbers.
#pragma once

#include "runtime/core/win.h"

namespace kv {

// `ntKind` of the systems that code asks for by name.
enum NtKind : DWORD {
  kNt4 = 1,
  kWindows2000 = 2,
  kWindowsXp = 3,
  kServer2003 = 4,
  kWindowsVista = 5,
  kServer2008 = 6,  // and Server 2008 R2
  kWindows7 = 7,
  kWindows8 = 8,
  kWindows81 = 9,  // and Server 2012 R2
  kServer2012 = 10,
  kWindows10 = 11,  // and its servers
  kNewerNt = 255,
};

struct PlatformFacts {
  DWORD win9xKind;  // 0 on the NT family; 1 Windows 95, 2 Windows 98, 3 Windows Me
  DWORD ntKind;     // an NtKind; 0 on the 9x family
  DWORD wow64Arch;  // 0, or under WOW64 the native architecture: 9 (AMD64), else 0xFFFF
  DWORD isServer;   // 1 on server and domain-controller editions
  WORD osMajor;     // the version that user32.dll carries, else the reported one
  WORD osMinor;
  WORD servicePackMajor;
  WORD comctlMajor;  // major version of comctl32.dll
};

// Fills the facts whose pointers are not null; each is 0 where nothing can be found out. Versions
// follow the product version of user32.dll, because GetVersionExW reports 6.2 to programs without a
// manifest on everything newer.
void GetPlatformInfo(DWORD* win9xKind, DWORD* ntKind, DWORD* wow64Arch, DWORD* isServer,
                     WORD* osMajor, WORD* osMinor, WORD* servicePackMajor, WORD* comctlMajor);
// All eight.
void ReadPlatformFacts(PlatformFacts& facts);

// PlatformFacts::wow64Arch.
DWORD GetWow64Arch();

}  // namespace kv
