// The kernel's names of open keys.
#include <ntstatus.h>
#include <windows.h>
#include <winternl.h>

#include <algorithm>

#include "platform/kernel/api_call.h"
#include "platform/registry/open_keys.h"

namespace platform {
namespace {

WideString KernelName(const RegistryPath& path) {
  WideString name = TEXT("\\REGISTRY");
  for (const WideString& part : path) name.append(1, '\\').append(part);
  return name;
}

}  // namespace
}  // namespace platform

using namespace platform;

NTSTATUS NTAPI NtQueryObject(HANDLE handle, OBJECT_INFORMATION_CLASS what, PVOID information,
                             ULONG size, PULONG needed) {
  KV_API_STATUS(NtQueryObject, static_cast<DWORD>(STATUS_INVALID_HANDLE), handle, what, information,
                size, needed);
  if (what != ObjectNameInformation) return STATUS_NOT_IMPLEMENTED;
  const HKEY key = static_cast<HKEY>(handle);
  const std::optional<OpenKey> open = IsPredefined(key) ? std::nullopt : KeyOfHandle(key);
  if (!open) return STATUS_INVALID_HANDLE;
  const std::optional<RegistryPath> path = Registry::Current().PathOf(open->key);
  if (!path) return STATUS_KEY_DELETED;
  const WideString name = KernelName(*path);
  const size_t bytes = name.size() * sizeof(WCHAR);
  const size_t whole = sizeof(UNICODE_STRING) + bytes + sizeof(WCHAR);
  if (needed != nullptr) *needed = static_cast<ULONG>(whole);
  if (size < sizeof(UNICODE_STRING)) return STATUS_INFO_LENGTH_MISMATCH;
  if (size < whole) return STATUS_BUFFER_OVERFLOW;
  auto* const header = static_cast<UNICODE_STRING*>(information);
  auto* const text = reinterpret_cast<PWSTR>(header + 1);
  std::copy_n(name.c_str(), name.size() + 1, text);
  *header = {static_cast<USHORT>(bytes), static_cast<USHORT>(bytes + sizeof(WCHAR)), text};
  return STATUS_SUCCESS;
}
