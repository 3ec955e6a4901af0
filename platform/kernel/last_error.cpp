#include <windows.h>

#include "platform/kernel/api_call.h"

namespace {
thread_local DWORD last_error = ERROR_SUCCESS;
}

// No entry lines here: these two are the ground on which the others report.
DWORD WINAPI GetLastError() {
  return last_error;
}
void WINAPI SetLastError(DWORD code) {
  last_error = code;
}
