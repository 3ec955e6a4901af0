#include "runtime/ipc/descriptor_tests.h"

#include "runtime/ipc/sids.h"

namespace kv {
namespace {

constexpr int kNo = 0, kYes = 1, kTestFailed = -1;

// What the entry says to a reader of that SID; kTestFailed for nothing.
int AnswerOf(const ACE_HEADER& entry, PSID users) {
  if ((entry.AceFlags & INHERIT_ONLY_ACE) != 0) return kTestFailed;
  if (entry.AceType != ACCESS_ALLOWED_ACE_TYPE && entry.AceType != ACCESS_DENIED_ACE_TYPE) {
    return kTestFailed;
  }
  // Entries that deny are laid out like those that allow.
  const auto& access = reinterpret_cast<const ACCESS_ALLOWED_ACE&>(entry);
  const PSID sid = const_cast<DWORD*>(&access.SidStart);
  if ((access.Mask & READ_CONTROL) == 0 || !EqualSid(sid, users)) return kTestFailed;
  return entry.AceType == ACCESS_ALLOWED_ACE_TYPE ? kYes : kNo;
}

}  // namespace

int UsersCanRead(PSECURITY_DESCRIPTOR descriptor) {
  const SystemSid users = CreateUsersSid();
  if (!users) return kTestFailed;
  BOOL present = FALSE, defaulted = FALSE;
  PACL list = nullptr;
  ACL_SIZE_INFORMATION size = {};
  if (!GetSecurityDescriptorDacl(descriptor, &present, &list, &defaulted) || list == nullptr ||
      !GetAclInformation(list, &size, sizeof(size), AclSizeInformation)) {
    return kTestFailed;
  }
  for (DWORD i = 0; i < size.AceCount; ++i) {
    void* entry = nullptr;
    if (!GetAce(list, i, &entry)) return kTestFailed;
    const int answer = AnswerOf(*static_cast<const ACE_HEADER*>(entry), users.Get());
    if (answer != kTestFailed) return answer;
  }
  return kNo;
}

int IsOwnerAdministrators(PSECURITY_DESCRIPTOR descriptor) {
  const SystemSid administrators = CreateAdministratorsSid();
  BOOL defaulted = FALSE;
  PSID owner = nullptr;
  if (!administrators || !GetSecurityDescriptorOwner(descriptor, &owner, &defaulted) ||
      owner == nullptr) {
    return kTestFailed;
  }
  return EqualSid(owner, administrators.Get()) ? kYes : kNo;
}

}  // namespace kv
