// Users, their tokens and what they may do.
#include "platform/control/users.h"
#include "runtime/ipc/accounts.h"
#include "runtime/ipc/administrator.h"
#include "runtime/ipc/process_token.h"
#include "runtime/ipc/sid_text.h"
#include "tests/ipc/ipc_test.h"

namespace kv::test {
namespace {

using TokenTest = IpcTest;

WideString TextOf(const HeapSid& sid) {
  WCHAR text[kSidTextCapacity];
  SidToString(sid.Get(), text);
  return text;
}

TEST_F(TokenTest, AdministratorsByGenerationElevationAndOutput) {
  static constexpr struct {
    const char* profile;
    const char* user;  // a SID, "" for the usual user
    bool administrator, elevated;
    int plain, detailed;
    DWORD elevated_out, level;
  } kRows[] = {
      {"windows-10", "", true, false, 0, 1, 0, 0x2000},
      {"windows-10", "", true, true, 1, 1, 1, 0x3000},
      {"windows-10", "", false, true, 0, 0, 0, 0x2000},
      {"windows-10", "S-1-5-18", false, false, 1, 1, 1, 0x4000},
      {"windows-vista", "", true, false, 0, 1, 0, 0x2000},
      {"windows-xp", "", true, false, 1, 1, 1, 0x3000},
      {"windows-xp", "", false, false, 0, 0, 0, 0},
      {"windows-nt4", "", true, false, 1, 1, 1, 0x3000},
      // Without tokens the test fails before it has a SID.
      {"windows-98", "", true, false, -1, -1, 0, 0},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(std::string(row.profile) + " " + row.user);
    UseProfile(row.profile);
    platform::ClearFact(facts::kUserSid);
    if (*row.user != 0) platform::SetFact(facts::kUserSid, row.user);
    platform::SetFactNumber(facts::kUserIsAdministrator, row.administrator);
    platform::SetFactNumber(facts::kUserIsElevated, row.elevated);
    DWORD elevated = 7, level = 7;
    EXPECT_EQ(IsAdministrator(), row.plain);
    EXPECT_EQ(IsAdministrator(&elevated, &level), row.detailed);
    EXPECT_EQ(elevated, row.elevated_out);
    EXPECT_EQ(level, row.level);
    level = 7;
    EXPECT_EQ(IsAdministrator(nullptr, &level), row.plain);
    EXPECT_EQ(level, row.level);
    EXPECT_EQ(GetIntegrityLevel(), row.level * (startupContext.platform.ntKind >= kWindowsVista));
  }
  // Before Vista a test that fails is no plain no.
  for (const char* profile : {"windows-xp", "windows-vista"}) {
    UseProfile(profile);
    platform::FailCall("GetTokenInformation", 2);
    DWORD elevated = 7, level = 7;
    EXPECT_EQ(IsAdministrator(&elevated, &level), -1);
    EXPECT_EQ(elevated, startupContext.platform.ntKind == kWindowsXp ? 1u : 0u);
    EXPECT_EQ(level, elevated * 0x3000);
  }
  platform::FailCall("GetTokenInformation", 3);
  EXPECT_EQ(IsAdministrator(), -1) << "elevated or not is not known";
}

TEST_F(TokenTest, PrivilegesAreHeldDisabledOrAbsent) {
  platform::SetFact(facts::kUserPrivileges, "SeTcbPrivilege,-SeUndockPrivilege");
  EXPECT_EQ(HasPrivilege(SE_TCB_NAME), 1) << "enabled by default";
  EXPECT_EQ(HasPrivilege(SE_SHUTDOWN_NAME), 0) << "held, but disabled";
  EXPECT_EQ(HasPrivilege(SE_BACKUP_NAME), 0) << "not held";
  EXPECT_FALSE(EnablePrivilege(SE_BACKUP_NAME, TRUE));
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_NOT_ALL_ASSIGNED));
  EXPECT_FALSE(EnablePrivilege(TEXT("SeUndockPrivilege"), FALSE));
  EXPECT_FALSE(EnablePrivilege(TEXT("SeNoSuchPrivilege"), FALSE));
  EXPECT_TRUE(EnablePrivilege(SE_TCB_NAME, FALSE));
  EXPECT_EQ(HasPrivilege(SE_TCB_NAME), 1) << "enabled by default all the same";
  EXPECT_TRUE(EnablePrivilege(SE_SHUTDOWN_NAME, TRUE));
  {
    // Another user's token, which the switch did not touch.
    platform::SetFact(facts::kAccounts, "Bob:1002");
    const platform::Impersonation bob(TEXT("Bob"));
    EXPECT_EQ(HasPrivilege(SE_SHUTDOWN_NAME), 0);
  }
  EXPECT_EQ(HasPrivilege(SE_SHUTDOWN_NAME), 1);
  for (const char* function :
       {"LookupPrivilegeValueW", "OpenProcessToken", "GetTokenInformation"}) {
    platform::FailCall(function, 1, ERROR_ACCESS_DENIED);
    EXPECT_EQ(HasPrivilege(SE_SHUTDOWN_NAME), -1) << function;
  }
  platform::FailCall("GetTokenInformation", 2);
  EXPECT_EQ(HasPrivilege(SE_SHUTDOWN_NAME), 0) << "the size was known";
  platform::FailCall("AdjustTokenPrivileges", 1);
  EXPECT_FALSE(EnablePrivilege(SE_SHUTDOWN_NAME, TRUE));
  UseProfile("windows-me");
  EXPECT_TRUE(EnablePrivilege(SE_TCB_NAME, TRUE));
}

TEST_F(TokenTest, TheThreadsTokenComesFirst) {
  platform::SetFact(facts::kAccounts, "Bob:1002,Staff:1100:group");
  platform::SetFact(facts::kAccountPrefix + std::string("Bob.administrator"), "1");
  WCHAR name[kUserNameCapacity], sid[kSidTextCapacity];
  {
    const platform::Impersonation bob(TEXT("bob"));
    EXPECT_EQ(ReadUserName(name), TEXT('B'));
    GetTokenUserSidString(sid);
    EXPECT_TRUE(WideView(sid).ends_with(TEXT("-1002"))) << "Bob's";
    DWORD elevated = 7;
    EXPECT_EQ(IsAdministrator(&elevated), 1);
    EXPECT_EQ(elevated, 0u);
  }
  EXPECT_EQ(ReadUserName(name), TEXT('A'));
  const platform::Impersonation known(TEXT("Bob"), SecurityIdentification);
  EXPECT_FALSE(OpenEffectiveToken(TOKEN_QUERY)) << "not the process's token in its place";
  EXPECT_EQ(GetTokenUserSidString(sid), 0);
  EXPECT_EQ(sid[0], 0);
  EXPECT_EQ(IsAdministrator(), -1);
  EXPECT_EQ(GetIntegrityLevel(), 0u);
  EXPECT_FALSE(EnablePrivilege(SE_SHUTDOWN_NAME, TRUE));
}

TEST_F(TokenTest, AccountsByName) {
  static constexpr struct {
    LPCWSTR name;
    LPCWSTR sid;
    unsigned lookups;  // one for the size, one for the SID
  } kRows[] = {
      {TEXT("Ada"), TEXT("S-1-5-21-1004336348-1177238915-682003330-1001"), 2},
      {TEXT("workstation\\ADA"), TEXT("S-1-5-21-1004336348-1177238915-682003330-1001"), 2},
      {TEXT("SYSTEM"), TEXT("S-1-5-18"), 2},
      // The computer's name leads to the domain first, then to the user.
      {TEXT("Workstation"), TEXT("S-1-5-21-1004336348-1177238915-682003330-1002"), 4},
      {TEXT("Administrators"), TEXT(""), 2},
      {TEXT("Staff"), TEXT(""), 2},
      {TEXT("BUILTIN"), TEXT(""), 3},
      {TEXT("Nobody"), TEXT(""), 1},
  };
  platform::SetFact(facts::kAccounts, "Workstation:1002,Staff:1100:group");
  for (const auto& row : kRows) {
    platform::ResetFaults();
    EXPECT_EQ(TextOf(GetAccountSid(row.name)), row.sid);
    EXPECT_EQ(platform::CallCount("LookupAccountNameW"), row.lookups) << &row - kRows;
  }
  EXPECT_FALSE(IsSystemAccount());
  platform::SetFact(facts::kUserSid, "S-1-5-18");
  EXPECT_TRUE(IsSystemAccount());
  platform::FailCall("GetUserNameW", 1);
  EXPECT_FALSE(GetCurrentUserSid());
  platform::FailCall("LookupAccountNameW", 2);
  EXPECT_FALSE(GetCurrentUserSid());
  platform::FailCall("GetComputerNameW", 1);
  platform::AnswerNextBox(IDOK);
  const unsigned lookups = platform::CallCount("LookupAccountNameW");
  EXPECT_FALSE(GetAccountSid(TEXT("Workstation")));
  EXPECT_EQ(platform::CallCount("LookupAccountNameW"), lookups + 2) << "no name without computer";
  EXPECT_TRUE(Reported(TEXT("GetComputerName failed")));
  FailAllocation(1);
  platform::AnswerNextBox(IDOK);
  EXPECT_FALSE(GetAccountSid(TEXT("SYSTEM")));
  FailAllocation(0);
  EXPECT_TRUE(Reported(TEXT("GetCurrentUserSid: could not allocate SID")));
}

TEST_F(TokenTest, AccountsByRelativeId) {
  platform::SetFact(facts::kAccounts, "Bob:1002");
  platform::SetFact(facts::kComputerName, "LONGEST-NETBIOS");
  WCHAR name[20];
  DWORD size = 20;
  ASSERT_TRUE(LookupAccountByRid(nullptr, 1002, name, &size));
  EXPECT_EQ(WideView(name), TEXT("Bob"));
  EXPECT_EQ(size, 3u);
  const auto error = [&](LPCWSTR server, DWORD rid, DWORD capacity) {
    SetLastError(ERROR_SUCCESS);
    return LookupAccountByRid(server, rid, name, &capacity) ? 0 : GetLastError();
  };
  EXPECT_EQ(error(TEXT("\\\\LONGEST-NETBIOS"), 1002, 3), DWORD{ERROR_INSUFFICIENT_BUFFER});
  EXPECT_EQ(error(nullptr, 4711, 20), DWORD{ERROR_NONE_MAPPED});
  EXPECT_EQ(error(TEXT("\\\\elsewhere"), 1002, 20), static_cast<DWORD>(RPC_S_SERVER_UNAVAILABLE));
}

TEST_F(TokenTest, TheNetworkLibraryIsTriedOnce) {
  WCHAR name[20];
  DWORD size = 20;
  for (const char* missing : {"NetApiBufferFree", "NetUserModalsGet"}) {
    const std::string fact = std::string("entry.netapi32.") + missing;
    platform::SetFact(fact, "0");
    Restart();
    EXPECT_FALSE(LookupAccountByRid(nullptr, 1001, name, &size)) << missing;
    platform::ClearFact(fact);
    EXPECT_FALSE(LookupAccountByRid(nullptr, 1001, name, &size));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_PROC_NOT_FOUND));
  }
  UseProfile("windows-98");
  platform::ResetFaults();
  EXPECT_FALSE(LookupAccountByRid(nullptr, 1001, name, &size));
  EXPECT_EQ(platform::CallCount("LoadLibraryW"), 0u);
}

}  // namespace
}  // namespace kv::test
