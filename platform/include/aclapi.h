// The security of objects by their names.
#pragma once

#include <accctrl.h>
#include <windows.h>

extern "C" {
// Gives everybody every right to a file or directory: SE_FILE_OBJECT, DACL_SECURITY_INFORMATION and
// no list. ERROR_CALL_NOT_IMPLEMENTED for anything else. Returns the error code.
DWORD WINAPI SetNamedSecurityInfoW(LPWSTR name, SE_OBJECT_TYPE type, SECURITY_INFORMATION parts,
                                   PSID owner, PSID group, PACL dacl, PACL sacl);
}
