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
// Takes the name, which may lie in `parts`, apart. FALSE, with both parts empty, for a name without
// a printer part and when a part has more than 259 characters: cut, it would name another printer.
BOOL SplitConnectionName(LPCWSTR name, ConnectionName& parts);

// Whether keys and values can be named after a printer: "printer" or "\\server\printer", with
// neither part empty, with a backslash or of more than 259 characters.
BOOL IsPrinterName(LPCWSTR name);

// The name as registry keys carry it: every backslash becomes a comma. FALSE, with an empty output,
// for a name of more than 259 characters. `name` may be `output`.
BOOL MakeKeyName(LPCWSTR name, WCHAR (&output)[MAX_PATH]);

}  // namespace kv
