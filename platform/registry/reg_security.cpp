// The security descriptors of keys: stored and handed back, the nearest key's above where a key has
// none of its own.
#include <windows.h>

#include <algorithm>

#include "platform/kernel/api_call.h"
#include "platform/registry/open_keys.h"
#include "platform/security/descriptor.h"

namespace platform {
namespace {

SecurityDescriptor DescriptorOf(const RegistryNode* node) {
  for (; node != nullptr; node = node->parent) {
    if (node->security.empty()) continue;
    if (auto stored = SecurityDescriptor::ParseStored(node->security)) return *stored;
  }
  return SecurityDescriptor::Default(KEY_ALL_ACCESS, KEY_READ);
}

REGSAM RightToWrite(SECURITY_INFORMATION parts) {
  REGSAM right = 0;
  if ((parts & DACL_SECURITY_INFORMATION) != 0) right |= WRITE_DAC;
  if ((parts & (OWNER_SECURITY_INFORMATION | GROUP_SECURITY_INFORMATION)) != 0) {
    right |= WRITE_OWNER;
  }
  return right;
}

}  // namespace
}  // namespace platform

using namespace platform;

LSTATUS WINAPI RegGetKeySecurity(HKEY key, SECURITY_INFORMATION parts,
                                 PSECURITY_DESCRIPTOR descriptor, LPDWORD size) {
  KV_API_STATUS(RegGetKeySecurity, ERROR_ACCESS_DENIED, key, parts, descriptor, size);
  if (size == nullptr) return ERROR_INVALID_PARAMETER;
  if ((parts & SACL_SECURITY_INFORMATION) != 0) return ERROR_CALL_NOT_IMPLEMENTED;
  OpenKey open;
  if (const LSTATUS status = UseKey(key, READ_CONTROL, open); status != ERROR_SUCCESS) {
    return status;
  }
  return open.key.Read([&](const RegistryNode* node) -> LSTATUS {
    if (node == nullptr) return ERROR_KEY_DELETED;
    const Bytes bytes = DescriptorOf(node).Serialize(parts);
    const DWORD capacity = *size;
    *size = static_cast<DWORD>(bytes.size());
    if (capacity < bytes.size() || descriptor == nullptr) return ERROR_INSUFFICIENT_BUFFER;
    std::copy(bytes.begin(), bytes.end(), static_cast<BYTE*>(descriptor));
    return ERROR_SUCCESS;
  });
}

LSTATUS WINAPI RegSetKeySecurity(HKEY key, SECURITY_INFORMATION parts,
                                 PSECURITY_DESCRIPTOR descriptor) {
  KV_API_STATUS(RegSetKeySecurity, ERROR_ACCESS_DENIED, key, parts, descriptor);
  if ((parts & SACL_SECURITY_INFORMATION) != 0) return ERROR_CALL_NOT_IMPLEMENTED;
  const std::optional<SecurityDescriptor> given = SecurityDescriptor::Parse(descriptor);
  if (!given) return ERROR_INVALID_SECURITY_DESCR;
  OpenKey open;
  if (const LSTATUS status = UseKey(key, RightToWrite(parts), open); status != ERROR_SUCCESS) {
    return status;
  }
  return open.key.Modify([&](Hive::Change& hive) -> LSTATUS {
    SecurityDescriptor merged = DescriptorOf(hive.tree().Find(open.key.id()));
    merged.Replace(*given, parts);
    constexpr SECURITY_INFORMATION kStored =
        OWNER_SECURITY_INFORMATION | GROUP_SECURITY_INFORMATION | DACL_SECURITY_INFORMATION;
    hive.Apply({JournalRecord::Op::kSetSecurity, open.key.id(), 0, {}, merged.Serialize(kStored)});
    return ERROR_SUCCESS;
  });
}
