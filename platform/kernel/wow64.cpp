#include "platform/kernel/wow64.h"

#include <algorithm>

#include "platform/control/facts.h"
#include "platform/control/machine.h"
#include "platform/kernel/api_call.h"
#include "platform/kernel/handle_table.h"
#include "platform/kernel/installation.h"

namespace platform {
namespace {

thread_local bool redirection_off = false;

// Directories of System32 that both kinds of programs share.
constexpr WideView kShared[] = {TEXT("catroot"), TEXT("catroot2"), TEXT("driverstore"),
                                TEXT("logfiles"), TEXT("spool")};

bool IsShared(const std::vector<WideString>& components) {
  if (components.size() < 3) return false;
  const auto equals_next = [&](WideView name) { return EqualNoCase(name, components[2]); };
  if (std::any_of(std::begin(kShared), std::end(kShared), equals_next)) return true;
  return components.size() >= 4 && equals_next(TEXT("drivers")) &&
         EqualNoCase(components[3], TEXT("etc"));
}

}  // namespace

bool SystemIs64Bit() {
  return Fact(facts::kArchitecture, "x64") == "x64";
}

bool IsWow64() {
  return sizeof(void*) == 4 && SystemIs64Bit();
}

void RedirectSystemPath(std::vector<WideString>& components) {
  if (components.size() < 2 || redirection_off || !IsWow64()) return;
  if (!EqualNoCase(components[0], WindowsDirectory().substr(3))) return;
  if (EqualNoCase(components[1], TEXT("Sysnative"))) {
    components[1] = TEXT("System32");
  } else if (EqualNoCase(components[1], TEXT("System32")) && !IsShared(components)) {
    components[1] = TEXT("SysWOW64");
  }
}

}  // namespace platform

BOOL WINAPI IsWow64Process(HANDLE process, PBOOL wow64) {
  KV_API(IsWow64Process, ERROR_INVALID_HANDLE, FALSE, process, wow64);
  if (process != GetCurrentProcess()) {
    SetLastError(platform::ObjectOf(process) == nullptr ? ERROR_INVALID_HANDLE
                                                        : ERROR_CALL_NOT_IMPLEMENTED);
    return FALSE;
  }
  *wow64 = platform::IsWow64();
  return TRUE;
}

BOOL WINAPI Wow64DisableWow64FsRedirection(PVOID* old_value) {
  KV_API(Wow64DisableWow64FsRedirection, ERROR_INVALID_FUNCTION, FALSE, old_value);
  if (!platform::IsWow64()) {
    SetLastError(ERROR_INVALID_FUNCTION);
    return FALSE;
  }
  *old_value = reinterpret_cast<PVOID>(static_cast<ULONG_PTR>(platform::redirection_off));
  platform::redirection_off = true;
  return TRUE;
}

BOOL WINAPI Wow64RevertWow64FsRedirection(PVOID old_value) {
  KV_API(Wow64RevertWow64FsRedirection, ERROR_INVALID_FUNCTION, FALSE, old_value);
  if (!platform::IsWow64()) {
    SetLastError(ERROR_INVALID_FUNCTION);
    return FALSE;
  }
  platform::redirection_off = old_value != nullptr;
  return TRUE;
}
