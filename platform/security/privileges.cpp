#include "platform/security/privileges.h"

#include <iterator>

#include "platform/kernel/api_call.h"
#include "platform/security/rights.h"

namespace platform {
namespace {

constexpr auto kAll = PrivilegeHolders::kEveryone;
constexpr auto kAdmin = PrivilegeHolders::kAdministrators;
constexpr auto kSystem = PrivilegeHolders::kSystem;

constexpr Privilege kPrivileges[] = {
    {TEXT("SeCreateTokenPrivilege"), 2, kSystem, false},
    {TEXT("SeAssignPrimaryTokenPrivilege"), 3, kSystem, false},
    {TEXT("SeLockMemoryPrivilege"), 4, kSystem, true},
    {TEXT("SeIncreaseQuotaPrivilege"), 5, kAdmin, false},
    {TEXT("SeTcbPrivilege"), 7, kSystem, true},
    {TEXT("SeSecurityPrivilege"), 8, kAdmin, false},
    {TEXT("SeTakeOwnershipPrivilege"), 9, kAdmin, false},
    {TEXT("SeLoadDriverPrivilege"), 10, kAdmin, false},
    {TEXT("SeSystemProfilePrivilege"), 11, kAdmin, false},
    {TEXT("SeSystemtimePrivilege"), 12, kAdmin, false},
    {TEXT("SeProfileSingleProcessPrivilege"), 13, kAdmin, false},
    {TEXT("SeIncreaseBasePriorityPrivilege"), 14, kAdmin, false},
    {TEXT("SeCreatePagefilePrivilege"), 15, kAdmin, false},
    {TEXT("SeCreatePermanentPrivilege"), 16, kSystem, true},
    {TEXT("SeBackupPrivilege"), 17, kAdmin, false},
    {TEXT("SeRestorePrivilege"), 18, kAdmin, false},
    {TEXT("SeShutdownPrivilege"), 19, kAll, false},
    {TEXT("SeDebugPrivilege"), 20, kAdmin, false},
    {TEXT("SeAuditPrivilege"), 21, kSystem, true},
    {TEXT("SeSystemEnvironmentPrivilege"), 22, kAdmin, false},
    {TEXT("SeChangeNotifyPrivilege"), 23, kAll, true},
    {TEXT("SeRemoteShutdownPrivilege"), 24, kAdmin, false},
    {TEXT("SeUndockPrivilege"), 25, kAll, false},
    {TEXT("SeManageVolumePrivilege"), 28, kAdmin, false},
    {TEXT("SeImpersonatePrivilege"), 29, kAdmin, true},
    {TEXT("SeCreateGlobalPrivilege"), 30, kAdmin, true},
    {TEXT("SeIncreaseWorkingSetPrivilege"), 33, kAll, false},
    {TEXT("SeTimeZonePrivilege"), 34, kAll, false},
    {TEXT("SeCreateSymbolicLinkPrivilege"), 35, kAdmin, false},
};

}  // namespace

const Privilege* PrivilegesBegin() {
  return std::begin(kPrivileges);
}
const Privilege* PrivilegesEnd() {
  return std::end(kPrivileges);
}

const Privilege* FindPrivilege(WideView name) {
  for (const Privilege& privilege : kPrivileges) {
    if (EqualNoCase(name, privilege.name)) return &privilege;
  }
  return nullptr;
}

}  // namespace platform

using namespace platform;

BOOL WINAPI LookupPrivilegeValueW(LPCWSTR system, LPCWSTR name, PLUID luid) {
  KV_API(LookupPrivilegeValueW, ERROR_NO_SUCH_PRIVILEGE, FALSE, system, name, luid);
  if (!RequireNtFamily() || !RequireThisSystem(system)) return FALSE;
  const Privilege* const privilege = FindPrivilege(View(name));
  if (privilege == nullptr) {
    SetLastError(ERROR_NO_SUCH_PRIVILEGE);
    return FALSE;
  }
  *luid = {privilege->id, 0};
  return TRUE;
}
