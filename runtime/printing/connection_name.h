// Names of printers on other servers: "\\server\printer".
#pragma once

#include "runtime/core/win.h"

namespace kv {

// Whether the name begins as that of a printer on a server does; null counts as empty.
BOOL IsConnectionName(LPCWSTR name);

struct ConnectionName {
  WCHAR server[MAX_PATH];  // without backslashes
  WCHAR printer[MAX_PATH];
};
// Takes the name apart, each part cut to 259 characters; FALSE for a name without a printer part.
BOOL SplitConnectionName(LPCWSTR name, ConnectionName& parts);

// The name as registry keys carry it: every backslash becomes a comma; cut to 259 characters.
void MakeKeyName(LPCWSTR name, WCHAR (&output)[MAX_PATH]);

}  // namespace kv
