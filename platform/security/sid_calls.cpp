// SIDs in the caller's memory.
#include <windows.h>

#include <algorithm>
#include <cstring>

#include "platform/kernel/api_call.h"
#include "platform/kernel/counted_blocks.h"
#include "platform/security/rights.h"
#include "platform/security/sid.h"

namespace platform {
namespace {

CountedBlocks& allocated() {
  static CountedBlocks* instance = new CountedBlocks(Resource::kSid);
  return *instance;
}

DWORD LengthOf(PSID sid) {
  return 8 + 4 * static_cast<const SID*>(sid)->SubAuthorityCount;
}

void Initialize(PSID memory, const SID_IDENTIFIER_AUTHORITY& authority, BYTE count) {
  auto* sid = static_cast<SID*>(memory);
  sid->Revision = SID_REVISION;
  sid->SubAuthorityCount = count;
  sid->IdentifierAuthority = authority;
}

}  // namespace
}  // namespace platform

using namespace platform;

BOOL WINAPI AllocateAndInitializeSid(PSID_IDENTIFIER_AUTHORITY authority, BYTE count, DWORD first,
                                     DWORD second, DWORD third, DWORD fourth, DWORD fifth,
                                     DWORD sixth, DWORD seventh, DWORD eighth, PSID* sid) {
  KV_API(AllocateAndInitializeSid, ERROR_NOT_ENOUGH_MEMORY, FALSE, authority, count, first, second,
         third, fourth, fifth, sixth, seventh, eighth, sid);
  if (!RequireNtFamily()) return FALSE;
  const DWORD sub_authorities[] = {first, second, third, fourth, fifth, sixth, seventh, eighth};
  if (count > std::size(sub_authorities)) {
    SetLastError(ERROR_INVALID_SID);
    return FALSE;
  }
  *sid = allocated().Allocate(8 + 4 * count);
  Initialize(*sid, *authority, count);
  std::copy_n(sub_authorities, count, static_cast<SID*>(*sid)->SubAuthority);
  return TRUE;
}

PVOID WINAPI FreeSid(PSID sid) {
  KV_API_NOFAIL(FreeSid, sid, sid);
  return allocated().Free(sid) ? nullptr : sid;
}

BOOL WINAPI CopySid(DWORD capacity, PSID destination, PSID source) {
  KV_API(CopySid, ERROR_INSUFFICIENT_BUFFER, FALSE, capacity, destination, source);
  if (!Sid::IsValid(source)) {
    SetLastError(ERROR_INVALID_SID);
    return FALSE;
  }
  if (capacity < LengthOf(source)) {
    SetLastError(ERROR_INSUFFICIENT_BUFFER);
    return FALSE;
  }
  std::memmove(destination, source, LengthOf(source));
  return TRUE;
}

BOOL WINAPI EqualSid(PSID a, PSID b) {
  KV_API_NOFAIL(EqualSid, FALSE, a, b);
  return LengthOf(a) == LengthOf(b) && std::memcmp(a, b, LengthOf(a)) == 0;
}

DWORD WINAPI GetSidLengthRequired(UCHAR count) {
  KV_API_NOFAIL(GetSidLengthRequired, 0, count);
  return 8 + 4 * count;
}

PSID_IDENTIFIER_AUTHORITY WINAPI GetSidIdentifierAuthority(PSID sid) {
  KV_API_NOFAIL(GetSidIdentifierAuthority, nullptr, sid);
  return &static_cast<SID*>(sid)->IdentifierAuthority;
}

PDWORD WINAPI GetSidSubAuthority(PSID sid, DWORD index) {
  KV_API_NOFAIL(GetSidSubAuthority, nullptr, sid, index);
  return static_cast<SID*>(sid)->SubAuthority + index;
}

PUCHAR WINAPI GetSidSubAuthorityCount(PSID sid) {
  KV_API_NOFAIL(GetSidSubAuthorityCount, nullptr, sid);
  return &static_cast<SID*>(sid)->SubAuthorityCount;
}

BOOL WINAPI InitializeSid(PSID sid, PSID_IDENTIFIER_AUTHORITY authority, BYTE count) {
  KV_API(InitializeSid, ERROR_INVALID_PARAMETER, FALSE, sid, authority, count);
  if (count > SID_MAX_SUB_AUTHORITIES) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return FALSE;
  }
  Initialize(sid, *authority, count);
  return TRUE;
}

BOOL WINAPI IsValidSid(PSID sid) {
  KV_API_NOFAIL(IsValidSid, FALSE, sid);
  return Sid::IsValid(sid);
}
