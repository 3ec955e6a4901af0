#include "platform/security/rights.h"

#include "platform/control/facts.h"
#include "platform/control/machine.h"

namespace platform {

bool CallerIsElevatedAdministrator() {
  if (FactNumber(facts::kPlatformId, VER_PLATFORM_WIN32_NT) != VER_PLATFORM_WIN32_NT) return true;
  if (CallerSid() == TEXT("S-1-5-18")) return true;
  if (FactNumber(facts::kUserIsAdministrator, 1) == 0) return false;
  return FactNumber(facts::kMajor, 10) < 6 || FactNumber(facts::kUserIsElevated, 0) != 0;
}

WideString CallerSid() {
  return ToWide(Fact(facts::kUserSid, "S-1-5-21-1004336348-1177238915-682003330-1001"));
}

}  // namespace platform
