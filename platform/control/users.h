// Threads that act for somebody else, as a service does for its client.
#pragma once

#include <windows.h>

#include <string>
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

// Gives a user of the machine (see the fact "accounts") a profile as a first logon does: its
// directory with the hive "ntuser.dat", with `classes` the hive "UsrClass.dat" of class
// registrations too, and its entry in the profile list. Nothing is loaded below HKEY_USERS.
// Returns the SID as text; empty when there is no such user.
std::basic_string<WCHAR> MakeProfile(std::basic_string_view<WCHAR> user, bool classes);

}  // namespace platform
