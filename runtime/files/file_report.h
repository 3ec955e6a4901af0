// How operations on files fail.
#pragma once

#include "runtime/core/messages.h"

namespace kv {

// Shows string `number` with the file's name and the reason, the system's words for `error`: FALSE,
// for the caller to return, with that last error.
BOOL ReportFileError(UINT number, LPCWSTR fileName, DWORD error);

}  // namespace kv
