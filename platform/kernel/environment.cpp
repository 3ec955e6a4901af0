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

const SystemVariable kSystemVariables[] = {
    {TEXT("COMPUTERNAME"), [] { return ToWide(Fact(facts::kComputerName, "WORKSTATION")); }},
    {TEXT("SystemDrive"), [] { return WindowsDirectory().substr(0, 2); }},
    {TEXT("SystemRoot"), WindowsDirectory},
    {TEXT("TEMP"), TempDirectory},
    {TEXT("TMP"), TempDirectory},
    {TEXT("USERNAME"), [] { return ToWide(Fact(facts::kUserName, "Ada")); }},
    {TEXT("USERPROFILE"), UserProfileDirectory},
    {TEXT("windir"), WindowsDirectory},
};

// A percent sign that opens no reference to a known variable stands for itself.
WideString Expand(WideView source) {
  WideString out;
  while (!source.empty()) {
    const size_t close = source[0] == '%' ? source.find('%', 1) : WideView::npos;
    if (close != WideView::npos) {
      if (const auto value = EnvironmentVariable(source.substr(1, close - 1))) {
        out += *value;
        source.remove_prefix(close + 1);
        continue;
      }
    }
    const size_t next = std::min(source.find('%', 1), source.size());
    out += source.substr(0, next);
    source.remove_prefix(next);
  }
  return out;
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
