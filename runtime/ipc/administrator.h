// Whether the user may administer the machine.
#pragma once

#include "runtime/core/win.h"

namespace kv {

// Relative ids of mandatory labels: the integrity levels.
enum IntegrityLevel : DWORD {
  kUnknownIntegrity = 0,
  kLowIntegrity = 0x1000,
  kMediumIntegrity = 0x2000,
  kHighIntegrity = 0x3000,
  kSystemIntegrity = 0x4000,
};

// 1 when the effective token holds the Administrators group, 0 when not, -1 when the test failed.
//
// `elevated` and `integrityLevel` may be null. Both are cleared first. From Windows Vista on
// *elevated becomes non-zero for an elevated token and *integrityLevel the token's level; a caller
// without `elevated` gets 1 only for an elevated administrator, one with it gets 1 for every
// administrator and reads the elevation there. Before Vista every answer but 0 sets *elevated to 1
// and *integrityLevel to kHighIntegrity.
int IsAdministrator(DWORD* elevated = nullptr, DWORD* integrityLevel = nullptr);

// The integrity level of `token`, which needs TOKEN_QUERY; null: of the effective token.
// kUnknownIntegrity when it cannot be read, as on every system before Vista.
DWORD GetIntegrityLevel(HANDLE token = nullptr);

}  // namespace kv
