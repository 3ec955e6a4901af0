#include "platform/control/users.h"
#include "platform/security/token.h"

namespace platform {

Impersonation::Impersonation(std::basic_string_view<WCHAR> user,
                             SECURITY_IMPERSONATION_LEVEL level) {
  auto token = std::make_shared<Token>(WideString(user));
  token->level = level;
  ThreadToken() = std::move(token);
}

Impersonation::~Impersonation() {
  ThreadToken().reset();
}

}  // namespace platform
