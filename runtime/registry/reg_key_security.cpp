// Who may use a key.
#include <new>

#include "runtime/ipc/descriptor_tests.h"
#include "runtime/registry/reg_key.h"

namespace kv {

int RegKey::SetSecurityUnlessUsersCanRead(PSECURITY_DESCRIPTOR descriptor) {
  if (descriptor == nullptr || !IsOpen()) return -1;
  DWORD size = 0;
  if (RegGetKeySecurity(handle(), DACL_SECURITY_INFORMATION, nullptr, &size) !=
      ERROR_INSUFFICIENT_BUFFER) {
    return -1;
  }
  const std::unique_ptr<BYTE[]> own(new (std::nothrow) BYTE[size]);
  if (own == nullptr ||
      RegGetKeySecurity(handle(), DACL_SECURITY_INFORMATION, own.get(), &size) != ERROR_SUCCESS) {
    return -1;
  }
  if (UsersCanRead(own.get()) != 0) return 1;
  return RegSetKeySecurity(handle(), DACL_SECURITY_INFORMATION, descriptor) == ERROR_SUCCESS;
}

}  // namespace kv
