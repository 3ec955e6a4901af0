#include "runtime/ipc/administrator.h"

#include "runtime/core/startup_context.h"
#include "runtime/ipc/process_token.h"

namespace kv {
namespace {

constexpr int kNo = 0, kYes = 1, kTestFailed = -1;

// Whether the token may be elevated or not, as all are since user account control.
bool TokensHaveElevation() {
  return startupContext.platform.ntKind >= kWindowsVista;
}

int HoldsGroup(const TOKEN_GROUPS& groups, PSID sid) {
  for (DWORD i = 0; i < groups.GroupCount; ++i) {
    if (EqualSid(groups.Groups[i].Sid, sid)) return kYes;
  }
  return kNo;
}

int TestToken(PSID administrators, DWORD* elevated, DWORD* integrityLevel) {
  const UniqueHandle token = OpenEffectiveToken(TOKEN_QUERY);
  TokenInformation<TOKEN_GROUPS> groups;
  if (!token || !groups.Read(token.Get(), TokenGroups)) return kTestFailed;
  TOKEN_ELEVATION elevation = {};
  if (TokensHaveElevation()) {
    DWORD size = sizeof(elevation);
    if (!GetTokenInformation(token.Get(), TokenElevation, &elevation, sizeof(elevation), &size)) {
      return kTestFailed;
    }
    if (elevated != nullptr) *elevated = elevation.TokenIsElevated;
    if (integrityLevel != nullptr) *integrityLevel = GetIntegrityLevel(token.Get());
  }
  const int answer = HoldsGroup(*groups, administrators);
  const bool elevationDecides = TokensHaveElevation() && elevated == nullptr;
  return elevationDecides && elevation.TokenIsElevated == 0 ? kNo : answer;
}

}  // namespace

int IsAdministrator(DWORD* elevated, DWORD* integrityLevel) {
  if (elevated != nullptr) *elevated = 0;
  if (integrityLevel != nullptr) *integrityLevel = 0;
  const SystemSid administrators = CreateAdministratorsSid();
  if (!administrators) return kTestFailed;
  const int answer = TestToken(administrators.Get(), elevated, integrityLevel);
  if (!TokensHaveElevation() && answer != kNo) {
    if (elevated != nullptr) *elevated = TRUE;
    if (integrityLevel != nullptr) *integrityLevel = kHighIntegrity;
  }
  return answer;
}

DWORD GetIntegrityLevel(HANDLE token) {
  UniqueHandle own;
  if (token == nullptr) {
    own = OpenEffectiveToken(TOKEN_QUERY);
    if (!own) return kUnknownIntegrity;
    token = own.Get();
  }
  TokenInformation<TOKEN_MANDATORY_LABEL> label;
  if (!label.Read(token, TokenIntegrityLevel)) return kUnknownIntegrity;
  const BYTE count = *GetSidSubAuthorityCount(label->Label.Sid);
  return count == 0 ? kUnknownIntegrity : *GetSidSubAuthority(label->Label.Sid, count - 1);
}

}  // namespace kv
