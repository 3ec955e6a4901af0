// Security descriptors as text.
#pragma once

#include <securitybaseapi.h>

#define SDDL_REVISION_1 1

extern "C" {
// The descriptor is the caller's to free with LocalFree.
BOOL WINAPI ConvertStringSecurityDescriptorToSecurityDescriptorW(LPCWSTR text, DWORD revision,
                                                                 PSECURITY_DESCRIPTOR* descriptor,
                                                                 ULONG* size);
}
