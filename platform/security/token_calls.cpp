#include <windows.h>

#include <algorithm>
#include <cstring>

#include "platform/kernel/api_call.h"
#include "platform/kernel/processes.h"
#include "platform/kernel/result.h"
#include "platform/kernel/system_version.h"
#include "platform/security/rights.h"
#include "platform/security/token.h"
#include "platform/services/sessions.h"

namespace platform {
namespace {

// The token of a handle with the right; sets the last error otherwise.
std::shared_ptr<Token> TokenOf(HANDLE handle, DWORD access) {
  const auto object = ObjectOf<TokenHandle>(handle);
  if (object != nullptr && object->Allows(access)) return object->token();
  SetLastError(object == nullptr ? ERROR_INVALID_HANDLE : ERROR_ACCESS_DENIED);
  return nullptr;
}

// A structure with SIDs behind it, laid out for the address at which it will lie.
class TokenBlock {
 public:
  explicit TokenBlock(size_t structure) : bytes_(structure) {}

  template <class Value>
  void Put(size_t offset, const Value& value) {
    std::memcpy(&bytes_[offset], &value, sizeof value);
  }
  // Appends the SID and points the entry at `offset` to it.
  void PutSid(size_t offset, const Sid& sid, DWORD attributes) {
    Put(offset + offsetof(SID_AND_ATTRIBUTES, Attributes), attributes);
    pointers_.emplace_back(offset, bytes_.size());
    bytes_.insert(bytes_.end(), sid.bytes().begin(), sid.bytes().end());
  }
  BOOL CopyTo(LPVOID target, DWORD size, PDWORD needed) {
    *needed = static_cast<DWORD>(bytes_.size());
    if (target == nullptr || size < bytes_.size()) return Finish(ERROR_INSUFFICIENT_BUFFER);
    for (const auto& [offset, at] : pointers_) Put(offset, static_cast<BYTE*>(target) + at);
    std::copy(bytes_.begin(), bytes_.end(), static_cast<BYTE*>(target));
    return TRUE;
  }

 private:
  std::vector<uint8_t> bytes_;
  std::vector<std::pair<size_t, size_t>> pointers_;
};

TokenBlock OneSid(const Sid& sid, DWORD attributes) {
  TokenBlock block(sizeof(SID_AND_ATTRIBUTES));
  block.PutSid(0, sid, attributes);
  return block;
}

TokenBlock GroupsOf(const Token& token) {
  const std::vector<TokenGroup> groups = token.Groups();
  size_t at = offsetof(TOKEN_GROUPS, Groups);
  TokenBlock block(at + groups.size() * sizeof(SID_AND_ATTRIBUTES));
  block.Put(0, static_cast<DWORD>(groups.size()));
  for (const TokenGroup& group : groups) {
    block.PutSid(at, group.sid, group.attributes);
    at += sizeof(SID_AND_ATTRIBUTES);
  }
  return block;
}

TokenBlock PrivilegesOf(const Token& token) {
  const std::vector<LUID_AND_ATTRIBUTES> privileges = token.Privileges();
  size_t at = offsetof(TOKEN_PRIVILEGES, Privileges);
  TokenBlock block(at + privileges.size() * sizeof(LUID_AND_ATTRIBUTES));
  block.Put(0, static_cast<DWORD>(privileges.size()));
  for (const LUID_AND_ATTRIBUTES& privilege : privileges) {
    block.Put(at, privilege);
    at += sizeof(LUID_AND_ATTRIBUTES);
  }
  return block;
}

BOOL GetElevation(const Token& token, LPVOID information, DWORD size, PDWORD needed) {
  *needed = sizeof(TOKEN_ELEVATION);
  if (size < sizeof(TOKEN_ELEVATION)) return Finish(ERROR_BAD_LENGTH);
  static_cast<TOKEN_ELEVATION*>(information)->TokenIsElevated = token.Owner().IsElevated();
  return TRUE;
}

// The token of a process that somebody else started; null when it has ended.
std::shared_ptr<Token> TokenOfProcess(DWORD id) {
  for (const SessionProcess& process : AllProcesses()) {
    if (process.id != id) continue;
    auto token = std::make_shared<Token>(process.user);
    token->unelevated = !process.elevated;
    return token;
  }
  return nullptr;
}

BOOL Hand(std::shared_ptr<Token> token, DWORD access, PHANDLE handle) {
  *handle = OpenHandle(std::make_shared<TokenHandle>(std::move(token), access));
  return TRUE;
}

}  // namespace
}  // namespace platform

using namespace platform;

BOOL WINAPI OpenProcessToken(HANDLE process, DWORD access, PHANDLE token) {
  KV_API(OpenProcessToken, ERROR_ACCESS_DENIED, FALSE, process, access, token);
  if (!RequireNtFamily()) return FALSE;
  if (const auto opened = ObjectOf<OpenedProcess>(process)) {
    const std::shared_ptr<Token> theirs = TokenOfProcess(opened->id());
    if (theirs == nullptr) return Finish(ERROR_ACCESS_DENIED);
    // Other users' tokens are an administrator's to open.
    const bool own = theirs->Owner().SidText() == CallerSid();
    if (!own && !CallerIsElevatedAdministrator()) return Finish(ERROR_ACCESS_DENIED);
    return Hand(theirs, access, token);
  }
  if (process != GetCurrentProcess()) {
    return Finish(ObjectOf(process) == nullptr ? ERROR_INVALID_HANDLE : ERROR_CALL_NOT_IMPLEMENTED);
  }
  return Hand(Machine::Current().Part<ProcessToken>().token(), access, token);
}

BOOL WINAPI OpenThreadToken(HANDLE thread, DWORD access, BOOL open_as_self, PHANDLE token) {
  KV_API(OpenThreadToken, ERROR_ACCESS_DENIED, FALSE, thread, access, open_as_self, token);
  if (!RequireNtFamily()) return FALSE;
  if (thread != GetCurrentThread()) {
    return Finish(ObjectOf(thread) == nullptr ? ERROR_INVALID_HANDLE : ERROR_CALL_NOT_IMPLEMENTED);
  }
  const std::shared_ptr<Token> own = ThreadToken();
  if (own == nullptr) return Finish(ERROR_NO_TOKEN);
  // Somebody who may only be identified cannot open anything.
  if (!open_as_self && own->level < SecurityImpersonation) {
    return Finish(ERROR_BAD_IMPERSONATION_LEVEL);
  }
  return Hand(own, access, token);
}

BOOL WINAPI GetTokenInformation(HANDLE token, TOKEN_INFORMATION_CLASS information_class,
                                LPVOID information, DWORD size, PDWORD needed) {
  KV_API(GetTokenInformation, ERROR_ACCESS_DENIED, FALSE, token, information_class, information,
         size, needed);
  const std::shared_ptr<Token> asked = TokenOf(token, TOKEN_QUERY);
  if (asked == nullptr) return FALSE;
  const bool has_elevation = InstalledVersion().major >= 6;
  switch (information_class) {
    case TokenUser:
      return OneSid(asked->Owner().UserSid(), 0).CopyTo(information, size, needed);
    case TokenGroups:
      return GroupsOf(*asked).CopyTo(information, size, needed);
    case TokenPrivileges:
      return PrivilegesOf(*asked).CopyTo(information, size, needed);
    case TokenElevation:
      if (!has_elevation) return Finish(ERROR_INVALID_PARAMETER);
      return GetElevation(*asked, information, size, needed);
    case TokenIntegrityLevel:
      if (!has_elevation) return Finish(ERROR_INVALID_PARAMETER);
      return OneSid(Sid::Integrity(asked->Owner().IntegrityLevel()),
                    SE_GROUP_INTEGRITY | SE_GROUP_INTEGRITY_ENABLED)
          .CopyTo(information, size, needed);
    default:
      return Finish(ERROR_CALL_NOT_IMPLEMENTED);
  }
}

BOOL WINAPI AdjustTokenPrivileges(HANDLE token, BOOL disable_all, PTOKEN_PRIVILEGES state,
                                  DWORD size, PTOKEN_PRIVILEGES previous, PDWORD needed) {
  KV_API(AdjustTokenPrivileges, ERROR_ACCESS_DENIED, FALSE, token, disable_all, state, size,
         previous, needed);
  const std::shared_ptr<Token> adjusted = TokenOf(token, TOKEN_ADJUST_PRIVILEGES);
  if (adjusted == nullptr) return FALSE;
  if (disable_all || state == nullptr || previous != nullptr) {
    return Finish(ERROR_CALL_NOT_IMPLEMENTED);
  }
  bool all_assigned = true;
  for (DWORD i = 0; i < state->PrivilegeCount; ++i) {
    const LUID_AND_ATTRIBUTES& wanted = state->Privileges[i];
    if ((wanted.Attributes & SE_PRIVILEGE_REMOVED) != 0) return Finish(ERROR_CALL_NOT_IMPLEMENTED);
    const bool on = (wanted.Attributes & SE_PRIVILEGE_ENABLED) != 0;
    if (wanted.Luid.HighPart != 0 || !adjusted->Enable(wanted.Luid.LowPart, on)) {
      all_assigned = false;
    }
  }
  SetLastError(all_assigned ? ERROR_SUCCESS : ERROR_NOT_ALL_ASSIGNED);
  return TRUE;
}

BOOL WINAPI DuplicateTokenEx(HANDLE token, DWORD access, LPSECURITY_ATTRIBUTES attributes,
                             SECURITY_IMPERSONATION_LEVEL level, TOKEN_TYPE type, PHANDLE copy) {
  KV_API(DuplicateTokenEx, ERROR_ACCESS_DENIED, FALSE, token, access, attributes, level, type,
         copy);
  const std::shared_ptr<Token> original = TokenOf(token, TOKEN_DUPLICATE);
  if (original == nullptr) return FALSE;
  if (access == 0 || attributes != nullptr || type != TokenPrimary) {
    return Finish(ERROR_CALL_NOT_IMPLEMENTED);
  }
  const std::shared_ptr<Token> duplicate = original->Duplicate();
  duplicate->level = level;
  return Hand(duplicate, access, copy);
}
