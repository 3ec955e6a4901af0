#include "platform/security/token.h"

#include <algorithm>

#include "platform/kernel/split.h"
#include "platform/kernel/system_version.h"
#include "platform/security/privileges.h"

namespace platform {
namespace {

constexpr DWORD kUsual = SE_GROUP_MANDATORY | SE_GROUP_ENABLED_BY_DEFAULT | SE_GROUP_ENABLED;

// Whether a user has a privilege; `changes` beside the usual distribution.
bool Holds(const User& user, const Privilege& privilege, const std::vector<std::string>& changes) {
  const std::string name = ToUtf8(privilege.name);
  for (const std::string& change : changes) {
    if (change == name) return true;
    if (change == "-" + name) return false;
  }
  switch (privilege.holders) {
    case PrivilegeHolders::kEveryone:
      return true;
    case PrivilegeHolders::kAdministrators:
      return user.IsElevated();
    default:
      return user.IsLocalSystem();
  }
}

}  // namespace

std::shared_ptr<Token> Token::Duplicate() const {
  auto copy = std::make_shared<Token>(user_);
  std::lock_guard lock(mutex_);
  copy->switched_ = switched_;
  copy->level = level;
  copy->unelevated = unelevated;
  return copy;
}

User Token::Owner() const {
  std::optional<User> user;
  if (!user_.empty()) user = User::Named(user_);
  if (!user) user = User::OfProcess();
  return unelevated ? user->Unelevated() : *user;
}

std::vector<TokenGroup> Token::Groups() const {
  const User user = Owner();
  std::vector<TokenGroup> groups = {{Sid(1, {0}), kUsual}};
  if (user.IsAdministrator()) {
    // Without elevation the group only serves to deny.
    groups.push_back({Sid::Administrators(),
                      user.IsElevated() ? kUsual | SE_GROUP_OWNER : SE_GROUP_USE_FOR_DENY_ONLY});
  }
  if (!user.IsLocalSystem()) {
    groups.push_back({AccountDomainSid().With(513), kUsual});
    groups.push_back({Sid::Users(), kUsual});
    groups.push_back({Sid::Nt({4}), kUsual});
  }
  groups.push_back({Sid::Nt({11}), kUsual});
  for (const Sid& sid : user.MoreGroups()) groups.push_back({sid, kUsual});
  if (InstalledVersion().major >= 6) {
    groups.push_back(
        {Sid::Integrity(user.IntegrityLevel()), SE_GROUP_INTEGRITY | SE_GROUP_INTEGRITY_ENABLED});
  }
  return groups;
}

std::vector<LUID_AND_ATTRIBUTES> Token::Privileges() const {
  const User user = Owner();
  const std::vector<std::string> changes = Split(user.PrivilegeChanges(), ',');
  std::lock_guard lock(mutex_);
  std::vector<LUID_AND_ATTRIBUTES> privileges;
  for (const Privilege* privilege = PrivilegesBegin(); privilege != PrivilegesEnd(); ++privilege) {
    if (!Holds(user, *privilege, changes)) continue;
    const auto switched = switched_.find(privilege->id);
    const bool enabled =
        switched != switched_.end() ? switched->second : privilege->enabled_by_default;
    const DWORD by_default = privilege->enabled_by_default ? SE_PRIVILEGE_ENABLED_BY_DEFAULT : 0;
    privileges.push_back({{privilege->id, 0}, by_default | (enabled ? SE_PRIVILEGE_ENABLED : 0)});
  }
  return privileges;
}

bool Token::HoldsEnabled(DWORD privilege) const {
  const std::vector<LUID_AND_ATTRIBUTES> all = Privileges();
  return std::any_of(all.begin(), all.end(), [=](const LUID_AND_ATTRIBUTES& held) {
    return held.Luid.LowPart == privilege && (held.Attributes & SE_PRIVILEGE_ENABLED) != 0;
  });
}

bool Token::Enable(DWORD privilege, bool on) {
  const std::vector<LUID_AND_ATTRIBUTES> all = Privileges();
  if (std::none_of(all.begin(), all.end(), [=](const LUID_AND_ATTRIBUTES& held) {
        return held.Luid.LowPart == privilege;
      })) {
    return false;
  }
  std::lock_guard lock(mutex_);
  switched_[privilege] = on;
  return true;
}

TokenHandle::TokenHandle(std::shared_ptr<Token> token, DWORD access)
    : token_(std::move(token)), access_(access) {
  constexpr DWORD kEverything = MAXIMUM_ALLOWED | GENERIC_ALL;
  if ((access & kEverything) != 0) access_ |= TOKEN_ALL_ACCESS;
  if ((access & GENERIC_READ) != 0) access_ |= TOKEN_QUERY | READ_CONTROL;
}

std::shared_ptr<Token>& ThreadToken() {
  static thread_local std::shared_ptr<Token> token;
  return token;
}

std::shared_ptr<Token> EffectiveToken() {
  const std::shared_ptr<Token>& own = ThreadToken();
  return own != nullptr ? own : Machine::Current().Part<ProcessToken>().token();
}

}  // namespace platform
