// Security descriptors and access lists in the caller's memory.
#include <windows.h>

#include <cstring>

#include "platform/kernel/api_call.h"
#include "platform/kernel/result.h"
#include "platform/security/sid.h"

namespace platform {
namespace {

// What one part of a descriptor of either form points to.
struct DescriptorParts {
  SECURITY_DESCRIPTOR_CONTROL control;
  BYTE* owner;
  BYTE* sacl;
  BYTE* dacl;
};

// False, with the last error, when it is no descriptor.
bool Take(PSECURITY_DESCRIPTOR descriptor, DescriptorParts& parts) {
  if (descriptor == nullptr ||
      static_cast<const BYTE*>(descriptor)[0] != SECURITY_DESCRIPTOR_REVISION) {
    SetLastError(descriptor == nullptr ? ERROR_INVALID_PARAMETER : ERROR_UNKNOWN_REVISION);
    return false;
  }
  auto* bytes = static_cast<BYTE*>(descriptor);
  std::memcpy(&parts.control, bytes + 2, sizeof parts.control);
  if ((parts.control & SE_SELF_RELATIVE) == 0) {
    const auto* absolute = static_cast<const SECURITY_DESCRIPTOR*>(descriptor);
    parts.owner = static_cast<BYTE*>(absolute->Owner);
    parts.sacl = reinterpret_cast<BYTE*>(absolute->Sacl);
    parts.dacl = reinterpret_cast<BYTE*>(absolute->Dacl);
    return true;
  }
  DWORD offsets[4];  // owner, group, SACL, DACL
  std::memcpy(offsets, bytes + 4, sizeof offsets);
  const auto at = [&](DWORD offset) { return offset == 0 ? nullptr : bytes + offset; };
  parts.owner = at(offsets[0]);
  parts.sacl = at(offsets[2]);
  parts.dacl = at(offsets[3]);
  return true;
}

BOOL GetAcl(const DescriptorParts& parts, BYTE* acl, WORD present_bit, WORD defaulted_bit,
            LPBOOL present, PACL* result, LPBOOL defaulted) {
  *present = (parts.control & present_bit) != 0;
  if (!*present) return TRUE;
  *result = reinterpret_cast<PACL>(acl);
  *defaulted = (parts.control & defaulted_bit) != 0;
  return TRUE;
}

// The descriptor as one that a program builds; null with the last error otherwise.
SECURITY_DESCRIPTOR* ToChange(PSECURITY_DESCRIPTOR descriptor) {
  auto* absolute = static_cast<SECURITY_DESCRIPTOR*>(descriptor);
  if (absolute->Revision != SECURITY_DESCRIPTOR_REVISION) {
    SetLastError(ERROR_UNKNOWN_REVISION);
    return nullptr;
  }
  if ((absolute->Control & SE_SELF_RELATIVE) != 0) {
    SetLastError(ERROR_INVALID_SECURITY_DESCR);
    return nullptr;
  }
  return absolute;
}

void SetBits(SECURITY_DESCRIPTOR_CONTROL& control, WORD bits, bool on) {
  control = static_cast<WORD>(on ? control | bits : control & ~bits);
}

}  // namespace
}  // namespace platform

using namespace platform;

BOOL WINAPI InitializeSecurityDescriptor(PSECURITY_DESCRIPTOR descriptor, DWORD revision) {
  KV_API(InitializeSecurityDescriptor, ERROR_UNKNOWN_REVISION, FALSE, descriptor, revision);
  if (revision != SECURITY_DESCRIPTOR_REVISION) return Finish(ERROR_UNKNOWN_REVISION);
  auto* absolute = static_cast<SECURITY_DESCRIPTOR*>(descriptor);
  *absolute = {};
  absolute->Revision = SECURITY_DESCRIPTOR_REVISION;
  return TRUE;
}

BOOL WINAPI SetSecurityDescriptorDacl(PSECURITY_DESCRIPTOR descriptor, BOOL present, PACL dacl,
                                      BOOL defaulted) {
  KV_API(SetSecurityDescriptorDacl, ERROR_INVALID_SECURITY_DESCR, FALSE, descriptor, present, dacl,
         defaulted);
  SECURITY_DESCRIPTOR* const changed = ToChange(descriptor);
  if (changed == nullptr) return FALSE;
  SetBits(changed->Control, SE_DACL_PRESENT, present);
  SetBits(changed->Control, SE_DACL_DEFAULTED, present && defaulted);
  changed->Dacl = present ? dacl : nullptr;
  return TRUE;
}

BOOL WINAPI SetSecurityDescriptorSacl(PSECURITY_DESCRIPTOR descriptor, BOOL present, PACL sacl,
                                      BOOL defaulted) {
  KV_API(SetSecurityDescriptorSacl, ERROR_INVALID_SECURITY_DESCR, FALSE, descriptor, present, sacl,
         defaulted);
  SECURITY_DESCRIPTOR* const changed = ToChange(descriptor);
  if (changed == nullptr) return FALSE;
  SetBits(changed->Control, SE_SACL_PRESENT, present);
  SetBits(changed->Control, SE_SACL_DEFAULTED, present && defaulted);
  changed->Sacl = present ? sacl : nullptr;
  return TRUE;
}

BOOL WINAPI GetSecurityDescriptorDacl(PSECURITY_DESCRIPTOR descriptor, LPBOOL present, PACL* dacl,
                                      LPBOOL defaulted) {
  KV_API(GetSecurityDescriptorDacl, ERROR_INVALID_SECURITY_DESCR, FALSE, descriptor, present, dacl,
         defaulted);
  DescriptorParts parts;
  return Take(descriptor, parts) &&
         GetAcl(parts, parts.dacl, SE_DACL_PRESENT, SE_DACL_DEFAULTED, present, dacl, defaulted);
}

BOOL WINAPI GetSecurityDescriptorSacl(PSECURITY_DESCRIPTOR descriptor, LPBOOL present, PACL* sacl,
                                      LPBOOL defaulted) {
  KV_API(GetSecurityDescriptorSacl, ERROR_INVALID_SECURITY_DESCR, FALSE, descriptor, present, sacl,
         defaulted);
  DescriptorParts parts;
  return Take(descriptor, parts) &&
         GetAcl(parts, parts.sacl, SE_SACL_PRESENT, SE_SACL_DEFAULTED, present, sacl, defaulted);
}

BOOL WINAPI GetSecurityDescriptorOwner(PSECURITY_DESCRIPTOR descriptor, PSID* owner,
                                       LPBOOL defaulted) {
  KV_API(GetSecurityDescriptorOwner, ERROR_INVALID_SECURITY_DESCR, FALSE, descriptor, owner,
         defaulted);
  DescriptorParts parts;
  if (!Take(descriptor, parts)) return FALSE;
  *owner = parts.owner;
  *defaulted = (parts.control & SE_OWNER_DEFAULTED) != 0;
  return TRUE;
}

BOOL WINAPI GetAclInformation(PACL acl, LPVOID information, DWORD size,
                              ACL_INFORMATION_CLASS information_class) {
  KV_API(GetAclInformation, ERROR_INVALID_PARAMETER, FALSE, acl, information, size,
         information_class);
  if (information_class != AclSizeInformation) return Finish(ERROR_CALL_NOT_IMPLEMENTED);
  if (acl == nullptr || acl->AclRevision < ACL_REVISION) return Finish(ERROR_INVALID_PARAMETER);
  if (size < sizeof(ACL_SIZE_INFORMATION)) return Finish(ERROR_INSUFFICIENT_BUFFER);
  DWORD used = sizeof(ACL);
  for (WORD i = 0; i < acl->AceCount; ++i) {
    const auto* ace = reinterpret_cast<const ACE_HEADER*>(reinterpret_cast<BYTE*>(acl) + used);
    used += ace->AceSize;
  }
  *static_cast<ACL_SIZE_INFORMATION*>(information) = {acl->AceCount, used, acl->AclSize - used};
  return TRUE;
}

BOOL WINAPI GetAce(PACL acl, DWORD index, LPVOID* ace) {
  KV_API(GetAce, ERROR_INVALID_PARAMETER, FALSE, acl, index, ace);
  if (index >= acl->AceCount) return Finish(ERROR_INVALID_PARAMETER);
  BYTE* at = reinterpret_cast<BYTE*>(acl) + sizeof(ACL);
  for (; index != 0; --index) at += reinterpret_cast<const ACE_HEADER*>(at)->AceSize;
  *ace = at;
  return TRUE;
}
