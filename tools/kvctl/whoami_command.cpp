#include "resources/string_ids.h"
#include "runtime/core/startup_context.h"
#include "runtime/ipc/accounts.h"
#include "runtime/ipc/administrator.h"
#include "runtime/ipc/process_token.h"
#include "runtime/ipc/sid_text.h"
#include "runtime/text/format.h"
#include "tools/kvctl/command.h"
#include "tools/kvctl/json.h"

namespace kvctl {
namespace {

WideString YesNo(BOOL yes) {
  return Text(yes ? IDS_CTL_YES : IDS_CTL_NO);
}

struct Level {
  LPCWSTR key;  // for scripts; null: unknown
  UINT name;
};

// Before Windows Vista there are no levels.
Level LevelOf(DWORD level) {
  const bool hasLevels = kv::startupContext.platform.ntKind >= kv::kWindowsVista;
  if (level == kv::kUnknownIntegrity && !hasLevels) return {nullptr, IDS_CTL_UNKNOWN};
  if (level < kv::kLowIntegrity) return {TEXT("untrusted"), IDS_CTL_INTEGRITY_UNTRUSTED};
  if (level < kv::kMediumIntegrity) return {TEXT("low"), IDS_CTL_INTEGRITY_LOW};
  if (level < kv::kHighIntegrity) return {TEXT("medium"), IDS_CTL_INTEGRITY_MEDIUM};
  if (level < kv::kSystemIntegrity) return {TEXT("high"), IDS_CTL_INTEGRITY_HIGH};
  return {TEXT("system"), IDS_CTL_INTEGRITY_SYSTEM};
}

struct User {
  WCHAR name[kv::kUserNameCapacity];
  WCHAR sid[kv::kSidTextCapacity];
  int administrator;  // below 0: unknown
  DWORD elevated = 0, level = 0;

  User() {
    kv::ReadUserName(name);
    kv::GetTokenUserSidString(sid);
    administrator = kv::IsAdministrator(&elevated, &level);
  }
};

void PrintText(const User& user) {
  PrintLine(Text(IDS_CTL_WHOAMI_USER, user.name));
  PrintLine(Text(IDS_CTL_WHOAMI_SID, user.sid));
  const WideString answer =
      user.administrator < 0 ? Text(IDS_CTL_UNKNOWN) : YesNo(user.administrator);
  PrintLine(Text(IDS_CTL_WHOAMI_ADMINISTRATOR, answer.c_str()));
  PrintLine(Text(IDS_CTL_WHOAMI_ELEVATED, YesNo(user.elevated != 0).c_str()));
  WCHAR number[16];
  kv::FormatText(number, TEXT("0x%04X"), static_cast<unsigned>(user.level));
  PrintLine(Text(IDS_CTL_WHOAMI_INTEGRITY, Text(LevelOf(user.level).name).c_str(), number));
}

void PrintJson(const User& user) {
  JsonWriter json;
  json.BeginObject();
  json.Add(TEXT("user"), user.name);
  json.Add(TEXT("sid"), user.sid);
  if (user.administrator < 0) {
    json.AddNull(TEXT("administrator"));
  } else {
    json.AddFlag(TEXT("administrator"), user.administrator != 0);
  }
  json.AddFlag(TEXT("elevated"), user.elevated != 0);
  const LPCWSTR level = LevelOf(user.level).key;
  if (level == nullptr) {
    json.AddNull(TEXT("integrity"));
  } else {
    json.Add(TEXT("integrity"), level);
  }
  json.EndObject();
  PrintLine(json.text());
}

ExitStatus DescribeUser(const Arguments& arguments) {
  const User user;
  arguments.Has(kJsonOption) ? PrintJson(user) : PrintText(user);
  return kDone;
}

constexpr Option kOptions[] = {kJsonOption};
constexpr Action kActions[] = {{nullptr, kOptions, 0, 0, DescribeUser}};

}  // namespace

const Command kWhoamiCommand = {TEXT("whoami"), IDS_CTL_WHOAMI_SUMMARY, IDS_CTL_WHOAMI_USAGE,
                                kActions};

}  // namespace kvctl
