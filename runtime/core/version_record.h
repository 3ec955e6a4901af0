// What the system says of its version.
#pragma once

#include "runtime/core/win.h"

namespace kv {

struct VersionRecord {
  OSVERSIONINFOEXW info = {};
  // Whether the fields behind the service pack's text are filled: the product type and the suites
  // are known then only.
  bool extended = false;

  WORD version() const { return MakeVersion(info.dwMajorVersion, info.dwMinorVersion); }
  bool IsWorkstation() const { return extended && info.wProductType == VER_NT_WORKSTATION; }
  bool IsServer() const {
    return extended &&
           (info.wProductType == VER_NT_DOMAIN_CONTROLLER || info.wProductType == VER_NT_SERVER);
  }
  bool HasSuite(WORD flag) const { return (info.wSuiteMask & flag) != 0; }

  // major * 256 + minor.
  static constexpr WORD MakeVersion(DWORD major, DWORD minor) {
    return static_cast<WORD>(major * 256 + minor);
  }
};

// Reads the extended record, or the plain one where the system has no other; FALSE when it tells
// neither. Major and minor version are the product version of user32.dll when that has one, because
// GetVersionExW reports 6.2 to programs without a manifest on everything newer.
BOOL ReadVersionRecord(VersionRecord& record);

// "ProductType" of the registry ("WinNt", "ServerNt"), for systems whose version record does not
// tell; empty when it cannot be read. `text` holds at most 256 characters and a terminator.
void ReadProductType(WCHAR (&text)[257]);

}  // namespace kv
