#include "platform/kernel/environment.h"

#include "platform/control/facts.h"
#include "platform/kernel/api_call.h"
#include "platform/kernel/buffer.h"
#include "platform/kernel/installation.h"
#include "platform/kernel/machine.h"

namespace platform {
namespace {

struct SystemVariable {
  const WCHAR* name;
  WideString (*value)();
};

constexpr SystemVariable kSystemVariables[] = {
    {TEXT("COMPUTERNAME"), [] { return ToWide(Fact(facts::kComputerName, "WORKSTATION")); }},
    {TEXT("SystemDrive"), [] { return WindowsDirectory().substr(0, 2); }},
    {TEXT("SystemRoot"), WindowsDirectory},
    {TEXT("TEMP"), TempDirectory},
    {TEXT("TMP"), TempDirectory},
    {TEXT("USERNAME"), [] { return ToWide(Fact(facts::kUserName, "Ada")); }},
    {TEXT("USERPROFILE"), UserProfileDirectory},
    {TEXT("windir"), WindowsDirectory},
};

// A reference to an unknown variable stays as it stands, and so does a percent sign without another
// one behind it.
WideString Expand(WideView source) {
  WideString out;
  for (;;) {
    const size_t open = source.find('%');
    const size_t close = open == WideView::npos ? open : source.find('%', open + 1);
    if (close == WideView::npos) return out.append(source);
    out += source.substr(0, open);
    const WideView reference = source.substr(open, close - open + 1);
    const auto value = EnvironmentVariable(reference.substr(1, reference.size() - 2));
    out += value ? WideView(*value) : reference;
    source.remove_prefix(close + 1);
  }
}

}  // namespace

std::optional<WideString> EnvironmentVariable(WideView name) {
  constexpr char kUnset[] = "\x01";
  const std::string said = Fact(facts::kEnvironmentPrefix + ToUtf8(UpperCase(name)), kUnset);
  if (said != kUnset) return ToWide(said);
  for (const SystemVariable& variable : kSystemVariables) {
    if (EqualNoCase(name, variable.name)) return variable.value();
  }
  return std::nullopt;
}

}  // namespace platform

using namespace platform;

DWORD WINAPI ExpandEnvironmentStringsW(LPCWSTR source, LPWSTR buffer, DWORD capacity) {
  KV_API(ExpandEnvironmentStringsW, ERROR_NOT_ENOUGH_MEMORY, 0, source, buffer, capacity);
  if (source == nullptr) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return 0;
  }
  const WideString expanded = Expand(source);
  if (buffer != nullptr) CopyOut(expanded, buffer, capacity);
  return static_cast<DWORD>(expanded.size() + 1);
}
