// Terminal sessions, their people and programs.
#include "runtime/ipc/terminal_sessions.h"
#include "platform/control/services.h"
#include "platform/control/session_messages.h"
#include "platform/control/users.h"
#include "runtime/core/handles.h"
#include "runtime/ipc/object_names.h"
#include "runtime/ipc/process_token.h"
#include "tests/ipc/ipc_test.h"
#include "tests/support/test_key.h"

namespace kv::test {
namespace {

class TerminalSessionsTest : public IpcTest {
 protected:
  void SetUp() override {
    IpcTest::SetUp();
    platform::SetFact(facts::kAccounts, "Bob:1002,Eve:1003");
    platform::SetFact(facts::kSessions, "7,0,65536,2");
    platform::SetFact(facts::kProcessSession, "2");
    platform::SetFact(facts::kConsoleSession, "2");
    for (const auto& [name, value] : {std::pair{"2.station", "cONSOLE"},
                                      {"7.station", "RDP-Tcp#1"},
                                      {"7.user", "Bob"},
                                      {"7.client", "LAPTOP"},
                                      {"7.program", "C:\\app.exe"},
                                      {"7.protocol", "2"}}) {
      platform::SetFact(facts::kSessionPrefix + std::string(name), value);
    }
  }
};

TEST_F(TerminalSessionsTest, SessionsInOrderWithTheirPeople) {
  CTerminalServices services;
  ASSERT_TRUE(services.IsAvailable());
  EXPECT_EQ(services.GetSessionId(), 2);
  EXPECT_EQ(services.GetConsoleSessionId(), 2) << "by the station's name";
  EXPECT_EQ(services.NextSession()->SessionId, 7u) << "behind the console";
  std::vector<DWORD> ids;
  for (auto session = services.FirstSession(); session; session = services.NextSession()) {
    ids.push_back(session->SessionId);
  }
  EXPECT_EQ(ids, (std::vector<DWORD>{0, 2, 7, 65536}));
  EXPECT_EQ(services.FindSessionOfUser(TEXT("BOB"))->SessionId, 7u);
  EXPECT_EQ(services.FindSessionOfUser(TEXT("Eve")), nullptr);
  EXPECT_EQ(services.FindSessionOfUser(TEXT("")), nullptr) << "not one without a user";
  EXPECT_EQ(platform::CallCount("WTSEnumerateSessionsW"), 1u) << "the list is made once";

  WCHAR user[3], client[20], program[20], none[20] = {'x'};
  EXPECT_EQ(services.QueryUserName(7, user, 3), TEXT('B'));
  EXPECT_EQ(WideView(user), TEXT("Bo"));
  EXPECT_EQ(services.QueryClientName(7, client, 20), TEXT('L'));
  EXPECT_EQ(WideView(client), TEXT("LAPTOP"));
  EXPECT_EQ(services.QueryInitialProgram(7, program, 20), TEXT('C'));
  EXPECT_EQ(WideView(program), TEXT("C:\\app.exe"));
  EXPECT_EQ(services.QueryUserName(65536, none, 20), 0) << "nobody is logged on";
  EXPECT_EQ(services.QueryUserName(99, none, 20), 0);
  EXPECT_EQ(none[0], 0);
  for (const auto& [session, protocol] : {std::pair{7, 2}, {2, 0}, {99, -1}}) {
    EXPECT_EQ(services.QueryClientProtocol(session), protocol);
  }
  platform::SetFact(facts::kConsoleSession, "7");
  platform::SetFact("entry.wtsapi32.WTSGetActiveConsoleSessionId", "1");
  EXPECT_EQ(CTerminalServices().GetConsoleSessionId(), 7) << "by the function";
  EXPECT_EQ(platform::CallCount("WTSEnumerateSessionsW"), 1u);
}

TEST_F(TerminalSessionsTest, WhatTheSystemLacks) {
  // What a part that is missing takes with it.
  enum Lost { kAll, kList, kMessages, kTokens };
  static constexpr struct {
    const char* fact;
    Lost lost;
  } kRows[] = {
      {"entry.wtsapi32.WTSEnumerateProcessesW", kAll},
      {"entry.wtsapi32.WTSFreeMemory", kAll},
      {"entry.wtsapi32.WTSQuerySessionInformationW", kAll},
      {"module.wtsapi32", kAll},
      {"entry.wtsapi32.WTSEnumerateSessionsW", kList},
      {"entry.wtsapi32.WTSSendMessageW", kMessages},
      {"entry.wtsapi32.WTSQueryUserToken", kTokens},
  };
  platform::SetFact(facts::kUserSid, "S-1-5-18");
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.fact);
    platform::SetFact(row.fact, "0");
    platform::InstallSystemFiles();
    CTerminalServices services;
    const auto has = [&](Lost part) { return row.lost != kAll && row.lost != part; };
    EXPECT_EQ(services.IsAvailable(), has(kAll));
    EXPECT_EQ(services.GetSessionId(), has(kAll) ? 2 : -1);
    EXPECT_EQ(services.GetConsoleSessionId(), has(kList) ? 2 : -1);
    EXPECT_EQ(services.FirstSession() != nullptr, has(kList));
    WCHAR text[20] = {'x'};
    EXPECT_EQ(services.QueryUserName(7, text, 20), has(kAll) ? 'B' : 0);
    EXPECT_EQ(text[0], has(kAll) ? 'B' : 0);
    EXPECT_EQ(services.QueryClientProtocol(7), has(kAll) ? 2 : -1);
    DWORD response = 0;
    EXPECT_EQ(services.SendMessageToSession(7, nullptr, TEXT("x"), 0, 0, &response, FALSE),
              has(kMessages));
    EXPECT_EQ(static_cast<bool>(UniqueHandle(services.QueryUserToken(7))), has(kTokens));
    EXPECT_FALSE(services.IsProgramRunningForUser(TEXT("app.exe")));
    MakeSessionName(TEXT("x"), SessionCurrent, text, 20);
    EXPECT_EQ(WideView(text), has(kAll) ? TEXT("x_00000002") : TEXT("x_00000000"));
    platform::ClearFact(row.fact);
  }
  platform::InstallSystemFiles();
  platform::FailCall("WTSQuerySessionInformationW", 1);
  EXPECT_FALSE(CTerminalServices().IsAvailable());
  platform::Replace(
      "WTSQuerySessionInformationW",
      +[](HANDLE server, DWORD session, WTS_INFO_CLASS what, LPWSTR* buffer, DWORD* size) -> BOOL {
        const BOOL answered = WTSQuerySessionInformationW(server, session, what, buffer, size);
        *size = 2;
        return answered;
      });
  EXPECT_FALSE(CTerminalServices().IsAvailable()) << "half a number";
}

std::vector<WideString> loaded;

TEST_F(TerminalSessionsTest, TheLibraryIsLoadedByItsFullPathWhereItLiesThere) {
  platform::Replace(
      "LoadLibraryW", +[](LPCWSTR name) WINAPI -> HMODULE {
        loaded.emplace_back(name);
        return nullptr;
      });
  constexpr WCHAR kPath[] = TEXT("C:\\Windows\\System32\\wtsapi32.dll");
  EXPECT_FALSE(CTerminalServices().IsAvailable());
  EXPECT_EQ(loaded.back(), kPath);
  std::filesystem::remove(platform::HostPath(kPath));
  EXPECT_FALSE(CTerminalServices().IsAvailable());
  EXPECT_EQ(loaded.back(), TEXT("wtsapi32.dll"));
}

TEST_F(TerminalSessionsTest, WithoutTheServiceTheLibraryStays) {
  WCHAR before[MAX_PATH], after[MAX_PATH];
  GetCurrentDirectoryW(MAX_PATH, before);
  platform::SetServiceState(TEXT("TermService"), SERVICE_STOPPED);
  CTerminalServices services;
  EXPECT_TRUE(services.IsAvailable());
  EXPECT_EQ(services.GetSessionId(), -1);
  EXPECT_EQ(services.FirstSession(), nullptr) << "the sessions cannot be listed";
  GetCurrentDirectoryW(MAX_PATH, after);
  EXPECT_EQ(WideView(after), before);
}

TEST_F(TerminalSessionsTest, TokensOfOtherSessions) {
  const CTerminalServices services;
  EXPECT_EQ(services.QueryUserToken(7), nullptr);
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_PRIVILEGE_NOT_HELD));
  platform::SetFact(facts::kUserSid, "S-1-5-18");
  EnablePrivilege(SE_TCB_NAME, FALSE);
  const UniqueHandle token(services.QueryUserToken(7));
  TokenInformation<TOKEN_USER> user;
  ASSERT_TRUE(user.Read(token.Get(), TokenUser)) << "the privilege was switched on";
  EXPECT_EQ(*GetSidSubAuthority(user->User.Sid, 4), 1002u);
  EXPECT_EQ(services.QueryUserToken(65536), nullptr) << "nobody is logged on";
}

TEST_F(TerminalSessionsTest, MessagesToSessions) {
  const CTerminalServices services;
  struct Message {
    LPCWSTR title, text;
    DWORD timeout;
    BOOL wait;
    int answer;  // of the session's user
    int response;
  };
  DWORD response = 0;
  for (const Message& m : {Message{TEXT("Title"), TEXT("Text"), 9, TRUE, IDYES, IDYES},
                           {nullptr, TEXT(""), 0, FALSE, IDYES, IDASYNC},
                           {TEXT("t"), TEXT("x"), 30, TRUE, IDTIMEOUT, IDTIMEOUT}}) {
    platform::SetFactNumber(facts::kSessionPrefix + std::string("7.answer"), m.answer);
    const uint64_t start = platform::UpTime();
    EXPECT_TRUE(
        services.SendMessageToSession(7, m.title, m.text, MB_YESNO, m.timeout, &response, m.wait));
    EXPECT_EQ(response, static_cast<DWORD>(m.response));
    EXPECT_NEAR(platform::UpTime() - start, m.response == IDTIMEOUT ? 30'000 : 0, 20);
    const platform::SessionMessage sent = platform::SessionMessages().back();
    EXPECT_EQ(sent.title, m.title == nullptr ? TEXT("") : m.title);
    EXPECT_EQ(sent.text, m.text);
    EXPECT_EQ(sent.style, DWORD{MB_YESNO});
  }
  EXPECT_FALSE(services.SendMessageToSession(99, TEXT("t"), TEXT("x"), 0, 0, &response, FALSE));
}

TEST_F(TerminalSessionsTest, ProgramsOfTheUserInAnySession) {
  platform::SetFact(facts::kProcesses, "400,500,600");
  for (const auto& [name, value] : {std::pair{"400.name", "App.exe"},
                                    {"400.user", "Bob"},
                                    {"500.name", "tool.exe"},
                                    {"500.user", "ada"},
                                    {"500.session", "7"},
                                    {"600.name", "System"}}) {
    platform::SetFact(facts::kProcessPrefix + std::string(name), value);
  }
  const CTerminalServices services;
  EXPECT_TRUE(services.IsProgramRunningForUser(TEXT("X:\\dir\\TOOL.EXE")));
  EXPECT_FALSE(services.IsProgramRunningForUser(TEXT("app.exe"))) << "another user's";
  EXPECT_FALSE(services.IsProgramRunningForUser(TEXT("System"))) << "no SID";
  for (const char* function : {"WTSEnumerateProcessesW", "GetUserNameW"}) {
    platform::FailCall(function, 1);
    EXPECT_FALSE(services.IsProgramRunningForUser(TEXT("tool.exe"))) << function;
  }
}

TEST_F(TerminalSessionsTest, WhoOffersTerminalServices) {
  UseProfile("windows-98");
  EXPECT_FALSE(IsTerminalServicesAvailable());
  UseProfile("windows-nt4");
  EXPECT_FALSE(IsTerminalServicesAvailable());
  constexpr WCHAR kOptions[] = TEXT("System\\CurrentControlSet\\Control\\ProductOptions");
  RegDeleteKeyW(HKEY_LOCAL_MACHINE, kOptions);
  EXPECT_FALSE(IsTerminalServicesAvailable());
  {
    const Key options = Key::Create(HKEY_LOCAL_MACHINE, kOptions);
    constexpr WCHAR kSuite[] = TEXT("Enterprise\0terminal SERVER\0");
    RegSetValueExW(options, TEXT("ProductSuite"), 0, REG_MULTI_SZ,
                   reinterpret_cast<const BYTE*>(kSuite), sizeof(kSuite));
  }
  EXPECT_TRUE(IsTerminalServicesAvailable());
  UseProfile("windows-2000");
  EXPECT_FALSE(IsTerminalServicesAvailable());
  platform::SetFactNumber(facts::kSuiteMask, VER_SUITE_TERMINAL);
  EXPECT_TRUE(IsTerminalServicesAvailable());
  platform::SetFactNumber(facts::kSuiteMask, 0);
  UseProfile("windows-xp");
  EXPECT_TRUE(IsTerminalServicesAvailable()) << "the service runs";
  platform::SetServiceState(TEXT("TermService"), SERVICE_STOPPED);
  startupContext.platform = {};
  EXPECT_FALSE(IsTerminalServicesAvailable());
  EXPECT_EQ(startupContext.platform.ntKind, kWindowsXp) << "unknown facts are found out";
}

TEST_F(TerminalSessionsTest, RemoteSessions) {
  platform::SetFact(facts::kMetricPrefix + std::string("4096"), "1");
  EXPECT_TRUE(IsRemoteSession());
  UseProfile("windows-nt4");
  startupContext.platform.servicePackMajor = 3;
  EXPECT_FALSE(IsRemoteSession());
  startupContext.platform.servicePackMajor = 4;
  EXPECT_TRUE(IsRemoteSession());
  UseProfile("windows-me");
  EXPECT_FALSE(IsRemoteSession());
}

TEST_F(TerminalSessionsTest, InstallModeByGeneration) {
  static constexpr struct {
    const char* profile;
    const char* missing;  // fact of a function or library; null for none
    int mode, set, mode_after;
  } kRows[] = {{"windows-nt4", nullptr, 0, 1, 1},
               {"windows-nt4", "entry.kernel32.CtxGetIniMapping", -1, 1, -1},
               {"windows-server-2003", nullptr, 0, 1, 1},
               {"windows-server-2003", "entry.kernel32.TermsrvAppInstallMode", -1, 1, -1},
               {"windows-server-2003", "entry.kernel32.SetTermsrvAppInstallMode", 0, 0, 0},
               {"windows-vista", nullptr, -1, -1, -1},
               {"windows-server-2003", "module.wtsapi32", -1, 0, -1}};
  platform::SetFactNumber(facts::kUserIsElevated, 1);
  for (const auto& row : kRows) {
    SCOPED_TRACE(&row - kRows);
    platform::ClearFact(facts::kInstallMode);
    platform::SetFact("module.wtsapi32", "1");
    if (row.missing != nullptr) platform::SetFact(row.missing, "0");
    UseProfile(row.profile);
    const CTerminalServices services;
    EXPECT_EQ(services.GetInstallMode(), row.mode);
    EXPECT_EQ(services.SetInstallMode(TRUE), row.set);
    EXPECT_EQ(services.GetInstallMode(), row.mode_after);
    if (row.mode_after == 1) {
      EXPECT_EQ(services.SetInstallMode(FALSE), 1);
      EXPECT_EQ(services.GetInstallMode(), 0);
    }
    if (row.missing != nullptr) platform::ClearFact(row.missing);
  }
}

}  // namespace
}  // namespace kv::test
