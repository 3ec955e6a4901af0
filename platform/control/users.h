// Threads that act for somebody else, as a service does for its client.
#pragma once

#include <windows.h>

#include <string_view>

namespace platform {

// While one lives, the calling thread acts as the user of that account name; the facts describe the
// user (see facts.h). With `level` SecurityIdentification the thread may be asked who it is, but
// opens nothing.
class Impersonation {
 public:
  explicit Impersonation(std::basic_string_view<WCHAR> user,
                         SECURITY_IMPERSONATION_LEVEL level = SecurityImpersonation);
  ~Impersonation();
  Impersonation(const Impersonation&) = delete;
  Impersonation& operator=(const Impersonation&) = delete;
};

}  // namespace platform
