#include "runtime/ipc/process_token.h"

#include <string.h>

#include "runtime/core/startup_context.h"
#include "runtime/ipc/sid_text.h"

namespace kv {

UniqueHandle OpenEffectiveToken(DWORD access) {
  UniqueHandle token;
  if (OpenThreadToken(GetCurrentThread(), access, FALSE, token.Receive())) return token;
  if (GetLastError() == ERROR_NO_TOKEN &&
      OpenProcessToken(GetCurrentProcess(), access, token.Receive())) {
    return token;
  }
  return UniqueHandle();
}

BOOL EnablePrivilege(LPCWSTR name, BOOL enable) {
  if (startupContext.platform.ntKind == 0) return TRUE;
  TOKEN_PRIVILEGES state = {};
  state.PrivilegeCount = 1;
  state.Privileges[0].Attributes = enable ? SE_PRIVILEGE_ENABLED : 0;
  if (!LookupPrivilegeValueW(nullptr, name, &state.Privileges[0].Luid)) return FALSE;
  const UniqueHandle token = OpenEffectiveToken(TOKEN_ADJUST_PRIVILEGES | TOKEN_QUERY);
  if (!token) return FALSE;
  // The call succeeds for a token without the privilege; only the last error tells.
  return AdjustTokenPrivileges(token.Get(), FALSE, &state, 0, nullptr, nullptr) &&
         GetLastError() == ERROR_SUCCESS;
}

int HasPrivilege(LPCWSTR name) {
  constexpr DWORD kEnabled = SE_PRIVILEGE_ENABLED_BY_DEFAULT | SE_PRIVILEGE_ENABLED;
  LUID wanted;
  if (!LookupPrivilegeValueW(nullptr, name, &wanted)) return -1;
  const UniqueHandle token = OpenEffectiveToken(TOKEN_QUERY);
  TokenInformation<TOKEN_PRIVILEGES> held;
  if (!token || !held.ReadSize(token.Get(), TokenPrivileges)) return -1;
  if (!held.ReadData(token.Get(), TokenPrivileges)) return 0;
  for (DWORD i = 0; i < held->PrivilegeCount; ++i) {
    const LUID_AND_ATTRIBUTES& privilege = held->Privileges[i];
    if (memcmp(&privilege.Luid, &wanted, sizeof(wanted)) == 0 &&
        (privilege.Attributes & kEnabled) != 0) {
      return 1;
    }
  }
  return 0;
}

HeapSid GetTokenUserSid() {
  const UniqueHandle token = OpenEffectiveToken(TOKEN_QUERY);
  TokenInformation<TOKEN_USER> user;
  if (!token || !user.Read(token.Get(), TokenUser)) return HeapSid();
  HeapSid sid = HeapSid::Allocate(user.size());
  if (sid && !CopySid(user.size(), sid.Get(), user->User.Sid)) sid.Reset();
  return sid;
}

WCHAR GetTokenUserSidString(LPWSTR output) {
  SidToString(GetTokenUserSid().Get(), output);
  return output[0];
}

}  // namespace kv
