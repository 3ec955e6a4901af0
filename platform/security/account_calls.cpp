// Accounts by name and by SID.
#include <lmaccess.h>
#include <lmapibuf.h>
#include <windows.h>

#include <algorithm>
#include <cstring>

#include "platform/kernel/api_call.h"
#include "platform/kernel/buffer.h"
#include "platform/kernel/counted_blocks.h"
#include "platform/kernel/result.h"
#include "platform/security/rights.h"
#include "platform/security/token.h"

namespace platform {
namespace {

CountedBlocks& network_buffers() {
  static CountedBlocks* instance = new CountedBlocks(Resource::kNetworkBuffer);
  return *instance;
}

// Both texts, or nothing and the sizes that they need; characters.
BOOL CopyTexts(const WideString& first, LPWSTR first_buffer, LPDWORD first_size,
               const WideString& second, LPWSTR second_buffer, LPDWORD second_size) {
  const bool fit = *first_size > first.size() && *second_size > second.size();
  if (!fit) {
    *first_size = static_cast<DWORD>(first.size() + 1);
    *second_size = static_cast<DWORD>(second.size() + 1);
    return Finish(ERROR_INSUFFICIENT_BUFFER);
  }
  *first_size = CopyOut(first, first_buffer, *first_size);
  *second_size = CopyOut(second, second_buffer, *second_size);
  return TRUE;
}

}  // namespace
}  // namespace platform

using namespace platform;

BOOL WINAPI GetUserNameW(LPWSTR buffer, LPDWORD size) {
  KV_API(GetUserNameW, ERROR_ACCESS_DENIED, FALSE, buffer, size);
  const WideString name = EffectiveToken()->Owner().name();
  const bool fits = *size > name.size();
  CopyOut(name, buffer, *size);
  *size = static_cast<DWORD>(name.size() + 1);
  return fits ? TRUE : Finish(ERROR_INSUFFICIENT_BUFFER);
}

BOOL WINAPI LookupAccountNameW(LPCWSTR system, LPCWSTR account, PSID sid, LPDWORD sid_size,
                               LPWSTR domain, LPDWORD domain_size, PSID_NAME_USE use) {
  KV_API(LookupAccountNameW, ERROR_NONE_MAPPED, FALSE, system, account, sid, sid_size, domain,
         domain_size, use);
  if (!RequireNtFamily() || !RequireThisSystem(system)) return FALSE;
  const std::optional<Account> found = FindAccount(View(account));
  if (!found) return Finish(ERROR_NONE_MAPPED);
  const std::vector<uint8_t>& bytes = found->sid.bytes();
  const bool sid_fits = sid != nullptr && *sid_size >= bytes.size();
  const bool domain_fits = *domain_size > found->domain.size();
  *sid_size = static_cast<DWORD>(bytes.size());
  if (!sid_fits || !domain_fits) {
    *domain_size = static_cast<DWORD>(found->domain.size() + 1);
    return Finish(ERROR_INSUFFICIENT_BUFFER);
  }
  std::memcpy(sid, bytes.data(), bytes.size());
  *domain_size = CopyOut(found->domain, domain, *domain_size);
  *use = found->use;
  return TRUE;
}

BOOL WINAPI LookupAccountSidW(LPCWSTR system, PSID sid, LPWSTR name, LPDWORD name_size,
                              LPWSTR domain, LPDWORD domain_size, PSID_NAME_USE use) {
  KV_API(LookupAccountSidW, ERROR_NONE_MAPPED, FALSE, system, sid, name, name_size, domain,
         domain_size, use);
  if (!RequireNtFamily() || !RequireThisSystem(system)) return FALSE;
  const std::optional<Sid> wanted = Sid::FromMemory(sid);
  if (!wanted) return Finish(ERROR_INVALID_PARAMETER);
  const std::optional<Account> found = FindAccount(*wanted);
  if (!found) return Finish(ERROR_NONE_MAPPED);
  *use = found->use;
  return CopyTexts(found->name, name, name_size, found->domain, domain, domain_size);
}

NET_API_STATUS WINAPI NetUserModalsGet(LPCWSTR server, DWORD level, LPBYTE* buffer) {
  KV_API_STATUS(NetUserModalsGet, ERROR_ACCESS_DENIED, server, level, buffer);
  if (level != 2) return ERROR_CALL_NOT_IMPLEMENTED;
  const DWORD last_error = GetLastError();
  if (!RequireThisSystem(server)) {
    SetLastError(last_error);
    return RPC_S_SERVER_UNAVAILABLE;
  }
  const WideString name = ComputerName();
  const std::vector<uint8_t> sid = AccountDomainSid().bytes();
  auto* block = static_cast<BYTE*>(network_buffers().Allocate(
      sizeof(USER_MODALS_INFO_2) + sid.size() + (name.size() + 1) * sizeof(WCHAR)));
  auto* info = reinterpret_cast<USER_MODALS_INFO_2*>(block);
  info->usrmod2_domain_id = std::copy(sid.begin(), sid.end(), block + sizeof *info) - sid.size();
  info->usrmod2_domain_name = reinterpret_cast<LPWSTR>(block + sizeof *info + sid.size());
  std::copy_n(name.c_str(), name.size() + 1, info->usrmod2_domain_name);
  *buffer = block;
  return NERR_Success;
}

NET_API_STATUS WINAPI NetApiBufferFree(LPVOID buffer) {
  KV_API_NOFAIL(NetApiBufferFree, ERROR_INVALID_PARAMETER, buffer);
  return buffer == nullptr || network_buffers().Free(buffer) ? NERR_Success
                                                             : ERROR_INVALID_PARAMETER;
}
