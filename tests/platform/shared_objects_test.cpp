// Objects by name between processes, waits for them, and pipes.
#include <signal.h>

#include <chrono>
#include <fstream>
#include <thread>

#include "tests/support/machine_test.h"
#include "tests/support/peer.h"

namespace kv::test {
namespace {

class SharedObjectsTest : public MachineTest {
 protected:
  void SetUp() override {
    MachineTest::SetUp();
    platform::UseVirtualClock(false);
  }
  HANDLE Event(LPCWSTR name) { return CreateEventW(nullptr, FALSE, FALSE, name); }
};

TEST_F(SharedObjectsTest, NamesHaveScopesAndKindsAndEndWithTheLastHandle) {
  const HANDLE mutex = CreateMutexW(nullptr, FALSE, TEXT("Local\\Subject"));
  EXPECT_EQ(GetLastError(), DWORD{ERROR_SUCCESS});
  const HANDLE again = CreateMutexW(nullptr, TRUE, TEXT("Subject"));
  EXPECT_EQ(GetLastError(), DWORD{ERROR_ALREADY_EXISTS}) << "Local is the default";
  EXPECT_EQ(ReleaseMutex(again), FALSE) << "only a new mutex has an initial owner";
  EXPECT_EQ(GetLastError(), DWORD{ERROR_NOT_OWNER});
  struct Refused {
    LPCWSTR name;
    DWORD error;
  };
  const std::basic_string<WCHAR> longest(MAX_PATH + 1, 'n');
  for (const Refused& refused : {Refused{TEXT("Global\\Subject"), ERROR_FILE_NOT_FOUND},
                                 {TEXT("subject"), ERROR_FILE_NOT_FOUND},
                                 {TEXT("a\\b"), ERROR_PATH_NOT_FOUND},
                                 {longest.c_str(), ERROR_FILENAME_EXCED_RANGE}}) {
    EXPECT_EQ(OpenMutexW(SYNCHRONIZE, FALSE, refused.name), nullptr);
    EXPECT_EQ(GetLastError(), refused.error);
  }
  EXPECT_EQ(CreateEventW(nullptr, TRUE, FALSE, TEXT("Subject")), nullptr);
  EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_HANDLE}) << "the name is a mutex's";
  CloseHandle(mutex);
  CloseHandle(again);
  EXPECT_EQ(OpenMutexW(SYNCHRONIZE, FALSE, TEXT("Subject")), nullptr);
  const HANDLE event = Event(TEXT("Subject"));
  EXPECT_NE(event, nullptr);
  CloseHandle(event);
}

TEST_F(SharedObjectsTest, MemoryKeepsItsSizeAndContentWhileSomebodyHasIt) {
  const HANDLE mapping =
      CreateFileMappingW(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, 100, TEXT("Memory"));
  auto* const view = static_cast<int*>(MapViewOfFile(mapping, FILE_MAP_ALL_ACCESS, 0, 0, 0));
  ASSERT_NE(view, nullptr);
  EXPECT_EQ(view[24], 0);
  view[24] = 7;
  const int seen = RunPeer(directory(), [] {
    const HANDLE shared =
        CreateFileMappingW(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, 4, TEXT("Memory"));
    if (GetLastError() != ERROR_ALREADY_EXISTS) return 100;
    auto* const theirs = static_cast<int*>(MapViewOfFile(shared, FILE_MAP_ALL_ACCESS, 0, 0, 0));
    theirs[1] = 8;
    return theirs[24];
  });
  EXPECT_EQ(seen, 7);
  EXPECT_EQ(view[1], 8);
  CloseHandle(mapping);
  EXPECT_EQ(view[1], 8) << "a view outlives the name";
  EXPECT_EQ(OpenFileMappingW(FILE_MAP_ALL_ACCESS, FALSE, TEXT("Memory")), nullptr);
  EXPECT_EQ(GetLastError(), DWORD{ERROR_FILE_NOT_FOUND});
  UnmapViewOfFile(view);
}

TEST_F(SharedObjectsTest, AMutexGoesFromProcessToProcessAndIsAbandonedByDeath) {
  const HANDLE mutex = CreateMutexW(nullptr, FALSE, TEXT("M"));
  const HANDLE owned = Event(TEXT("Owned"));
  const pid_t killed = StartPeer(directory(), [] {
    const HANDLE theirs = OpenMutexW(SYNCHRONIZE, FALSE, TEXT("M"));
    WaitForSingleObject(theirs, INFINITE);
    SetEvent(CreateEventW(nullptr, FALSE, FALSE, TEXT("Owned")));
    WaitForSingleObject(CreateEventW(nullptr, FALSE, FALSE, TEXT("Never")), INFINITE);
    return 0;
  });
  EXPECT_EQ(WaitForSingleObject(owned, 10'000), WAIT_OBJECT_0);
  EXPECT_EQ(WaitForSingleObject(mutex, 20), DWORD{WAIT_TIMEOUT});
  std::thread([=] {
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    kill(killed, SIGKILL);
  }).detach();
  EXPECT_EQ(WaitForSingleObject(mutex, 10'000), WAIT_ABANDONED) << "a killed owner is noticed";
  FinishPeer(killed);
  // It is owned now, several times if need be, and not abandoned any more.
  EXPECT_EQ(WaitForSingleObject(mutex, 0), WAIT_OBJECT_0);
  const auto try_it = [] {
    return static_cast<int>(WaitForSingleObject(OpenMutexW(SYNCHRONIZE, FALSE, TEXT("M")), 0));
  };
  EXPECT_EQ(RunPeer(directory(), try_it), 2) << "WAIT_TIMEOUT, 258";
  EXPECT_TRUE(ReleaseMutex(mutex));
  EXPECT_EQ(RunPeer(directory(), try_it), 2);
  EXPECT_TRUE(ReleaseMutex(mutex));
  EXPECT_FALSE(ReleaseMutex(mutex));
  EXPECT_EQ(RunPeer(directory(), try_it), 0) << "which the peer abandons in turn";
  EXPECT_EQ(WaitForSingleObject(mutex, 0), WAIT_ABANDONED);
  ReleaseMutex(mutex);
  CloseHandle(mutex);
  CloseHandle(owned);
}

// The processor time of this process in milliseconds.
double ProcessorTime() {
  timespec used;
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &used);
  return static_cast<double>(used.tv_sec) * 1e3 + static_cast<double>(used.tv_nsec) / 1e6;
}

TEST_F(SharedObjectsTest, WaitingTakesNoProcessorTime) {
  const HANDLE mutex = CreateMutexW(nullptr, FALSE, TEXT("M"));
  const HANDLE event = Event(TEXT("E"));
  const pid_t owner = StartPeer(directory(), [] {
    const HANDLE theirs = OpenMutexW(SYNCHRONIZE, FALSE, TEXT("M"));
    WaitForSingleObject(theirs, INFINITE);
    SetEvent(CreateEventW(nullptr, FALSE, FALSE, TEXT("E")));
    Sleep(600);
    ReleaseMutex(theirs);
    return 0;
  });
  EXPECT_EQ(WaitForSingleObject(event, 10'000), WAIT_OBJECT_0);
  MSG message;
  while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) {
  }
  const double before = ProcessorTime();
  EXPECT_EQ(MsgWaitForMultipleObjects(1, &mutex, FALSE, 10'000, QS_ALLINPUT), WAIT_OBJECT_0);
  EXPECT_LT(ProcessorTime() - before, 100);
  EXPECT_EQ(FinishPeer(owner), 0);
  ReleaseMutex(mutex);
  CloseHandle(mutex);
  CloseHandle(event);
}

// On the virtual clock time passes when all threads wait, but not over a thread that was signalled.
TEST_F(SharedObjectsTest, TimeDoesNotPassOverAThreadThatIsAboutToAnswer) {
  platform::UseVirtualClock(true);
  HANDLE events[] = {Event(nullptr), Event(nullptr)};
  const HANDLE thread = CreateThread(
      nullptr, 0,
      [](LPVOID given) WINAPI -> DWORD {
        const auto* pair = static_cast<const HANDLE*>(given);
        for (int i = 0; i < 200; ++i) {
          WaitForSingleObject(pair[0], INFINITE);
          SetEvent(pair[1]);
        }
        return 0;
      },
      events, 0, nullptr);
  int lost = 0;
  for (int i = 0; i < 200; ++i) {
    SetEvent(events[0]);
    if (WaitForSingleObject(events[1], 30'000) != WAIT_OBJECT_0) ++lost;
  }
  EXPECT_EQ(lost, 0);
  EXPECT_EQ(WaitForSingleObject(thread, 30'000), WAIT_OBJECT_0);
  for (const HANDLE handle : {thread, events[0], events[1]}) CloseHandle(handle);
}

constexpr WCHAR kPipe[] = TEXT("\\\\.\\pipe\\KV8_Test");

HANDLE NewServer(DWORD most = 2) {
  return CreateNamedPipeW(kPipe, PIPE_ACCESS_DUPLEX, PIPE_TYPE_MESSAGE | PIPE_READMODE_MESSAGE,
                          most, 4096, 4096, 0, nullptr);
}

HANDLE NewClient() {
  const HANDLE client =
      CreateFileW(kPipe, GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr);
  DWORD mode = PIPE_READMODE_MESSAGE;
  if (client != INVALID_HANDLE_VALUE) SetNamedPipeHandleState(client, &mode, nullptr, nullptr);
  return client;
}

TEST_F(SharedObjectsTest, AServerProcessThatDiesTakesItsPipeAlong) {
  const pid_t server = StartPeer(directory(), [] {
    const HANDLE pipe = NewServer(1);
    ConnectNamedPipe(pipe, nullptr);
    DWORD done = 0;
    char request[4];
    while (ReadFile(pipe, request, sizeof request, &done, nullptr)) {
      WriteFile(pipe, request, done, &done, nullptr);
    }
    return 0;
  });
  HANDLE client = INVALID_HANDLE_VALUE;
  for (int i = 0; i < 1000 && client == INVALID_HANDLE_VALUE; ++i) {
    if (!WaitNamedPipeW(kPipe, 1000)) Sleep(10);
    client = NewClient();
  }
  DWORD done = 0;
  char answer[4] = {};
  EXPECT_TRUE(WriteFile(client, "ask", 3, &done, nullptr));
  EXPECT_TRUE(ReadFile(client, answer, sizeof answer, &done, nullptr));
  EXPECT_STREQ(answer, "ask");
  kill(server, SIGKILL);
  FinishPeer(server);
  EXPECT_FALSE(ReadFile(client, answer, sizeof answer, &done, nullptr));
  EXPECT_EQ(GetLastError(), DWORD{ERROR_BROKEN_PIPE});
  EXPECT_FALSE(WaitNamedPipeW(kPipe, 0));
  EXPECT_EQ(GetLastError(), DWORD{ERROR_FILE_NOT_FOUND});
  CloseHandle(client);
}

}  // namespace
}  // namespace kv::test
