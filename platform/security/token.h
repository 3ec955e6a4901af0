// Access tokens.
#pragma once

#include <map>
#include <mutex>

#include "platform/kernel/handle_table.h"
#include "platform/kernel/machine.h"
#include "platform/security/users.h"

namespace platform {

struct TokenGroup {
  Sid sid;
  DWORD attributes;
};

// The token itself, which several handles may share. Whose it is stays; what that user is and may
// do is what the facts say when it is asked.
class Token {
 public:
  // An empty name stands for the process's own user.
  explicit Token(WideString user) : user_(std::move(user)) {}
  std::shared_ptr<Token> Duplicate() const;

  User Owner() const;
  std::vector<TokenGroup> Groups() const;
  // By identifier, ascending.
  std::vector<LUID_AND_ATTRIBUTES> Privileges() const;
  bool HoldsEnabled(DWORD privilege) const;
  // Switches a privilege; false when the token does not hold it.
  bool Enable(DWORD privilege, bool on);

  SECURITY_IMPERSONATION_LEVEL level = SecurityImpersonation;
  // Whether it is without the powers of an administrator whatever the facts say of its user.
  bool unelevated = false;

 private:
  WideString user_;
  mutable std::mutex mutex_;
  std::map<DWORD, bool> switched_;
};

// What a handle of a token refers to: the token with the rights asked for.
class TokenHandle : public KernelObject {
 public:
  TokenHandle(std::shared_ptr<Token> token, DWORD access);
  const std::shared_ptr<Token>& token() const { return token_; }
  bool Allows(DWORD access) const { return (access_ & access) == access; }

 private:
  std::shared_ptr<Token> token_;
  DWORD access_;
};

// The process's token on one machine.
class ProcessToken {
 public:
  explicit ProcessToken(Machine&) : token_(std::make_shared<Token>(WideString())) {}
  const std::shared_ptr<Token>& token() const { return token_; }

 private:
  std::shared_ptr<Token> token_;
};

// The token with which the calling thread acts for somebody else; null when it does not.
std::shared_ptr<Token>& ThreadToken();
// The thread's token, else the process's.
std::shared_ptr<Token> EffectiveToken();

}  // namespace platform
