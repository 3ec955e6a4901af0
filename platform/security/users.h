// The people of the machine: its accounts, and what each of them may do.
#pragma once

#include "platform/security/sid.h"

namespace platform {

struct Account {
  WideString name;
  WideString domain;
  Sid sid;
  SID_NAME_USE use;
};

// "name", "domain\name" or a domain's name, without regard to case. A name without a domain is
// looked for among the well-known and built-in ones, then the computer's own, as the system does.
std::optional<Account> FindAccount(WideView name);
std::optional<Account> FindAccount(const Sid& sid);
// The SID of the computer's own account database.
Sid AccountDomainSid();
WideString ComputerName();

// What the facts say of one user.
class User {
 public:
  // The user of this process.
  static User OfProcess();
  // A user by account name; nothing when there is no such user.
  static std::optional<User> Named(WideView name);

  // By account name, "SYSTEM" for the system itself.
  const WideString& name() const { return name_; }
  WideString SidText() const;
  Sid UserSid() const;
  bool IsLocalSystem() const;
  bool IsAdministrator() const;
  // Whether the user's programs carry the powers of an administrator: always before user account
  // control (6.0).
  bool IsElevated() const;
  // The same user in a program that runs without those powers.
  User Unelevated() const;
  DWORD IntegrityLevel() const;
  // Groups beside those that come with being a user or an administrator.
  std::vector<Sid> MoreGroups() const;
  // "SeTcbPrivilege,-SeShutdownPrivilege": privileges given and taken beside the usual ones.
  std::string PrivilegeChanges() const;

 private:
  User(std::string prefix, WideString name, WideString sid);
  std::string Fact(std::string_view name) const;
  bool Flag(std::string_view name, bool otherwise) const;

  std::string prefix_;
  WideString name_;
  WideString sid_;
  bool unelevated_ = false;
};

}  // namespace platform
