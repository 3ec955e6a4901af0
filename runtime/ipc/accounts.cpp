#include "runtime/ipc/accounts.h"

#include <lmcons.h>
// lmaccess.h builds on lmcons.h.
#include <lmaccess.h>

#include "runtime/core/find_proc.h"
#include "runtime/core/startup_context.h"
#include "runtime/ipc/sid_text.h"
#include "runtime/text/format.h"
#include "runtime/text/wide_text.h"

namespace kv {
namespace {

constexpr DWORD kDomainCapacity = 256;
constexpr DWORD kShortDomainCapacity = 15;
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

// netapi32 is not part of every system; it stays for the life of the module.
const NetworkFunctions* BindNetwork() {
  NetworkFunctions& network = startupContext.network;
  if (!network.tried && startupContext.platform.ntKind != 0) {
    network.tried = TRUE;
    LoadedLibrary& library = startupContext.netapi32;
    library.Load(TEXT("netapi32.dll"), Quiet::kYes);
    network.bufferFree =
        FindProc<decltype(network.bufferFree)>(library.handle(), "NetApiBufferFree");
    network.userModalsGet =
        FindProc<decltype(network.userModalsGet)>(library.handle(), "NetUserModalsGet");
  }
  return network.bufferFree != nullptr && network.userModalsGet != nullptr ? &network : nullptr;
}

// The SID of the account domain with one more sub-authority; empty for a server that names no
// domain and without memory.
HeapSid MakeAccountSid(PSID domain, DWORD rid) {
  if (domain == nullptr) return HeapSid();
  const BYTE count = *GetSidSubAuthorityCount(domain);
  HeapSid sid = HeapSid::Allocate(GetSidLengthRequired(count + 1));
  if (!sid) return sid;
  if (!InitializeSid(sid.Get(), GetSidIdentifierAuthority(domain), count + 1)) {
    sid.Reset();
    return sid;
  }
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
  sid.Reset();
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
  const NetworkFunctions* const network = BindNetwork();
  if (network == nullptr) return FALSE;
  USER_MODALS_INFO_2* domain = nullptr;
  const DWORD status =
      network->userModalsGet(server, kDomainLevel, reinterpret_cast<BYTE**>(&domain));
  if (status != ERROR_SUCCESS) {
    SetLastError(status);
    return FALSE;
  }
  BOOL found = FALSE;
  HeapSid sid = MakeAccountSid(domain->usrmod2_domain_id, rid);
  if (sid) {
    WCHAR domainName[kShortDomainCapacity];
    DWORD domainSize = kShortDomainCapacity;
    SID_NAME_USE use;
    found = LookupAccountSidW(server, sid.Get(), output, capacity, domainName, &domainSize, &use);
  }
  sid.Reset();
  network->bufferFree(domain);
  return found;
}

}  // namespace kv
