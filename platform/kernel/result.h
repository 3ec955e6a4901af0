// The usual end of functions that answer with a BOOL.
#pragma once

#include <windows.h>

namespace platform {

// TRUE for ERROR_SUCCESS; else FALSE with the error as last error.
inline BOOL Finish(DWORD error) {
  if (error == ERROR_SUCCESS) return TRUE;
  SetLastError(error);
  return FALSE;
}

}  // namespace platform
