#include "resources/string_ids.h"
#include "runtime/core/startup_context.h"
#include "runtime/ipc/accounts.h"
#include "runtime/ipc/administrator.h"
#include "runtime/ipc/process_token.h"
#include "runtime/ipc/sid_text.h"
#include "runtime/text/format.h"
#include "tools/kvctl/command.h"

namespace kvctl {
namespace {

WideString YesNo(BOOL yes) {
  return Text(yes ? IDS_CTL_YES : IDS_CTL_NO);
}

// Before Windows Vista there are no levels.
UINT LevelName(DWORD level) {
  const bool hasLevels = kv::startupContext.platform.ntKind >= kv::kWindowsVista;
  if (level == kv::kUnknownIntegrity && !hasLevels) return IDS_CTL_UNKNOWN;
  if (level < kv::kLowIntegrity) return IDS_CTL_INTEGRITY_UNTRUSTED;
  if (level < kv::kMediumIntegrity) return IDS_CTL_INTEGRITY_LOW;
  if (level < kv::kHighIntegrity) return IDS_CTL_INTEGRITY_MEDIUM;
  return level < kv::kSystemIntegrity ? IDS_CTL_INTEGRITY_HIGH : IDS_CTL_INTEGRITY_SYSTEM;
}

ExitStatus DescribeUser(const Arguments&) {
  WCHAR user[kv::kUserNameCapacity], sid[kv::kSidTextCapacity], number[16];
  kv::ReadUserName(user);
  kv::GetTokenUserSidString(sid);
  DWORD elevated = 0, level = 0;
  const int administrator = kv::IsAdministrator(&elevated, &level);
  PrintLine(Text(IDS_CTL_WHOAMI_USER, user));
  PrintLine(Text(IDS_CTL_WHOAMI_SID, sid));
  const WideString answer = administrator < 0 ? Text(IDS_CTL_UNKNOWN) : YesNo(administrator);
  PrintLine(Text(IDS_CTL_WHOAMI_ADMINISTRATOR, answer.c_str()));
  PrintLine(Text(IDS_CTL_WHOAMI_ELEVATED, YesNo(elevated != 0).c_str()));
  kv::FormatText(number, TEXT("0x%04X"), static_cast<unsigned>(level));
  PrintLine(Text(IDS_CTL_WHOAMI_INTEGRITY, Text(LevelName(level)).c_str(), number));
  return kDone;
}

}  // namespace

const Command kWhoamiCommand = {
    TEXT("whoami"), IDS_CTL_WHOAMI_SUMMARY, IDS_CTL_WHOAMI_USAGE, {}, 0, 0, DescribeUser};

}  // namespace kvctl
