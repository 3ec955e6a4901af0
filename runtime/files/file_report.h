// The box that a failed operation on a file shows.
#pragma once

#include "runtime/core/win.h"

namespace kv {

// Shows string `number` with the file's name and the reason, the system's words for `error`.
// Returns FALSE, for the caller to return.
BOOL ReportFileError(UINT number, LPCWSTR fileName, DWORD error);

}  // namespace kv
