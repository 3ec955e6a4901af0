// Programs that are started, and how the machine's run ends.
#include <fstream>

#include "platform/control/power.h"
#include "platform/control/shell.h"
#include "platform/kernel/text.h"
#include "runtime/ipc/process_start.h"
#include "runtime/ipc/process_token.h"
#include "tests/ipc/ipc_test.h"

namespace kv::test {
namespace {

class ProcessTest : public IpcTest {
 protected:
  void SetUp() override {
    IpcTest::SetUp();
    std::filesystem::create_symlink(TestDirectory() / "peer",
                                    platform::HostPath(TEXT("C:\\p.exe")));
  }
  // What the peer told of itself.
  static std::string Report() {
    std::ifstream file(platform::HostPath(TEXT("C:\\report")));
    std::string text;
    std::getline(file, text);
    return text;
  }
  static BOOL Start(LPCWSTR line, int attempts, Wait wait, DWORD timeout, DWORD* code) {
    return MyCreateProcess(line, SW_HIDE, attempts, wait, timeout, Quiet::kNo, code);
  }
};

TEST_F(ProcessTest, ProgramsSeeTheirCommandLineAndHaveAnExitCode) {
  DWORD code = 7;
  EXPECT_TRUE(
      Start(TEXT("\"C:\\p\"  report C:\\report \"a b\""), 1, Wait::kYes, INFINITE, nullptr));
  EXPECT_EQ(Report(), "\"C:\\p\"  report C:\\report \"a b\"|plain|Ada");
  for (const int expected : {0, 259, 70000, -5}) {
    const WideString line = TEXT("C:\\p exit ") + platform::ToWide(std::to_string(expected));
    EXPECT_TRUE(Start(line.c_str(), 1, Wait::kYes, INFINITE, &code));
    EXPECT_EQ(code, static_cast<DWORD>(expected));
  }
  EXPECT_TRUE(Start(TEXT("C:\\p sleep 300 3"), 1, Wait::kNo, 0, &code));
  EXPECT_EQ(code, 259u);
  code = 7;
  EXPECT_FALSE(MyCreateProcess(TEXT("C:\\none"), 0, 1, Wait::kNo, 0, Quiet::kYes, &code));
  EXPECT_EQ(GetLastError(), DWORD{ERROR_FILE_NOT_FOUND});
  EXPECT_EQ(code, 0u);
}

TEST_F(ProcessTest, AWaitHandlesMessagesForItsTimeUnlessToldToQuit) {
  DWORD code = 7;
  const HWND window = CreateWindowExW(0, TEXT("static"), TEXT(""), 0, 0, 0, 9, 9, nullptr, nullptr,
                                      GetModuleHandleW(nullptr), nullptr);
  MSG message;
  bool done = false;
  HelperThread mouse([&] {
    for (; !done; Sleep(100)) PostMessageW(window, WM_APP, 0, 0);
  });
  const DWORD start = GetTickCount();
  EXPECT_TRUE(Start(TEXT("C:\\p sleep 1500 3"), 1, Wait::kYes, 1000, &code));
  done = true;
  EXPECT_EQ(code, 259u) << "it runs on";
  EXPECT_NEAR(GetTickCount() - start, 1000, 30);
  PostQuitMessage(9);
  EXPECT_TRUE(Start(TEXT("C:\\p sleep 300 3"), 1, Wait::kYes, INFINITE, &code));
  EXPECT_EQ(code, 259u);
  EXPECT_TRUE(PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE));
  EXPECT_EQ(message.message, UINT{WM_QUIT});
  DestroyWindow(window);
}

STARTUPINFOW given;

TEST_F(ProcessTest, FailedStartsAreTriedAgain) {
  DWORD code = 7;
  const DWORD start = GetTickCount();
  platform::FailCall("CreateProcessW", 1, ERROR_ACCESS_DENIED, 2);
  EXPECT_TRUE(Start(TEXT("C:\\p exit 4"), 3, Wait::kYes, INFINITE, &code));
  EXPECT_EQ(code, 4u);
  EXPECT_NEAR(GetTickCount() - start, 6000, 100);
  platform::FailCall("CreateProcessW", 1, ERROR_ACCESS_DENIED, 3);
  platform::AnswerNextBox(IDOK);
  EXPECT_FALSE(Start(TEXT("C:\\p exit 4"), 3, Wait::kYes, INFINITE, &code));
  EXPECT_EQ(GetLastError(), DWORD{ERROR_ACCESS_DENIED});
  EXPECT_TRUE(Reported(TEXT("CreateProcess failed")));
  EXPECT_NEAR(GetTickCount() - start, 12'000, 200) << "no pause behind the last try";
  EXPECT_EQ(platform::CallCount("CreateProcessW"), 6u);
  EXPECT_FALSE(MyCreateProcess(TEXT("C:\\p"), 0, 0, Wait::kNo, 0, Quiet::kYes, nullptr));
  EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_PARAMETER});
  platform::Replace(
      "CreateProcessW",
      +[](LPCWSTR, LPWSTR, LPSECURITY_ATTRIBUTES, LPSECURITY_ATTRIBUTES, BOOL, DWORD, LPVOID,
          LPCWSTR, LPSTARTUPINFOW startup, LPPROCESS_INFORMATION) WINAPI -> BOOL {
        given = *startup;
        return FALSE;
      });
  MyCreateProcess(TEXT("x"), SW_SHOWMINNOACTIVE, 1, Wait::kNo, 0, Quiet::kYes, nullptr);
  EXPECT_EQ(given.cb, sizeof(STARTUPINFOW));
  EXPECT_EQ(given.dwFlags, DWORD{STARTF_USESHOWWINDOW});
  EXPECT_EQ(given.wShowWindow, SW_SHOWMINNOACTIVE);
}

TEST_F(ProcessTest, StartsBehindAWindow) {
  const auto start = [](LPCWSTR line, LPCWSTR class_name, DWORD timeout = INFINITE) {
    return CreateProcessWithProgress(line, SW_HIDE, 2, timeout, class_name, TEXT("T"), TEXT("text"),
                                     nullptr);
  };
  EXPECT_TRUE(start(TEXT("C:\\p exit 4"), nullptr));
  EXPECT_TRUE(start(TEXT("C:\\p sleep 1500 3"), TEXT(""), 1000)) << "it was started";
  EXPECT_EQ(platform::CallCount("CreateWindowExW"), 0u);
  EXPECT_TRUE(start(TEXT("C:\\p exit 4"), TEXT("KvWait")));
  EXPECT_FALSE(start(TEXT("C:\\p sleep 1500 3"), TEXT("KvWait"), 1000)) << "it has not ended";
  for (const LPCWSTR class_name : {static_cast<LPCWSTR>(nullptr), TEXT("KvWait")}) {
    platform::FailCall("CreateProcessW", 1, 0, 2);
    platform::AnswerNextBox(IDOK);
    EXPECT_FALSE(start(TEXT("C:\\p exit 4"), class_name));
  }
}

TEST_F(ProcessTest, ElevationIsAskedForDroppedOrKept) {
  platform::SetFact(facts::kProcesses, "400");
  platform::SetFact("process.400.name", "explorer.exe");
  platform::SetFact("process.400.user", "Ada");
  struct Case {
    const char* elevated;
    int request;
    const char* consent;
    BOOL result;
    const char* how;  // the program ran; "" for a refusal
    LPCWSTR verb;     // "" without the shell's verbs
  };
  for (const Case& c : {Case{"0", 1, "1", TRUE, "elevated", TEXT("runas")},
                        {"0", 2, "0", FALSE, "", TEXT("")},
                        {"0", 0, "1", TRUE, "plain", TEXT("open")},
                        {"0", -1, "1", TRUE, "plain", TEXT("open")},
                        {"1", 1, "1", TRUE, "elevated", TEXT("open")},
                        {"1", -1, "1", TRUE, "elevated", TEXT("open")},
                        {"1", 0, "1", TRUE, "plain", TEXT("")}}) {
    SCOPED_TRACE(std::string(c.elevated) + std::to_string(c.request) + c.consent);
    std::filesystem::remove(platform::HostPath(TEXT("C:\\report")));
    platform::SetFact(facts::kUserIsElevated, c.elevated);
    platform::SetFact(facts::kElevationConsent, c.consent);
    const size_t before = platform::ShellRequests().size();
    const auto run = [&](LPCWSTR parameters, Wait wait) {
      platform::ResetFaults();
      return RunWithElevation(TEXT("C:\\p.exe"), parameters, c.request, SW_MINIMIZE, wait);
    };
    EXPECT_EQ(run(TEXT("report C:\\report"), Wait::kYes), c.result);
    // The shell quotes the program.
    const std::string program = *c.verb != 0 ? "\"C:\\p.exe\"" : "C:\\p.exe";
    EXPECT_EQ(Report(), c.result ? program + " report C:\\report|" + c.how + "|Ada" : "");
    EXPECT_EQ(platform::CallCount("WaitForSingleObject"), c.result ? 1u : 0u);
    run(TEXT("exit 1"), Wait::kNo);
    EXPECT_EQ(platform::CallCount("WaitForSingleObject"),
              WideView(c.verb) == TEXT("open") ? 1u : 0u);
    const auto requests = platform::ShellRequests();
    ASSERT_EQ(requests.size() - before, *c.verb != 0 ? 2u : 0u);
    if (*c.verb == 0) continue;
    EXPECT_EQ(requests.back().verb, c.verb);
    EXPECT_EQ(requests.back().show, SW_MINIMIZE);
  }
  EXPECT_TRUE(ShellRun(TEXT("open"), TEXT("https://example.org/x"), nullptr, 0, Wait::kYes))
      << "without a process";
  EXPECT_EQ(HasPrivilege(TEXT("SeIncreaseQuotaPrivilege")), 1);
}

TEST_F(ProcessTest, TheShellsUserNeedsAShellAndASystemThatCanDoIt) {
  platform::SetFact(facts::kUserIsElevated, "1");
  const auto run = [](LPCWSTR file = TEXT("C:\\p.exe")) {
    return RunAsShellUser(file, TEXT("exit 1"), SW_HIDE, Wait::kYes);
  };
  EXPECT_FALSE(run()) << "no shell";
  platform::SetFact(facts::kProcesses, "400");
  platform::SetFact("process.400.name", "explorer.exe");
  platform::SetFact("process.400.user", "Ada");
  EXPECT_TRUE(run());
  EXPECT_FALSE(run(TEXT("")));
  EXPECT_EQ(platform::CallCount("CreateProcessWithTokenW"), 1u);
  EXPECT_TRUE(RunAsShellUser(TEXT("C:\\p.exe"), nullptr, SW_HIDE, Wait::kYes));
  for (const char* entry :
       {"user32.GetShellWindow", "advapi32.CreateProcessWithTokenW", "advapi32.DuplicateTokenEx"}) {
    const std::string fact = std::string("entry.") + entry;
    platform::SetFact(fact, "0");
    EXPECT_FALSE(run()) << entry;
    platform::ClearFact(fact);
  }
  platform::FailCall("LoadLibraryW", 1);
  platform::AnswerNextBox(IDOK);
  EXPECT_FALSE(run()) << "reported";
}

int redirections;

TEST_F(ProcessTest, OnlyWow64HasAnotherSystemDirectory) {
  platform::Replace(
      "Wow64DisableWow64FsRedirection", +[](PVOID* old) WINAPI -> BOOL {
        *old = &redirections;
        return ++redirections;
      });
  platform::Replace(
      "Wow64RevertWow64FsRedirection",
      +[](PVOID old) WINAPI -> BOOL { return old == &redirections && redirections-- == 1; });
  for (const WORD wow64 : {0, 1}) {
    startupContext.platform.wow64Arch = wow64;
    PVOID old = this;
    EXPECT_EQ(DisableWow64FsRedirection(&old), wow64);
    EXPECT_EQ(old, wow64 == 0 ? nullptr : &redirections);
    EXPECT_EQ(redirections, wow64);
    EXPECT_EQ(RevertWow64FsRedirection(&redirections), wow64);
    EXPECT_EQ(redirections, 0);
  }
}

TEST_F(ProcessTest, TheEndOfTheMachinesRunNeedsItsPrivilege) {
  EXPECT_TRUE(RestartWindows());
  EXPECT_EQ(platform::RequestedExit(), UINT{EWX_REBOOT});
  EXPECT_TRUE(ShutDownWindows());
  EXPECT_EQ(platform::RequestedExit(), UINT{EWX_SHUTDOWN});
  platform::SetFact(facts::kUserPrivileges, "-SeShutdownPrivilege");
  EXPECT_FALSE(RestartWindows());
  EXPECT_EQ(platform::CallCount("ExitWindowsEx"), 2u);
}

LPCWSTR command_line;

TEST_F(ProcessTest, ArgumentsBeginBehindTheProgram) {
  platform::Replace<LPWSTR WINAPI()>(
      "GetCommandLineW", []() WINAPI -> LPWSTR { return const_cast<LPWSTR>(command_line); });
  struct Line {
    LPCWSTR line, arguments;
  };
  for (const Line& row : {Line{TEXT("\"C:\\a b\\p.exe\"  x"), TEXT("x")},
                          {TEXT("p.exe"), TEXT("")},
                          {TEXT("p.exe  a \"b\""), TEXT("a \"b\"")},
                          {TEXT("p.exe   "), TEXT("")},
                          {TEXT("\"p.exe x"), TEXT("")},
                          {TEXT("\"p.exe\""), TEXT("")},
                          {TEXT(""), TEXT("")},
                          {TEXT("p.exe\tx y"), TEXT("y")},
                          {TEXT("p.exe \tx"), TEXT("\tx")},
                          {TEXT("\"\" x"), TEXT("x")}}) {
    command_line = row.line;
    EXPECT_EQ(WideView(GetCommandLineArguments()), row.arguments);
  }
}

}  // namespace
}  // namespace kv::test
