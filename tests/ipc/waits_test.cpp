// Waits behind a progress window and for print jobs, pipes with blocks, and starting programs.
#include "runtime/ipc/waits.h"

#include <signal.h>

#include <fstream>
#include <numeric>

#include "platform/control/message_boxes.h"
#include "platform/control/power.h"
#include "platform/control/profiles.h"
#include "platform/control/shell.h"
#include "platform/kernel/text.h"
#include "runtime/ipc/pipe_blocks.h"
#include "runtime/ipc/process_start.h"
#include "runtime/text/wide_text.h"
#include "tests/support/helper_thread.h"
#include "tests/support/peer.h"
#include "tests/support/runtime_test.h"
#include "tests/support/test_key.h"

namespace kv::test {
namespace {

namespace facts = platform::facts;
constexpr WCHAR kClass[] = TEXT("KvWait");

class WaitsTest : public RuntimeTest {
 protected:
  void SetUp() override {
    RuntimeTest::SetUp();
    for (HANDLE& event : events_) event = CreateEventW(nullptr, FALSE, FALSE, nullptr);
  }
  void TearDown() override {
    for (const HANDLE event : events_) CloseHandle(event);
    SetMessageSink(nullptr);
    RuntimeTest::TearDown();
  }
  BOOL WaitFor(int count, BOOL all, DWORD timeout) {
    return WaitForMultipleObjectsWithProgress(events_, count, all, timeout, kClass, TEXT("Title"),
                                              TEXT("100% text"), TEXT("Stop"));
  }
  static HWND Window() { return FindWindowW(kClass, nullptr); }

  HANDLE events_[3];
};

TEST_F(WaitsTest, WhatIsSignalledNeedsNoWindow) {
  EXPECT_TRUE(WaitFor(0, FALSE, 0));
  SetEvent(events_[1]);
  EXPECT_TRUE(WaitFor(2, FALSE, 0)) << "the signal that the poll takes is not lost";
  EXPECT_EQ(WaitForSingleObject(events_[1], 0), DWORD{WAIT_TIMEOUT});
  for (const HANDLE event : events_) SetEvent(event);
  EXPECT_TRUE(WaitFor(3, TRUE, 0));
  EXPECT_EQ(platform::CallCount("CreateWindowExW"), 0u);
}

TEST_F(WaitsTest, AllMayComeInAnyOrder) {
  const HANDLE before[3] = {events_[0], events_[1], events_[2]};
  for (const auto& order : {std::array{0, 1, 2}, {2, 1, 0}, {1, 2, 0}, {2, 0, 1}}) {
    HelperThread signaller([&] {
      for (const int index : order) {
        Sleep(700);
        SetEvent(events_[index]);
      }
    });
    const DWORD start = GetTickCount();
    EXPECT_TRUE(WaitFor(3, TRUE, INFINITE));
    EXPECT_NEAR(GetTickCount() - start, 2100, 100);
    EXPECT_TRUE(std::equal(before, before + 3, events_)) << "the caller's handles stay";
  }
}

TEST_F(WaitsTest, InputNeitherEndsNorLengthensAWait) {
  bool done = false;
  HelperThread mouse([&] {
    while (!done) {
      PostMessageW(Window(), WM_SHOWWINDOW, 0, 0);
      Sleep(10);
    }
  });
  const DWORD start = GetTickCount();
  EXPECT_FALSE(WaitFor(1, FALSE, 2000));
  EXPECT_NEAR(GetTickCount() - start, 2000, 60);
  HelperThread signaller([&] {
    Sleep(5000);
    SetEvent(events_[0]);
  });
  EXPECT_TRUE(WaitFor(1, TRUE, INFINITE));
  EXPECT_NEAR(GetTickCount() - start, 7000, 120);
  done = true;
}

TEST_F(WaitsTest, CancelQuitAndDeadOwnersEndIt) {
  {
    HelperThread user([&] {
      Sleep(300);
      EXPECT_NE(Window(), nullptr);
      PostMessageW(Window(), WM_CLOSE, 0, 0);
    });
    EXPECT_FALSE(WaitFor(2, TRUE, INFINITE));
  }
  {
    HelperThread user([&] {
      SetEvent(events_[0]);
      Sleep(300);
      PostMessageW(Window(), WM_COMMAND, IDCANCEL, 0);
    });
    EXPECT_FALSE(WaitFor(2, TRUE, 60'000)) << "with one of two there";
  }
  PostQuitMessage(9);
  EXPECT_FALSE(WaitFor(1, FALSE, INFINITE));
  MSG message = {};
  EXPECT_TRUE(PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE));
  EXPECT_EQ(message.message, UINT{WM_QUIT}) << "for the thread's own loop";
  EXPECT_EQ(message.wParam, 9u);

  const HANDLE mutex = CreateMutexW(nullptr, FALSE, nullptr);
  for (const DWORD dies_after : {0, 300}) {
    HelperThread owner([&] {
      WaitForSingleObject(mutex, INFINITE);
      SetEvent(events_[2]);
      Sleep(dies_after);
    });
    WaitForSingleObject(events_[2], INFINITE);
    if (dies_after == 0) Sleep(100);
    EXPECT_FALSE(WaitForMultipleObjectsWithProgress(&mutex, 1, FALSE, INFINITE, kClass, TEXT(""),
                                                    TEXT(""), nullptr));
    EXPECT_FALSE(ReleaseMutex(mutex)) << "who is not told that he owns it does not";
  }
  CloseHandle(mutex);
}

TEST_F(WaitsTest, AThreadsExitCode) {
  const HANDLE thread = CreateThread(
      nullptr, 0,
      [](LPVOID) WINAPI -> DWORD {
        Sleep(500);
        return 77;
      },
      nullptr, 0, nullptr);
  EXPECT_EQ(WaitForThreadExit(thread), 77u);
  CloseHandle(thread);
  EXPECT_EQ(WaitForThreadExit(thread), 0u);
}

constexpr WCHAR kPipe[] = TEXT("\\\\.\\pipe\\KV8_Blocks");

HANDLE NewServer() {
  return CreateNamedPipeW(kPipe, PIPE_ACCESS_DUPLEX, PIPE_TYPE_MESSAGE | PIPE_READMODE_MESSAGE, 1,
                          4096, 4096, 0, nullptr);
}

// Answers each block with the sum of its bytes until the client goes.
int ServeSums() {
  platform::UseVirtualClock(false);
  SetMessageSink([](LPCWSTR, LPCWSTR, UINT) { return IDOK; });
  const HANDLE pipe = NewServer();
  if (!ConnectNamedPipe(pipe, nullptr) && GetLastError() != ERROR_PIPE_CONNECTED) return 1;
  int blocks = 0;
  while (const auto size = ReadFromPipe(pipe, 4)) {
    DWORD length = 0;
    memcpy(&length, size.get(), 4);
    const auto block = ReadFromPipe(pipe, length);
    if (length != 0 && block == nullptr) break;
    const DWORD sum = std::accumulate(block.get(), block.get() + length, DWORD{0});
    DWORD done = 0;
    WriteFile(pipe, &sum, sizeof sum, &done, nullptr);
    ++blocks;
  }
  ClosePipeServer(pipe);
  return blocks;
}

TEST_F(WaitsTest, BlocksOfAllSizesBetweenProcesses) {
  platform::UseVirtualClock(false);
  EXPECT_FALSE(PipeExists(kPipe, 10));
  EXPECT_EQ(OpenPipe(kPipe, 10), nullptr);
  EXPECT_EQ(platform::CallCount("CreateFileW"), 0u);
  const pid_t server = StartPeer(directory(), ServeSums);
  while (!PipeExists(kPipe, 100)) Sleep(5);
  const HANDLE pipe = OpenPipe(kPipe, 10'000);
  ASSERT_NE(pipe, nullptr);
  EXPECT_TRUE(PipeExists(kPipe, 10)) << "busy, but there";
  EXPECT_EQ(OpenPipe(kPipe, 10), nullptr);
  struct Block {
    DWORD size, piece;
  };
  for (const Block& block : {Block{0, 4}, {1, 4}, {10, 4}, {10, 0}, {64 << 20, 1 << 16}}) {
    std::vector<BYTE> data(block.size);
    for (size_t i = 0; i < data.size(); ++i) data[i] = static_cast<BYTE>(i * 31 + 7);
    const DWORD sum = std::accumulate(data.begin(), data.end(), DWORD{0});
    EXPECT_TRUE(WriteSizedBlock(pipe, data.data(), block.size, block.piece)) << block.size;
    const auto answer = ReadFromPipe(pipe, 4);
    ASSERT_NE(answer, nullptr);
    EXPECT_EQ(memcmp(answer.get(), &sum, 4), 0) << block.size;
  }
  CloseHandle(pipe);
  EXPECT_EQ(FinishPeer(server), 5);
}

TEST_F(WaitsTest, MessagesThatAreNoBlocks) {
  const HANDLE server = NewServer();
  HANDLE client = OpenPipe(kPipe, 100);
  DWORD done = 0;
  WriteSizedBlock(client, "0123456789", 10, 4);
  BYTE wire[16];
  for (const std::string_view expected : {std::string_view("\n\0\0\0", 4), std::string_view("0123"),
                                          std::string_view("4567"), std::string_view("89")}) {
    EXPECT_TRUE(ReadFile(server, wire, sizeof wire, &done, nullptr));
    EXPECT_EQ(std::string_view(reinterpret_cast<char*>(wire), done), expected);
  }
  const auto fails = [&](DWORD size) {
    platform::AnswerNextBox(IDOK);
    return ReadFromPipe(server, size) == nullptr;
  };
  WriteFile(client, "12345678", 8, &done, nullptr);
  EXPECT_TRUE(fails(5)) << "longer than what remains";
  EXPECT_NE(ReadFromPipe(server, 3), nullptr) << "whose rest comes with the next read";
  WriteFile(client, "12", 2, &done, nullptr);
  WriteFile(client, "", 0, &done, nullptr);
  EXPECT_TRUE(fails(5)) << "empty";
  EXPECT_EQ(ReadFromPipe(server, 0), nullptr);
  WriteFile(client, "12", 2, &done, nullptr);
  CloseHandle(client);
  EXPECT_TRUE(fails(5)) << "the client ends in the middle";
  platform::AnswerNextBox(IDOK);
  EXPECT_FALSE(WriteSizedBlock(server, "x", 1, 1));
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_NO_DATA));
  platform::Replace(
      "WriteFile", +[](HANDLE, LPCVOID, DWORD size, LPDWORD written, LPOVERLAPPED) -> BOOL {
        *written = size - 1;
        return TRUE;
      });
  platform::AnswerNextBox(IDOK);
  EXPECT_FALSE(WriteSizedBlock(server, "x", 1, 1)) << "only a part was taken";
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_WRITE_FAULT));
  ClosePipeServer(server);
  ClosePipeServer(INVALID_HANDLE_VALUE);
  ClosePipeServer(nullptr);
  EXPECT_EQ(platform::CallCount("DisconnectNamedPipe"), 1u);
}

TEST_F(WaitsTest, AServerThatClosesLetsTheClientReadOn) {
  const HANDLE server = NewServer();
  const HANDLE client = OpenPipe(kPipe, 100);
  WriteSizedBlock(server, "answer", 6, 6);
  HelperThread closing([&] { ClosePipeServer(server); });
  Sleep(100);
  EXPECT_NE(ReadFromPipe(client, 4), nullptr);
  EXPECT_NE(ReadFromPipe(client, 6), nullptr);
  CloseHandle(client);
}

// Programs that the tests start lie on the machine's drive.
class ProcessTest : public WaitsTest {
 protected:
  void SetUp() override {
    WaitsTest::SetUp();
    std::filesystem::create_directories(platform::HostPath(TEXT("C:\\My Programs")));
    std::filesystem::create_symlink(TestDirectory() / "peer",
                                    platform::HostPath(TEXT("C:\\My Programs\\peer.exe")));
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

TEST_F(ProcessTest, ExitCodesAreWhole) {
  DWORD code = 7;
  for (const int expected : {0, 1, 259, 70000, -5}) {
    const WideString line = TEXT("C:\\p exit ") + platform::ToWide(std::to_string(expected));
    EXPECT_TRUE(Start(line.c_str(), 1, Wait::kYes, INFINITE, &code));
    EXPECT_EQ(code, static_cast<DWORD>(expected));
  }
  EXPECT_TRUE(Start(TEXT("C:\\p exit 3"), 1, Wait::kNo, 0, &code));
  EXPECT_EQ(code, 259u);
  const DWORD start = GetTickCount();
  EXPECT_TRUE(Start(TEXT("C:\\p sleep 1500 3"), 1, Wait::kYes, 1000, &code));
  EXPECT_EQ(code, 259u) << "it runs on";
  EXPECT_NEAR(GetTickCount() - start, 1000, 50);
}

TEST_F(ProcessTest, ProgramsAreFoundAndSeeTheirCommandLine) {
  DWORD code = 7;
  constexpr WCHAR kLine[] = TEXT("\"C:\\My Programs\\peer\"  report C:\\report \"a b\"");
  EXPECT_TRUE(Start(kLine, 1, Wait::kYes, INFINITE, &code));
  EXPECT_EQ(code, 0u);
  EXPECT_EQ(Report(), platform::ToUtf8(kLine) + "|plain|Ada");
  // Without quotes the program is found, but takes itself for "C:\My".
  EXPECT_TRUE(Start(TEXT("C:\\My Programs\\peer.exe exit 0"), 1, Wait::kYes, INFINITE, &code));
  EXPECT_EQ(code, 2u);
  struct Missing {
    LPCWSTR line;
    DWORD error;
  };
  std::ofstream(platform::HostPath(TEXT("C:\\text.exe"))) << "no program";
  for (const Missing& missing : {Missing{TEXT("C:\\none.exe x"), ERROR_FILE_NOT_FOUND},
                                 {TEXT("nowhere x"), ERROR_FILE_NOT_FOUND},
                                 {TEXT("C:\\none\\none.exe"), ERROR_PATH_NOT_FOUND},
                                 {TEXT("C:\\text.exe"), ERROR_BAD_EXE_FORMAT}}) {
    EXPECT_FALSE(MyCreateProcess(missing.line, 0, 1, Wait::kNo, 0, Quiet::kYes, nullptr));
    EXPECT_EQ(GetLastError(), missing.error);
  }
}

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
  EXPECT_EQ(code, 0u);
  EXPECT_NEAR(GetTickCount() - start, 12'000, 200) << "no pause behind the last try";
  EXPECT_EQ(platform::CallCount("CreateProcessW"), 6u);
  EXPECT_FALSE(MyCreateProcess(TEXT("C:\\p"), 0, 0, Wait::kNo, 0, Quiet::kYes, nullptr));
  EXPECT_EQ(platform::CallCount("CreateProcessW"), 6u);
}

TEST_F(ProcessTest, StartsBehindAWindow) {
  const auto start = [](LPCWSTR class_name) {
    return CreateProcessWithProgress(TEXT("C:\\p exit 4"), SW_HIDE, 1, INFINITE, class_name,
                                     TEXT("T"), TEXT("text"), nullptr);
  };
  EXPECT_TRUE(start(nullptr));
  EXPECT_TRUE(start(kClass));
  EXPECT_FALSE(CreateProcessWithProgress(TEXT("C:\\p sleep 1500 3"), 0, 1, 1000, kClass, TEXT("T"),
                                         TEXT("x"), nullptr));
  platform::FailCall("CreateProcessW", 1);
  platform::AnswerNextBox(IDOK);
  EXPECT_FALSE(start(kClass));
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
                        {"0", 1, "0", FALSE, "", TEXT("")},
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
    EXPECT_EQ(RunWithElevation(TEXT("C:\\p.exe"), TEXT("report C:\\report"), c.request, SW_HIDE,
                               Wait::kYes),
              c.result);
    const auto requests = platform::ShellRequests();
    EXPECT_EQ(requests.size() - before, *c.verb != 0 ? 1u : 0u);
    if (*c.verb != 0) {
      EXPECT_EQ(requests.back().verb, c.verb);
    }
    const std::string report = Report();
    EXPECT_EQ(report.empty(), *c.how == 0);
    EXPECT_NE(report.find(c.how), std::string::npos) << report;
  }
  // The shell's program runs as the shell's user, unless the system cannot do that.
  platform::SetFact("entry.advapi32.CreateProcessWithTokenW", "0");
  EXPECT_FALSE(RunAsShellUser(TEXT("C:\\p.exe"), nullptr, SW_HIDE, Wait::kYes));
  platform::ClearFact("entry.advapi32.CreateProcessWithTokenW");
  EXPECT_FALSE(RunAsShellUser(TEXT(""), nullptr, SW_HIDE, Wait::kYes));
  EXPECT_TRUE(RunAsShellUser(TEXT("C:\\p.exe"), TEXT("exit 1"), SW_HIDE, Wait::kYes));
  platform::ClearFact(facts::kProcesses);
  EXPECT_FALSE(RunAsShellUser(TEXT("C:\\p.exe"), nullptr, SW_HIDE, Wait::kYes)) << "no shell";
}

TEST_F(ProcessTest, DocumentsAndAddressesAreOpened) {
  platform::SetFact(facts::kUserIsElevated, "1");
  std::ofstream(platform::HostPath(TEXT("C:\\a.txt"))) << "x";
  const auto open = [](LPCWSTR file) {
    return ShellRun(TEXT("open"), file, nullptr, SW_HIDE, Wait::kYes);
  };
  EXPECT_FALSE(open(TEXT("C:\\a.txt")));
  EXPECT_EQ(GetLastError(), DWORD{ERROR_NO_ASSOCIATION});
  SetText(Key::Create(HKEY_LOCAL_MACHINE, TEXT("SOFTWARE\\Classes\\.txt")), {}, TEXT("txtfile"));
  EXPECT_TRUE(open(TEXT("C:\\a.txt"))) << "a kind that nothing of the host opens";
  SetText(Key::Create(HKEY_LOCAL_MACHINE, TEXT("SOFTWARE\\Classes\\txtfile\\shell\\open\\command")),
          {}, TEXT("C:\\p.exe report C:\\report \"%1\""));
  EXPECT_TRUE(open(TEXT("C:\\a.txt")));
  EXPECT_EQ(Report().substr(0, 39), "C:\\p.exe report C:\\report \"C:\\a.txt\"|el");
  EXPECT_TRUE(open(TEXT("https://example.org/x")));
  EXPECT_EQ(platform::ShellRequests().back().file, TEXT("https://example.org/x"));
  EXPECT_FALSE(platform::ShellRequests().back().starts);
}

TEST_F(ProcessTest, OnlyWow64HasAnotherSystemDirectory) {
  for (const char* architecture : {"x86", "x64"}) {
    if (!platform::UseProfile("windows-10", architecture)) continue;  // not for 64-bit programs
    Restart();
    const BOOL wow64 = sizeof(void*) == 4 && std::string(architecture) == "x64";
    PVOID old = this;
    EXPECT_EQ(DisableWow64FsRedirection(&old), wow64);
    EXPECT_TRUE(wow64 || old == nullptr);
    EXPECT_EQ(RevertWow64FsRedirection(old), wow64);
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
                          {TEXT("p.exe \tx"), TEXT("\tx")}}) {
    command_line = row.line;
    EXPECT_EQ(WideView(GetCommandLineArguments()), row.arguments);
  }
}

class PrintJobTest : public WaitsTest {
 protected:
  void SetUp() override {
    WaitsTest::SetUp();
    platform::SetFact(facts::kArchitecture, sizeof(void*) == 8 ? "x64" : "x86");
    platform::SetFact(facts::kUserIsElevated, "1");
    PRINTER_INFO_2W info = {};
    info.pPrinterName = const_cast<LPWSTR>(TEXT("P"));
    info.pPortName = const_cast<LPWSTR>(TEXT("NUL:"));
    info.pDriverName = const_cast<LPWSTR>(TEXT("Generic / Text Only"));
    info.pPrintProcessor = const_cast<LPWSTR>(TEXT("winprint"));
    info.pDatatype = const_cast<LPWSTR>(TEXT("RAW"));
    info.Attributes = PRINTER_ATTRIBUTE_KEEPPRINTEDJOBS;
    printer_ = AddPrinterW(nullptr, 2, reinterpret_cast<LPBYTE>(&info));
    ASSERT_NE(printer_, nullptr);
  }
  void TearDown() override {
    ClosePrinter(printer_);
    WaitsTest::TearDown();
  }
  DWORD StartJob() {
    DOC_INFO_1W document = {const_cast<LPWSTR>(TEXT("Title")), nullptr, nullptr};
    return StartDocPrinterW(printer_, 1, reinterpret_cast<LPBYTE>(&document));
  }

  HANDLE printer_;
};

TEST_F(PrintJobTest, AWaitEndsWhenTheJobIsPrintedOrGone) {
  const DWORD start = GetTickCount();
  WaitForPrintJob(TEXT(""), 1);
  WaitForPrintJob(TEXT("P"), 0);
  WaitForPrintJob(TEXT("No such printer"), 1);
  WaitForPrintJob(TEXT("P"), 4711);
  EXPECT_LT(GetTickCount() - start, 100u);
  for (const bool printed : {true, false}) {
    const DWORD job = StartJob();
    alignas(void*) BYTE info[2000];
    DWORD needed = 0;
    EXPECT_FALSE(GetJobW(printer_, job, 2, info, 100, &needed));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_INSUFFICIENT_BUFFER});
    ASSERT_TRUE(GetJobW(printer_, job, 2, info, needed, &needed));
    const auto& record = *reinterpret_cast<const JOB_INFO_2W*>(info);
    EXPECT_EQ(record.Status, DWORD{JOB_STATUS_PRINTING});
    EXPECT_EQ(WideView(record.pDocument), TEXT("Title"));
    EXPECT_EQ(WideView(record.pDriverName), TEXT("Generic / Text Only"));
    EXPECT_EQ(record.Position, printed ? 1u : 2u);
    HelperThread spooler([&] {
      Sleep(3000);
      printed ? EndDocPrinter(printer_) : AbortPrinter(printer_);
    });
    const DWORD before = GetTickCount();
    WaitForPrintJob(TEXT("P"), job);
    EXPECT_NEAR(GetTickCount() - before, 3125, 250);
  }
}

TEST_F(PrintJobTest, OnThe9xFamilyTheQueueMustBeEmpty) {
  startupContext.platform.win9xKind = 2;
  const DWORD job = StartJob();
  HelperThread spooler([&] {
    Sleep(3000);
    AbortPrinter(printer_);
  });
  const DWORD before = GetTickCount();
  WaitForPrintJob(TEXT("P"), job + 1);
  EXPECT_NEAR(GetTickCount() - before, 3125, 250);
}

}  // namespace
}  // namespace kv::test
