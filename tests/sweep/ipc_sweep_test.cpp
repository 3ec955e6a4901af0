// Objects between processes, accounts, sessions and programs when calls and allocations fail.
#include <optional>

#include "platform/control/power.h"
#include "platform/control/session_messages.h"
#include "runtime/ipc/accounts.h"
#include "runtime/ipc/administrator.h"
#include "runtime/ipc/descriptor_tests.h"
#include "runtime/ipc/object_names.h"
#include "runtime/ipc/open_security_attributes.h"
#include "runtime/ipc/pipe_blocks.h"
#include "runtime/ipc/process_start.h"
#include "runtime/ipc/process_token.h"
#include "runtime/ipc/shared_access_lock.h"
#include "runtime/ipc/sid_text.h"
#include "runtime/ipc/terminal_sessions.h"
#include "runtime/ipc/waits.h"
#include "runtime/text/wide_text.h"
#include "tests/printing/printer_test.h"
#include "tests/support/sweep.h"
#include "tests/support/test_key.h"

namespace kv::test {
namespace {

namespace facts = platform::facts;

constexpr WCHAR kClass[] = TEXT("KvWait");
constexpr WCHAR kSidOfBob[] = TEXT("S-1-5-21-1004336348-1177238915-682003330-1002");

class IpcMachine : public PrinterTest {
 protected:
  void SetUp() override {
    PrinterTest::SetUp();
    for (const auto& [name, value] :
         {std::pair{std::string(facts::kAccounts), "Bob:1002"},
          {facts::kSessions, "0,1,7"},
          {facts::kSessionPrefix + std::string("7.user"), "Bob"},
          {facts::kSessionPrefix + std::string("7.client"), "LAPTOP"},
          {facts::kSessionPrefix + std::string("7.program"), "C:\\app.exe"},
          {facts::kSessionPrefix + std::string("7.protocol"), "2"},
          {facts::kSessionPrefix + std::string("7.answer"), "6"},
          {facts::kProcesses, "400"},
          {"process.400.name", "explorer.exe"},
          {"process.400.user", "Ada"}}) {
      platform::SetFact(name, value);
    }
    std::filesystem::create_symlink(TestDirectory() / "peer",
                                    platform::HostPath(TEXT("C:\\p.exe")));
  }
};

SWEEP_AREA(Accounts, IpcMachine);

SCENARIO(Accounts, Names) {
  WCHAR computer[kComputerNameCapacity], user[kUserNameCapacity];
  attempt.Call([&] {
    ReadComputerName(computer);
    ReadUserName(user);
  });
  attempt.Expect(computer[0] != 0, WideView(computer) == TEXT("WORKSTATION"),
                 attempt.reports() == 1);
  attempt.Expect(user[0] != 0, WideView(user) == TEXT("Ada"));
}

SCENARIO(Accounts, AccountSid) {
  const HeapSid sid = attempt.Call([] { return GetAccountSid(TEXT("Bob")); });
  WCHAR text[kSidTextCapacity];
  SidToString(sid.Get(), text);
  attempt.Expect(static_cast<bool>(sid), WideView(text) == kSidOfBob);
}

SCENARIO(Accounts, CurrentUser) {
  WCHAR by_name[kSidTextCapacity], by_token[kSidTextCapacity];
  BOOL is_system = TRUE;
  attempt.Call([&] {
    GetCurrentUserSidString(by_name);
    GetTokenUserSidString(by_token);
    is_system = IsSystemAccount();
  });
  attempt.Expect(by_name[0] != 0, WideView(by_name).ends_with(TEXT("-1001")));
  attempt.Expect(by_token[0] != 0, WideView(by_token).ends_with(TEXT("-1001")));
  EXPECT_FALSE(is_system);
}

SCENARIO(Accounts, LookupAccountByRid) {
  startupContext.netapi32IsMissing = false;
  WCHAR name[20];
  DWORD size = 20;
  const BOOL found = attempt.Call([&] { return LookupAccountByRid(nullptr, 1002, name, &size); });
  attempt.Expect(found, WideView(name) == TEXT("Bob") && size == 3);
  startupContext.netapi32.~LoadedLibrary();
  new (&startupContext.netapi32) LoadedLibrary;
}

SCENARIO(Accounts, IsAdministrator) {
  DWORD elevated = 7, level = 7;
  const int answer = attempt.Call([&] { return IsAdministrator(&elevated, &level); });
  attempt.Expect(answer == 1, true, answer == -1);
  attempt.Expect(level == kHighIntegrity, true, level == kUnknownIntegrity);
  EXPECT_EQ(elevated, answer == 1 ? 1u : 0u);
}

SCENARIO(Accounts, IntegrityLevel) {
  const DWORD level = attempt.Call([] { return GetIntegrityLevel(); });
  attempt.Expect(level == kHighIntegrity, true, level == kUnknownIntegrity);
}

SCENARIO(Accounts, Privileges) {
  int has = 0;
  const BOOL enabled = attempt.Call([&] {
    const BOOL done = EnablePrivilege(TEXT("SeRestorePrivilege"), TRUE);
    has = HasPrivilege(TEXT("SeRestorePrivilege"));
    return done;
  });
  EXPECT_EQ(enabled && has == 1, !attempt.hit());
  EnablePrivilege(TEXT("SeRestorePrivilege"), FALSE);
  EXPECT_EQ(HasPrivilege(TEXT("SeRestorePrivilege")), 0);
}

SCENARIO(Accounts, Token) {
  TokenInformation<TOKEN_USER> user;
  const bool read = attempt.Call([&]() -> bool {
    const UniqueHandle token = OpenEffectiveToken(TOKEN_QUERY);
    return token && user.Read(token.Get(), TokenUser) && GetTokenUserSid();
  });
  attempt.Expect(read, user.size() > 0);
}

SCENARIO(Accounts, Sids) {
  SystemSid administrators, users;
  attempt.Call([&] {
    administrators = CreateAdministratorsSid();
    users = CreateUsersSid();
  });
  WCHAR text[kSidTextCapacity];
  attempt.Expect(administrators && users, SidToString(users.Get(), text) == 12 && text[9] == '5');
}

SCENARIO(Accounts, Descriptors) {
  BYTE descriptor[400];
  DWORD size = sizeof descriptor;
  EXPECT_EQ(
      RegGetKeySecurity(Key::Open(HKEY_LOCAL_MACHINE, TEXT("Software")),
                        OWNER_SECURITY_INFORMATION | DACL_SECURITY_INFORMATION, descriptor, &size),
      ERROR_SUCCESS);
  int owner = 0;
  const int readable = attempt.Call([&] {
    owner = IsOwnerAdministrators(descriptor);
    return UsersCanRead(descriptor);
  });
  attempt.Expect(readable == 1, true, readable == -1);
  attempt.Expect(owner == 1, true, owner == -1);
}

SCENARIO(Accounts, OpenSecurityAttributes) {
  std::optional<COpenSecurityAttributes> made;
  attempt.Call([&] { made.emplace(TRUE); });
  const SECURITY_ATTRIBUTES* const attributes = made->Get();
  attempt.Expect(attributes != nullptr,
                 attributes != nullptr && attributes->lpSecurityDescriptor != nullptr);
}

SCENARIO(Accounts, ObjectNames) {
  WCHAR name[MAX_PATH], pipe[MAX_PATH], session[MAX_PATH];
  attempt.Call([&] {
    MakeWndClassName(nullptr, name, MAX_PATH);
    MakePipeName(nullptr, nullptr, SessionCurrent, pipe, MAX_PATH);
    MakeSessionName(TEXT("x"), SessionCurrent, session, MAX_PATH);
  });
  EXPECT_TRUE(WideView(name).starts_with(TEXT("KV8_")));
  EXPECT_TRUE(WideView(pipe).starts_with(TEXT("\\\\.\\pipe\\KV8_")));
  EXPECT_TRUE(WideView(session) == TEXT("x_00000001") ||
              (attempt.hit() && WideView(session).size() == 10));
}

constexpr WCHAR kLock[] = TEXT("Local\\KV8_LocalMutex_Test");
constexpr WCHAR kCount[] = TEXT("Local\\KV8_LocalSharedMemory_Test");
constexpr WCHAR kCountMutex[] = TEXT("Local\\KV8_LocalMutex_TestSharedMem");

struct TestLock : CSharedAccessLock {
  TestLock() : CSharedAccessLock(kLock, kCount, kCountMutex) {}
};

SWEEP_AREA(SharedObjects, IpcMachine);

SCENARIO(SharedObjects, LockOfReadersAndWriters) {
  CSharedCounter entries;
  EXPECT_TRUE(entries.Create(kCount, TRUE, kCountMutex));
  const bool done = attempt.Call([]() -> bool {
    TestLock lock;
    const BOOL wrote = lock.Enter(TRUE, 100);
    if (wrote) lock.Leave(TRUE);
    const BOOL read = lock.Enter(FALSE, 100);
    if (read) lock.Leave(FALSE);
    return wrote && read;
  });
  attempt.Expect(done, true);
  EXPECT_TRUE(TestLock().Enter(TRUE, 0)) << "nothing stays locked";
  EXPECT_EQ(entries.Get(), 0);
}

SCENARIO(SharedObjects, MemoryAndCounter) {
  LONG value = -1;
  const bool done = attempt.Call([&]() -> bool {
    CSharedCounter counter;
    if (!counter.Create(kCount, TRUE, kCountMutex)) return false;
    counter.Increment();
    value = counter.Increment() - counter.Get();
    CSharedMemory same;
    return same.OpenMutex(kCountMutex) && same.Map(FALSE, kCount, 4, Quiet::kNo) == kExisted &&
           *static_cast<LONG*>(same.view()) == 2 && counter.Replace(2, 7);
  });
  attempt.Expect(done, value == 0);
}

SCENARIO(SharedObjects, LockInteractive) {
  CSharedMemory memory;
  EXPECT_EQ(memory.CreateMutex(kCountMutex), kCreated);
  const BOOL owned = attempt.Call([&] { return memory.LockInteractive(nullptr, nullptr); });
  if (owned) memory.Unlock();
  attempt.Expect(owned, true, attempt.reports() == 1);
}

constexpr WCHAR kPipe[] = TEXT("\\\\.\\pipe\\KV8_Blocks");

SWEEP_AREA(WaitsPipesPrograms, IpcMachine);

SCENARIO(WaitsPipesPrograms, Pipe) {
  const HANDLE server =
      CreateNamedPipeW(kPipe, PIPE_ACCESS_DUPLEX, PIPE_TYPE_MESSAGE | PIPE_READMODE_MESSAGE, 1,
                       4096, 4096, 0, nullptr);
  std::unique_ptr<BYTE[]> data;
  attempt.Call([&] {
    if (!PipeExists(kPipe, 10)) return;
    UniqueHandle client(OpenPipe(kPipe, 10));
    if (!client) return;
    WriteSizedBlock(client.Get(), "0123456789", 10, 4);
    client.Reset();
    if (ReadFromPipe(server, 4) != nullptr) data = ReadFromPipe(server, 10);
  });
  attempt.Expect(data != nullptr, data != nullptr && memcmp(data.get(), "0123456789", 10) == 0);
  ClosePipeServer(server);
}

SCENARIO(WaitsPipesPrograms, ClosePipeServer) {
  const HANDLE server =
      CreateNamedPipeW(kPipe, PIPE_ACCESS_DUPLEX, PIPE_TYPE_MESSAGE | PIPE_READMODE_MESSAGE, 1,
                       4096, 4096, 0, nullptr);
  attempt.Call([&] { ClosePipeServer(server); });
  EXPECT_FALSE(PipeExists(kPipe, 10)) << "the handle is closed in any case";
}

SCENARIO(WaitsPipesPrograms, CreateProcess) {
  platform::UseVirtualClock(false);
  attempt.MayMiss();
  DWORD exit_code = 9;
  const BOOL started = attempt.Call([&] {
    return MyCreateProcess(TEXT("C:\\p exit 3"), 0, 1, Wait::kYes, INFINITE, Quiet::kNo,
                           &exit_code);
  });
  attempt.Expect(started, exit_code == 3 || attempt.hit(), exit_code == 0);
  platform::UseVirtualClock(true);
}

SCENARIO(WaitsPipesPrograms, CreateProcessWithProgress) {
  platform::UseVirtualClock(false);
  attempt.MayMiss();
  attempt.Expect(attempt.Call([] {
    return CreateProcessWithProgress(TEXT("C:\\p exit 3"), 0, 1, INFINITE, kClass, TEXT("T"),
                                     TEXT("x"), nullptr);
  }),
                 true);
  platform::UseVirtualClock(true);
}

SCENARIO(WaitsPipesPrograms, ShellRun) {
  attempt.Expect(attempt.Call([] {
    return ShellRun(TEXT("open"), TEXT("C:\\p.exe"), TEXT("exit 1"), 0, Wait::kYes);
  }),
                 true);
}

SCENARIO(WaitsPipesPrograms, RunWithElevation) {
  BOOL plain = FALSE, as_shell = FALSE;
  const BOOL elevated = attempt.Call([&] {
    plain = RunWithElevation(TEXT("C:\\p.exe"), TEXT("exit 1"), 0, 0, Wait::kNo);
    as_shell = RunAsShellUser(TEXT("C:\\p.exe"), TEXT("exit 1"), 0, Wait::kNo);
    return RunWithElevation(TEXT("C:\\p.exe"), TEXT("exit 1"), 1, 0, Wait::kNo);
  });
  attempt.Expect(elevated && plain && as_shell, true);
}

SCENARIO(WaitsPipesPrograms, RestartAndShutDown) {
  const bool asked = attempt.Call([]() -> bool { return RestartWindows() && ShutDownWindows(); });
  attempt.Expect(asked, platform::RequestedExit() != ~0u);
}

SCENARIO(WaitsPipesPrograms, FileSystemRedirection) {
  PVOID old = nullptr;
  attempt.Call([&] {
    if (DisableWow64FsRedirection(&old)) RevertWow64FsRedirection(old);
  });
}

SCENARIO(WaitsPipesPrograms, WaitBehindAWindow) {
  const UniqueHandle first(CreateEventW(nullptr, TRUE, TRUE, nullptr));
  const UniqueHandle second(CreateEventW(nullptr, TRUE, FALSE, nullptr));
  const HANDLE both[] = {first.Get(), second.Get()};
  BOOL timed_out = FALSE;
  const BOOL satisfied = attempt.Call([&] {
    timed_out = !WaitForMultipleObjectsWithProgress(both, 2, TRUE, 100, kClass, TEXT("T"),
                                                    TEXT("x"), nullptr);
    return WaitForMultipleObjectsWithProgress(both, 2, FALSE, 100, kClass, TEXT("T"), TEXT("x"),
                                              nullptr);
  });
  EXPECT_TRUE(timed_out);
  attempt.Expect(satisfied, true);
}

SCENARIO(WaitsPipesPrograms, WaitForPrintJob) {
  const DWORD start = GetTickCount();
  attempt.Call([] { WaitForPrintJob(TEXT("Laser"), 4711); });
  EXPECT_LT(GetTickCount() - start, 2000u);
}

SCENARIO(WaitsPipesPrograms, WaitForThreadExit) {
  const UniqueHandle thread(CreateThread(
      nullptr, 0, [](LPVOID) WINAPI -> DWORD { return 77; }, nullptr, 0, nullptr));
  const DWORD code = attempt.Call([&] { return WaitForThreadExit(thread.Get()); });
  attempt.Expect(code == 77, true, code == 0 || (attempt.hit() && code == STILL_ACTIVE));
  WaitForSingleObject(thread.Get(), INFINITE);
}

SWEEP_AREA(TerminalSessions, IpcMachine);

SCENARIO(TerminalSessions, List) {
  DWORD bob = 99;
  int console = 0, own = 0, count = 0;
  attempt.Call([&] {
    CTerminalServices services;
    own = services.GetSessionId();
    if (!services.IsAvailable()) return;
    console = services.GetConsoleSessionId();
    for (auto session = services.FirstSession(); session != nullptr;
         session = services.NextSession()) {
      ++count;
    }
    const auto* const found = services.FindSessionOfUser(TEXT("bob"));
    if (found != nullptr) bob = found->SessionId;
  });
  EXPECT_TRUE(own == 1 || (attempt.hit() && own == -1));
  EXPECT_TRUE(console == 1 || attempt.hit());
  attempt.Expect(count == 3, true, count == 0);
  attempt.Expect(bob != 99, bob == 7);
}

SCENARIO(TerminalSessions, Queries) {
  WCHAR user[20] = {}, client[20] = {}, program[20] = {};
  int protocol = -1;
  BOOL running = FALSE;
  UniqueHandle token;
  attempt.Call([&] {
    const CTerminalServices services;
    if (!services.IsAvailable()) return;
    services.QueryUserName(7, user, 20);
    services.QueryClientName(7, client, 20);
    services.QueryInitialProgram(7, program, 20);
    protocol = services.QueryClientProtocol(7);
    running = services.IsProgramRunningForUser(TEXT("explorer.exe"));
    token.Reset(services.QueryUserToken(7));
    services.GetInstallMode();
    services.SetInstallMode(FALSE);
  });
  attempt.Expect(user[0] != 0, WideView(user) == TEXT("Bob"));
  attempt.Expect(client[0] != 0, WideView(client) == TEXT("LAPTOP"));
  attempt.Expect(program[0] != 0, WideView(program) == TEXT("C:\\app.exe"));
  attempt.Expect(protocol != -1, protocol == 2);
  attempt.Expect(running, true);
}

SCENARIO(TerminalSessions, SendMessage) {
  const size_t before = platform::SessionMessages().size();
  DWORD response = 0;
  const BOOL sent = attempt.Call([&] {
    const CTerminalServices services;
    return services.IsAvailable() &&
           services.SendMessageToSession(7, TEXT("T"), TEXT("m"), MB_YESNO, 0, &response, TRUE);
  });
  attempt.Expect(sent, response == 6, platform::SessionMessages().size() == before);
}

SCENARIO(TerminalSessions, Availability) {
  BOOL remote = TRUE;
  const BOOL available = attempt.Call([&] {
    remote = IsRemoteSession();
    return IsTerminalServicesAvailable();
  });
  attempt.Expect(available, true);
  EXPECT_FALSE(remote);
}

}  // namespace
}  // namespace kv::test
