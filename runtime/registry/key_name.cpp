#include "runtime/registry/key_name.h"

#include <winternl.h>

#include <algorithm>
#include <iterator>
#include <memory>
#include <new>

#include "runtime/core/find_proc.h"
#include "runtime/core/loaded_library.h"
#include "runtime/core/startup_context.h"
#include "runtime/ipc/accounts.h"
#include "runtime/ipc/sid_text.h"
#include "runtime/text/format.h"
#include "runtime/text/text.h"
#include "runtime/text/wide_text.h"

namespace kv {
namespace {

constexpr int kKeyNameCapacity = 256;
constexpr WCHAR kUserRoot[] = TEXT("\\REGISTRY\\USER\\");
constexpr WCHAR kClassesRoot[] = TEXT("\\REGISTRY\\MACHINE\\Software\\Classes");
constexpr WCHAR kMachineRoot[] = TEXT("\\REGISTRY\\MACHINE");

struct ObjectName {
  UNICODE_STRING header;
  WCHAR text[MAX_PATH];
};
static_assert(sizeof(void*) != 4 || sizeof(ObjectName) == 528);

struct Root {
  WideView shortName;
  size_t prefixLength;
};

// The kernel's name of an open key, in `buffer` of `size` bytes; empty when it cannot be had.
WideView QueryName(HKEY key, void* buffer, ULONG size) {
  using QueryObject = NTSTATUS(NTAPI*)(HANDLE, OBJECT_INFORMATION_CLASS, PVOID, ULONG, PULONG);
  constexpr auto kObjectNameInformation = static_cast<OBJECT_INFORMATION_CLASS>(1);
  const LoadedLibrary ntdll(TEXT("ntdll.dll"), Quiet::kYes);
  const auto query = FindProc<QueryObject>(ntdll.handle(), "NtQueryObject");
  if (query == nullptr || query(key, kObjectNameInformation, buffer, size, nullptr) != 0) return {};
  const auto header = static_cast<const UNICODE_STRING*>(buffer);
  return WideView(header->Buffer, header->Length / sizeof(WCHAR));
}

// A key's name of any length; empty where keys have none, and without memory.
class WholeName {
 public:
  explicit WholeName(HKEY key) : buffer_(new (std::nothrow) BYTE[kSize]) {
    if (buffer_ != nullptr) name_ = QueryName(key, buffer_.get(), kSize);
  }
  WideView Get() const { return name_; }

 private:
  static constexpr ULONG kSize = sizeof(UNICODE_STRING) + 0x10000;  // lengths have 16 bits
  std::unique_ptr<BYTE[]> buffer_;
  WideView name_;
};

// Whether `name` is the key `root` or lies below it.
BOOL IsBelow(WideView name, WideView root) {
  return StartsWithAsciiNoCase(name, root) &&
         (name.size() == root.size() || name[root.size()] == '\\');
}

// The root that has a short name; its prefix is empty when there is none.
Root FindRoot(WideView name) {
  WCHAR sid[kSidTextCapacity];
  if (GetCurrentUserSidString(sid) != 0) {
    WCHAR user[std::size(kUserRoot) + kSidTextCapacity];
    FormatText(user, TEXT("%s%s"), kUserRoot, sid);
    if (IsBelow(name, user)) return {TEXT("HKCU"), View(user).size()};
  }
  if (IsBelow(name, kClassesRoot)) return {TEXT("HKCR"), View(kClassesRoot).size()};
  if (IsBelow(name, kMachineRoot)) return {TEXT("HKLM"), View(kMachineRoot).size()};
  return {{}, 0};
}

}  // namespace

WCHAR GetKeyName(HKEY key, LPWSTR output, int capacity) {
  if (capacity <= 0) return 0;
  output[0] = 0;
  if (startupContext.platform.ntKind == 0) return 0;
  ObjectName buffer;
  WideView name = QueryName(key, &buffer, sizeof(buffer));
  name = name.substr(0, static_cast<size_t>(capacity) - 1);
  const Root root = FindRoot(name);
  // A short name takes less room than what it stands for.
  WCHAR* const rest = std::copy(root.shortName.begin(), root.shortName.end(), output);
  *std::copy(name.begin() + root.prefixLength, name.end(), rest) = 0;
  return output[0];
}

BOOL IsCurrentUserKey(HKEY key) {
  if (key == HKEY_CURRENT_USER) return TRUE;
  WCHAR name[kKeyNameCapacity];
  return GetKeyName(key, name, kKeyNameCapacity) != 0 && EqualAsciiNoCase(name, TEXT("HKCU"));
}

KeyRelation RelateKeys(HKEY first, HKEY second) {
  if (first == second) return KeyRelation::kSame;
  const WholeName firstName(first), secondName(second);
  const WideView one = firstName.Get(), other = secondName.Get();
  if (one.empty() || other.empty()) return KeyRelation::kUnknown;
  if (IsBelow(one, other))
    return one.size() == other.size() ? KeyRelation::kSame : KeyRelation::kFirstBelow;
  return IsBelow(other, one) ? KeyRelation::kSecondBelow : KeyRelation::kApart;
}

MessagingProfilesKey::MessagingProfilesKey(KeyMode mode) {
  const LPCWSTR path =
      startupContext.platform.win9xKind != 0
          ? TEXT("Software\\Microsoft\\Windows Messaging Subsystem\\Profiles")
          : TEXT(
                "Software\\Microsoft\\Windows NT\\CurrentVersion\\Windows Messaging "
                "Subsystem\\Profiles");
  if (mode == KeyMode::kRead) Open(HKEY_CURRENT_USER, path);
  if (mode == KeyMode::kWrite) Create(HKEY_CURRENT_USER, path);
}

}  // namespace kv
