#include "runtime/ipc/sids.h"

#include <new>

namespace kv {
namespace {

SystemSid CreateBuiltInSid(DWORD alias) {
  SID_IDENTIFIER_AUTHORITY authority = {SECURITY_NT_AUTHORITY};
  SystemSid sid;
  if (!AllocateAndInitializeSid(&authority, 2, SECURITY_BUILTIN_DOMAIN_RID, alias, 0, 0, 0, 0, 0, 0,
                                sid.Receive())) {
    return SystemSid();
  }
  return sid;
}

}  // namespace

HeapSid HeapSid::Allocate(DWORD size) {
  HeapSid sid;
  sid.block_.reset(new (std::nothrow) BYTE[size]);
  return sid;
}

SystemSid CreateAdministratorsSid() {
  return CreateBuiltInSid(DOMAIN_ALIAS_RID_ADMINS);
}

SystemSid CreateUsersSid() {
  return CreateBuiltInSid(DOMAIN_ALIAS_RID_USERS);
}

}  // namespace kv
