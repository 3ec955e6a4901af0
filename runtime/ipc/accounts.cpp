#include "runtime/ipc/accounts.h"

#include <lmcons.h>
// lmaccess.h builds on lmcons.h.
#include <lmaccess.h>

#include "runtime/core/find_proc.h"
#include "runtime/core/last_error.h"
#include "runtime/core/startup_context.h"
#include "runtime/ipc/sid_text.h"
#include "runtime/text/format.h"
#include "runtime/text/wide_text.h"

namespace kv {
namespace {

constexpr DWORD kDomainCapacity = 256;
constexpr DWORD kDomainLevel = 2;

// Joins the computer's name and an account name.
constexpr int kQualifiedCapacity = kComputerNameCapacity + 1 + kUserNameCapacity;

// The account's SID and kind; FALSE on failure.
BOOL LookUpSid(LPCWSTR account, HeapSid& sid, SID_NAME_USE& use) {
  WCHAR domain[kDomainCapacity];
  DWORD domainSize = kDomainCapacity, sidSize = 0;
  if (LookupAccountNameW(nullptr, account, nullptr, &sidSize, domain, &domainSize, &use) ||
      GetLastError() != ERROR_INSUFFICIENT_BUFFER) {
    return FALSE;
  }
  sid = HeapSid::Allocate(sidSize);
  if (!sid) {
    ShowInternalError(TEXT("GetCurrentUserSid: could not allocate SID"));
    return FALSE;
  }
  domainSize = kDomainCapacity;
  return LookupAccountNameW(nullptr, account, sid.Get(), &sidSize, domain, &domainSize, &use);
}

struct NetworkFunctions {
  DWORD(WINAPI* bufferFree)(void* buffer);
  DWORD(WINAPI* userModalsGet)(LPCWSTR server, DWORD level, BYTE** buffer);
};

// netapi32 is not part of every system; it stays for the life of the module. FALSE where it is
// missing.
BOOL BindNetwork(NetworkFunctions& network) {
  if (startupContext.platform.ntKind == 0 || startupContext.netapi32IsMissing) return FALSE;
  const HMODULE library = startupContext.netapi32.LoadOnce(TEXT("netapi32.dll"));
  network.bufferFree = FindProc<decltype(network.bufferFree)>(library, "NetApiBufferFree");
  network.userModalsGet = FindProc<decltype(network.userModalsGet)>(library, "NetUserModalsGet");
  const bool found = network.bufferFree != nullptr && network.userModalsGet != nullptr;
  if (!found) startupContext.netapi32IsMissing = true;
  return found;
}

// The SID of the account domain with one more sub-authority; empty, with the last error, for a
// server that names no domain and without memory.
HeapSid MakeAccountSid(PSID domain, DWORD rid) {
  SetLastError(ERROR_NO_SUCH_DOMAIN);
  if (domain == nullptr) return HeapSid();
  const BYTE count = *GetSidSubAuthorityCount(domain);
  HeapSid sid = HeapSid::Allocate(GetSidLengthRequired(count + 1));
  SetLastError(ERROR_NOT_ENOUGH_MEMORY);
  if (!sid) return sid;
  if (!InitializeSid(sid.Get(), GetSidIdentifierAuthority(domain), count + 1)) return HeapSid();
  for (BYTE i = 0; i < count; ++i) {
    *GetSidSubAuthority(sid.Get(), i) = *GetSidSubAuthority(domain, i);
  }
  *GetSidSubAuthority(sid.Get(), count) = rid;
  return sid;
}

}  // namespace

WCHAR ReadComputerName(WCHAR (&output)[kComputerNameCapacity]) {
  DWORD size = kComputerNameCapacity;
  if (!GetComputerNameW(output, &size)) {
    ShowLastError(TEXT("GetComputerName"));
    output[0] = 0;
  }
  return output[0];
}

WCHAR ReadUserName(WCHAR (&output)[kUserNameCapacity]) {
  DWORD size = kUserNameCapacity;
  if (!GetUserNameW(output, &size)) output[0] = 0;
  return output[0];
}

HeapSid GetAccountSid(LPCWSTR account) {
  HeapSid sid;
  SID_NAME_USE use = SidTypeUnknown;
  if (!LookUpSid(account, sid, use)) return HeapSid();
  if (use == SidTypeUser || use == SidTypeWellKnownGroup) return sid;
  // A qualified name that leads to a domain again would not end.
  if (use != SidTypeDomain || View(account).find('\\') != WideView::npos) return HeapSid();
  // The name is the computer's as well: ask for the computer's account of that name.
  WCHAR computer[kComputerNameCapacity], qualified[kQualifiedCapacity];
  if (ReadComputerName(computer) == 0 ||
      !FormatText(qualified, TEXT("%s\\%s"), static_cast<LPCWSTR>(computer), account)) {
    return HeapSid();
  }
  return GetAccountSid(qualified);
}

HeapSid GetCurrentUserSid() {
  WCHAR name[kUserNameCapacity];
  return ReadUserName(name) != 0 ? GetAccountSid(name) : HeapSid();
}

WCHAR GetCurrentUserSidString(LPWSTR output) {
  SidToString(GetCurrentUserSid().Get(), output);
  return output[0];
}

BOOL IsSystemAccount() {
  WCHAR sid[kSidTextCapacity];
  GetCurrentUserSidString(sid);
  for (const LPCWSTR system : {TEXT("S-1-5-18"), TEXT(".DEFAULT"), TEXT("LocalSystem")}) {
    if (EqualAsciiNoCase(sid, system)) return TRUE;
  }
  return FALSE;
}

BOOL LookupAccountByRid(LPCWSTR server, DWORD rid, LPWSTR output, DWORD* capacity) {
  NetworkFunctions network;
  if (!BindNetwork(network)) return FailWith(ERROR_PROC_NOT_FOUND);
  USER_MODALS_INFO_2* domain = nullptr;
  const DWORD status =
      network.userModalsGet(server, kDomainLevel, reinterpret_cast<BYTE**>(&domain));
  if (status != ERROR_SUCCESS) return FailWith(status);
  BOOL found = FALSE;
  if (const HeapSid sid = MakeAccountSid(domain->usrmod2_domain_id, rid)) {
    WCHAR domainName[kDomainCapacity];
    DWORD domainSize = kDomainCapacity;
    SID_NAME_USE use;
    found = LookupAccountSidW(server, sid.Get(), output, capacity, domainName, &domainSize, &use);
  }
  const LastErrorScope scope;
  network.bufferFree(domain);
  return found;
}

}  // namespace kv
