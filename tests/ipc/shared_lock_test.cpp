// Shared memory, counters and the lock of many readers or one writer, between processes.
#include <signal.h>

#include <atomic>
#include <random>

#include "runtime/core/handles.h"
#include "runtime/ipc/shared_access_lock.h"
#include "runtime/ui/progress_window.h"
#include "tests/ipc/ipc_test.h"
#include "tests/support/peer.h"

namespace kv::test {
namespace {

constexpr WCHAR kLock[] = TEXT("Local\\KV8_LocalMutex_Test");
constexpr WCHAR kCount[] = TEXT("Local\\KV8_LocalSharedMemory_Test");
constexpr WCHAR kCountMutex[] = TEXT("Local\\KV8_LocalMutex_TestSharedMem");

struct TestLock : CSharedAccessLock {
  TestLock() : CSharedAccessLock(kLock, kCount, kCountMutex) {}
};

// The number of entries that the processes share.
LONG Entries() {
  CSharedCounter counter;
  return counter.Create(kCount, TRUE, kCountMutex) ? counter.Get() : -1000;
}

class SharedLockTest : public IpcTest {
 protected:
  // Starts a peer that enters and stays inside; returns when it is inside.
  pid_t Enterer(BOOL exclusive) {
    const HANDLE inside = CreateEventW(nullptr, FALSE, FALSE, TEXT("Inside"));
    const pid_t peer = StartPeer(directory(), [=] {
      TestLock lock;
      if (!lock.Enter(exclusive, 10'000)) return 1;
      SetEvent(CreateEventW(nullptr, FALSE, FALSE, TEXT("Inside")));
      Sleep(INFINITE);
      return 0;
    });
    EXPECT_EQ(WaitForSingleObject(inside, 20'000), WAIT_OBJECT_0);
    CloseHandle(inside);
    return peer;
  }
  bool PeerEnters(BOOL exclusive) {
    return RunPeer(directory(), [=] { return TestLock().Enter(exclusive, 0) ? 1 : 0; }) == 1;
  }
  static void Kill(pid_t peer) {
    kill(peer, SIGKILL);
    FinishPeer(peer);
  }
};

TEST_F(SharedLockTest, TheCountIsOneNumberThatTheFirstProcessMakes) {
  CSharedCounter counter, ours;
  ASSERT_TRUE(ours.Create(TEXT("Ours"), FALSE, nullptr));
  EXPECT_EQ(ours.Increment(), 1) << "guarded within the process";
  platform::FailCall("CreateMutexW", 1, ERROR_ACCESS_DENIED);
  EXPECT_FALSE(counter.Create(kCount, TRUE, kCountMutex));
  EXPECT_EQ(counter.Increment(), 0) << "nothing to touch";
  EXPECT_FALSE(counter.Replace(0, 1));
  counter.DecrementAboveZero();
  ASSERT_TRUE(counter.Create(kCount, TRUE, kCountMutex));
  EXPECT_EQ(counter.Increment(), 1);
  EXPECT_TRUE(counter.Create(TEXT("another"), TRUE, TEXT("other"))) << "it stays what it is";
  EXPECT_EQ(RunPeer(directory(),
                    [] {
                      CSharedCounter theirs;
                      theirs.Create(kCount, TRUE, kCountMutex);
                      return static_cast<int>(theirs.Increment());
                    }),
            2);
  CSharedMemory block;
  EXPECT_EQ(block.Map(FALSE, kCount, 0, Quiet::kNo), kExisted);
  EXPECT_EQ(memcmp(block.view(), "\2\0\0\0", 4), 0);
  EXPECT_FALSE(counter.Replace(1, 7));
  EXPECT_EQ(counter.Get(), 2);
  EXPECT_TRUE(counter.Replace(2, 1));
  counter.DecrementAboveZero();
  EXPECT_EQ(counter.Get(), 0);
  counter.DecrementAboveZero();
  EXPECT_EQ(counter.Get(), 0);
  EXPECT_EQ(counter.Decrement(), -1);
}

TEST_F(SharedLockTest, BlocksAreMadeOpenedAndLetGo) {
  CSharedMemory block, other;
  EXPECT_EQ(block.CreateMutex(TEXT("M")), kCreated);
  EXPECT_EQ(block.CreateMutex(TEXT("unused: there is one")), kExisted);
  EXPECT_EQ(other.CreateMutex(TEXT("M")), kExisted);
  EXPECT_TRUE(other.OpenMutex(TEXT("unused: there is one")));
  EXPECT_EQ(block.Map(TRUE, TEXT("Block"), 8, Quiet::kNo), kCreated);
  EXPECT_EQ(other.Map(TRUE, TEXT("Block"), 8, Quiet::kNo), kExisted);
  EXPECT_EQ(other.Map(FALSE, other.name(), 0, Quiet::kNo), kExisted) << "again, by its own name";
  EXPECT_EQ(WideView(other.name()), TEXT("Block"));
  // What fails is reported unless quiet, and leaves the object closed.
  for (const auto& [call, report] : {std::pair{"OpenFileMappingW", TEXT("OpenFileMapping failed")},
                                     {"CreateFileMappingW", TEXT("CreateFileMapping failed")},
                                     {"MapViewOfFile", TEXT("MapViewOfFile failed")}}) {
    EXPECT_TRUE(other.OpenMutex(TEXT("M")));
    for (const Quiet quiet : {Quiet::kYes, Quiet::kNo}) {
      if (quiet == Quiet::kNo) platform::AnswerNextBox(IDOK);
      platform::FailCall(call, 1, ERROR_BUSY);
      EXPECT_EQ(other.Map(*call == 'C', TEXT("Block"), 8, quiet), kNotCreated);
      EXPECT_EQ(GetLastError(), DWORD{ERROR_BUSY});
    }
    EXPECT_TRUE(Reported(report));
    EXPECT_EQ(other.view(), nullptr);
    EXPECT_EQ(WideView(other.name()), TEXT(""));
    EXPECT_FALSE(other.OpenMutex(TEXT("none")));
  }
  EXPECT_EQ(block.Map(TRUE, nullptr, 8, Quiet::kNo), kCreated) << "a block of its own";
  CSharedMemory();
  EXPECT_EQ(platform::CallCount("DeleteCriticalSection"), 1u);
}

TEST_F(SharedLockTest, ACriticalSectionIsTriedOnceOrForAWhile) {
  CCriticalSection section;
  section.Initialize();
  const UniqueHandle taken(CreateEventW(nullptr, FALSE, FALSE, nullptr));
  HelperThread owner([&] {
    section.Enter();
    EXPECT_TRUE(section.TryEnterFor(0)) << "the owner enters again";
    section.Leave();
    SetEvent(taken.Get());
    Sleep(2450);
    section.Leave();
  });
  WaitForSingleObject(taken.Get(), INFINITE);
  const DWORD start = GetTickCount();
  EXPECT_FALSE(section.TryEnterFor(0));
  EXPECT_NEAR(GetTickCount() - start, 0, 5);
  EXPECT_FALSE(section.TryEnterFor(1000));
  EXPECT_NEAR(GetTickCount() - start, 1103, 3) << "the time is not over behind the tenth pause";
  EXPECT_TRUE(section.TryEnterFor(5000));
  EXPECT_NEAR(GetTickCount() - start, 2505, 5);
  section.Leave();
  section.Delete();
}

TEST_F(SharedLockTest, EntriesNestAndLeave) {
  TestLock lock;
  struct Step {
    BOOL exclusive;
    LONG entries;
    bool others_enter;
  };
  // Readers in between, then a writer twice, a reader inside the writer.
  for (const Step& step : {Step{FALSE, 1, true},
                           {FALSE, 2, true},
                           {TRUE, 3, false},
                           {TRUE, 4, false},
                           {FALSE, 5, false}}) {
    EXPECT_TRUE(lock.Enter(step.exclusive, 0));
    EXPECT_EQ(Entries(), step.entries);
    EXPECT_EQ(PeerEnters(FALSE), step.others_enter);
    EXPECT_EQ(Entries(), step.entries) << "who goes leaves";
  }
  lock.Leave(FALSE);
  EXPECT_EQ(Entries(), 4);
  EXPECT_FALSE(PeerEnters(FALSE));
  lock.Leave(TRUE);
  EXPECT_EQ(Entries(), 0);
  EXPECT_TRUE(PeerEnters(TRUE));
  lock.Leave(FALSE);
  EXPECT_EQ(Entries(), 0) << "nobody leaves what he has not entered";
}

TEST_F(SharedLockTest, ALockThatCannotBeMadeLocksNothing) {
  TestLock lock;
  EXPECT_TRUE(lock.Enter(TRUE, 0));
  EXPECT_TRUE(lock.Init(TEXT(""), nullptr, nullptr)) << "it stays what it is";
  CSharedAccessLock none(TEXT(""), kCount, kCountMutex);
  EXPECT_FALSE(none.Init(kLock, nullptr, kCountMutex));
  EXPECT_FALSE(none.Init(kLock, kCount, TEXT("")));
  platform::FailCall("CreateMutexW", 1, ERROR_ACCESS_DENIED);
  EXPECT_FALSE(none.Init(kLock, kCount, kCountMutex));
  EXPECT_FALSE(none.IsInitialised());
  EXPECT_TRUE(none.Enter(TRUE, 0));
  none.Leave(TRUE);
  EXPECT_EQ(Entries(), 1);
}

// What the processes of the next test share beside the lock.
struct Proof {
  std::atomic<int> readers, writers, violations, exclusive_rounds;
  int data[64];
};

int ReadAndWrite(unsigned seed) {
  platform::UseVirtualClock(false);
  TestLock lock;
  CSharedMemory memory;
  if (memory.Map(TRUE, TEXT("Proof"), sizeof(Proof), Quiet::kYes) == kNotCreated) return 1;
  auto& proof = *static_cast<Proof*>(memory.view());
  std::mt19937 random(seed);
  for (int round = 0; round < 10; ++round) {
    const bool exclusive = random() % 4 == 0;
    if (!lock.Enter(exclusive, 60'000)) return 2;
    if (exclusive) {
      if (proof.writers++ != 0 || proof.readers != 0) ++proof.violations;
      ++proof.exclusive_rounds;
      for (int& number : proof.data) {
        number = static_cast<int>(seed * 100) + round;
        if (&number == &proof.data[32]) Sleep(random() % 4);
      }
      if (--proof.writers != 0 || proof.readers != 0) ++proof.violations;
    } else {
      ++proof.readers;
      if (proof.writers != 0) ++proof.violations;
      Sleep(random() % 4);
      for (const int number : proof.data) {
        if (number != proof.data[0]) ++proof.violations;
      }
      --proof.readers;
    }
    lock.Leave(FALSE);
    Sleep(random() % 3);
  }
  return 0;
}

TEST_F(SharedLockTest, EightProcessesReadAndWriteInTurn) {
  platform::UseVirtualClock(false);
  CSharedMemory memory;
  ASSERT_EQ(memory.Map(TRUE, TEXT("Proof"), sizeof(Proof), Quiet::kNo), kCreated);
  std::vector<pid_t> peers;
  for (unsigned i = 0; i < 8; ++i) {
    peers.push_back(StartPeer(directory(), [=] { return ReadAndWrite(i + 1); }));
  }
  for (const pid_t peer : peers) EXPECT_EQ(FinishPeer(peer), 0);
  const auto& proof = *static_cast<Proof*>(memory.view());
  EXPECT_EQ(proof.violations, 0);
  EXPECT_GT(proof.exclusive_rounds, 4);
  EXPECT_EQ(Entries(), 0);
}

TEST_F(SharedLockTest, WhoDiesInsideHoldsOthersUpForABoundedTime) {
  platform::UseVirtualClock(false);
  TestLock lock;
  Kill(Enterer(FALSE));
  Kill(Enterer(FALSE));
  EXPECT_EQ(Entries(), 2);
  EXPECT_TRUE(lock.Enter(FALSE, 0)) << "a reader is not held up";
  EXPECT_EQ(Entries(), 3);
  platform::UseVirtualClock(true);
  DWORD before = GetTickCount();
  EXPECT_TRUE(lock.Enter(TRUE, 1000));
  EXPECT_NEAR(GetTickCount() - before, 5010, 10) << "twenty pauses of 250 ms";
  EXPECT_EQ(Entries(), 2) << "this object's own";
  lock.Leave(TRUE);
  EXPECT_EQ(Entries(), 0);

  platform::UseVirtualClock(false);
  const pid_t writer = Enterer(TRUE);
  EXPECT_FALSE(lock.Enter(FALSE, 50));
  Kill(writer);
  EXPECT_FALSE(lock.Enter(FALSE, 10'000)) << "the abandoned mutex fails one";
  EXPECT_TRUE(lock.Enter(FALSE, 0));
  lock.Leave(FALSE);
  EXPECT_TRUE(PeerEnters(FALSE)) << "and blocks nobody after it";
  platform::UseVirtualClock(true);
  before = GetTickCount();
  EXPECT_TRUE(lock.Enter(TRUE, 1000));
  EXPECT_LT(GetTickCount() - before, 6000u);
  lock.Leave(TRUE);
  EXPECT_EQ(Entries(), 0);
}

TEST_F(SharedLockTest, ALivingReaderRestartsTheTimeAndLeavesWithoutWaiting) {
  TestLock reader;
  for (int i = 0; i < 2; ++i) EXPECT_TRUE(reader.Enter(FALSE, 0));
  std::atomic<bool> inside = false;
  HelperThread writer([&] {
    TestLock lock;
    EXPECT_TRUE(lock.Enter(TRUE, 1000));
    inside = true;
    Sleep(100);
  });
  Sleep(4000);
  platform::ResetFaults();
  reader.Leave(FALSE);
  Sleep(4000);
  EXPECT_FALSE(inside) << "an entry left since";
  Sleep(2000);
  EXPECT_TRUE(inside) << "the reader counts as dead now";
  reader.Leave(FALSE);
  EXPECT_EQ(platform::CallCount("WaitForSingleObject"), 2u) << "for the count alone";
  EXPECT_EQ(Entries(), 0) << "no harm is done by leaving after all";
}

TEST_F(SharedLockTest, WithoutTheCountReadersExcludeEachOther) {
  platform::AnswerNextBox(IDOK);
  platform::FailCall("CreateFileMappingW", 1);
  TestLock lock;
  EXPECT_TRUE(lock.IsInitialised());
  EXPECT_TRUE(lock.Enter(FALSE, 0));
  EXPECT_FALSE(PeerEnters(TRUE));
  EXPECT_TRUE(lock.Enter(TRUE, 0));
  lock.Leave(FALSE);
  EXPECT_FALSE(PeerEnters(FALSE));
  lock.Leave(TRUE);
  EXPECT_TRUE(PeerEnters(TRUE));
}

TEST_F(SharedLockTest, AnInteractiveLockEndsWithTheMutexCancelQuitOrDeath) {
  constexpr WCHAR kMutex[] = TEXT("Local\\M");
  CSharedMemory memory;
  ASSERT_EQ(memory.CreateMutex(kMutex), kCreated);
  CProgressWnd window;
  ASSERT_TRUE(window.Create(GetModuleHandleW(nullptr), nullptr, TEXT("KvLock"), TEXT("T"), 0, 0,
                            TRUE, TEXT("Stop"), 0, 0, 0, 0, nullptr, nullptr));
  const HWND shown = window.window();
  EXPECT_TRUE(memory.LockInteractive(&window, nullptr));
  EXPECT_EQ(platform::CallCount("ShowWindow"), 0u) << "free from the start";
  memory.Unlock();
  const UniqueHandle cancel(CreateEventW(nullptr, FALSE, FALSE, nullptr));
  const UniqueHandle taken(CreateEventW(nullptr, FALSE, FALSE, nullptr));
  struct Way {
    std::function<void()> meanwhile;  // half a second before the owner goes
    bool releases;                    // the owner, who dies with it otherwise
    BOOL owned;
    int after;       // milliseconds
    LPCWSTR report;  // of a failure; null for none
  };
  const auto nothing = [] {};
  for (const Way& way :
       {Way{nothing, true, TRUE, 1000, nullptr},
        {[=] { PostMessageW(shown, WM_APP, 0, 0); }, true, TRUE, 1000, nullptr},
        {[&] { SetEvent(cancel.Get()); }, true, FALSE, 500, nullptr},
        {[=] { PostMessageW(shown, WM_CLOSE, 0, 0); }, true, FALSE, 500, nullptr},
        {nothing, false, FALSE, 1000, TEXT("MsgWaitForMultipleObjects failed.")}}) {
    HelperThread owner([&] {
      const UniqueHandle mutex(OpenMutexW(SYNCHRONIZE, FALSE, kMutex));
      WaitForSingleObject(mutex.Get(), INFINITE);
      SetEvent(taken.Get());
      Sleep(500);
      EXPECT_TRUE(IsWindowVisible(shown));
      way.meanwhile();
      Sleep(500);
      if (way.releases) ReleaseMutex(mutex.Get());
    });
    WaitForSingleObject(taken.Get(), INFINITE);
    window.Reset();
    if (way.report != nullptr) platform::AnswerNextBox(IDOK);
    const DWORD start = GetTickCount();
    EXPECT_EQ(memory.LockInteractive(&window, cancel.Get()), way.owned);
    EXPECT_NEAR(GetTickCount() - start, way.after, 20);
    EXPECT_FALSE(IsWindowVisible(shown));
    if (way.owned) memory.Unlock();
    if (way.report == nullptr) continue;
    EXPECT_EQ(platform::ShownBoxes().back().text, way.report);
  }
  window.Destroy();
  EXPECT_TRUE(memory.LockInteractive(nullptr, nullptr)) << "a dead owner's mutex is free";
  memory.Unlock();
  HelperThread([&] { memory.Lock(); });
  EXPECT_TRUE(memory.LockInteractive(nullptr, nullptr)) << "also when he died before";
  HelperThread other([&] {
    PostQuitMessage(3);
    EXPECT_FALSE(memory.LockInteractive(nullptr, nullptr)) << "told to quit";
    SetEvent(taken.Get());
  });
  WaitForSingleObject(taken.Get(), INFINITE);
  memory.Unlock();
  HelperThread last([&] {
    const UniqueHandle mutex(OpenMutexW(SYNCHRONIZE, FALSE, kMutex));
    EXPECT_EQ(WaitForSingleObject(mutex.Get(), 0), WAIT_OBJECT_0) << "owned no more than once";
    ReleaseMutex(mutex.Get());
  });
}

}  // namespace
}  // namespace kv::test
