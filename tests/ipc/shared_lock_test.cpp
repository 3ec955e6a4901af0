// Shared memory, counters and the lock of many readers or one writer, between processes.
#include <signal.h>

#include <atomic>
#include <random>

#include "platform/control/message_boxes.h"
#include "platform/control/profiles.h"
#include "runtime/core/messages.h"
#include "runtime/ipc/open_security_attributes.h"
#include "runtime/ipc/shared_access_lock.h"
#include "runtime/ui/progress_window.h"
#include "tests/support/helper_thread.h"
#include "tests/support/peer.h"
#include "tests/support/runtime_test.h"

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

class SharedLockTest : public RuntimeTest {
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
  static void Kill(pid_t peer) {
    kill(peer, SIGKILL);
    FinishPeer(peer);
  }
};

TEST_F(SharedLockTest, TheBlockIsOneNumberThatTheFirstProcessMakes) {
  CSharedCounter counter, ours;
  EXPECT_EQ(counter.Get(), 0) << "nothing to touch yet";
  ASSERT_TRUE(ours.Create(TEXT("Ours"), FALSE, nullptr));
  EXPECT_EQ(ours.Increment(), 1) << "guarded within the process";
  ASSERT_TRUE(counter.Create(kCount, TRUE, kCountMutex));
  EXPECT_EQ(counter.Increment(), 1);
  EXPECT_EQ(RunPeer(directory(),
                    [] {
                      CSharedCounter theirs;
                      theirs.Create(kCount, TRUE, kCountMutex);
                      return static_cast<int>(theirs.Increment());
                    }),
            2);
  CSharedMemory block;
  EXPECT_EQ(block.CreateMutex(kCountMutex), kExisted);
  EXPECT_TRUE(block.OpenMutex(TEXT("unused: there is one")));
  EXPECT_EQ(block.Map(FALSE, kCount, 0, Quiet::kNo), kExisted);
  EXPECT_EQ(memcmp(block.view(), "\2\0\0\0", 4), 0);
  EXPECT_EQ(std::basic_string<WCHAR>(block.name()), kCount);
  EXPECT_EQ(block.Map(FALSE, block.name(), 0, Quiet::kNo), kExisted) << "again, by its own name";
  EXPECT_EQ(std::basic_string<WCHAR>(block.name()), kCount);
  EXPECT_EQ(counter.Decrement(), 1);
  block.Close();
  EXPECT_EQ(std::basic_string<WCHAR>(block.name()), TEXT(""));
  // A missing block is reported unless quiet, and leaves the object closed.
  platform::AnswerNextBox(IDOK);
  EXPECT_EQ(block.Map(FALSE, TEXT("none"), 0, Quiet::kNo), kNotCreated);
  EXPECT_EQ(GetLastError(), DWORD{ERROR_FILE_NOT_FOUND});
  EXPECT_NE(platform::ShownBoxes().back().text.find(TEXT("OpenFileMapping")), size_t(-1));
  EXPECT_EQ(block.Map(FALSE, TEXT("none"), 0, Quiet::kYes), kNotCreated);
  EXPECT_EQ(block.Map(TRUE, nullptr, 8, Quiet::kNo), kCreated) << "a block of its own";
  EXPECT_FALSE(block.OpenMutex(TEXT("none")));
  EXPECT_EQ(block.CreateMutex(TEXT("new")), kCreated);
}

TEST_F(SharedLockTest, ACriticalSectionIsTriedOnceOrForAWhile) {
  CCriticalSection section;
  section.Initialize();
  section.Enter();
  EXPECT_TRUE(section.TryEnterFor(0)) << "the owner enters again";
  section.Leave();
  HelperThread([&] {
    EXPECT_FALSE(section.TryEnterFor(0));
    const DWORD before = GetTickCount();
    EXPECT_FALSE(section.TryEnterFor(1000));
    EXPECT_NEAR(GetTickCount() - before, 1100, 100);
  });
  HelperThread waiter([&] {
    EXPECT_TRUE(section.TryEnterFor(5000));
    section.Leave();
    section.Enter();
    section.Leave();
  });
  Sleep(500);
  section.Leave();
  section.Enter();
  section.Leave();
  section.Delete();
}

TEST_F(SharedLockTest, EntriesNestAndLeave) {
  TestLock lock, other;
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
    const int entered = RunPeer(directory(), [] { return TestLock().Enter(FALSE, 0) ? 1 : 0; });
    EXPECT_EQ(entered, step.others_enter ? 1 : 0);
    EXPECT_EQ(Entries(), step.entries) << "who goes leaves";
  }
  lock.Leave(FALSE);
  EXPECT_EQ(Entries(), 4);
  EXPECT_EQ(RunPeer(directory(), [] { return TestLock().Enter(FALSE, 0) ? 1 : 0; }), 0);
  lock.Leave(TRUE);
  EXPECT_EQ(Entries(), 0);
  EXPECT_EQ(RunPeer(directory(), [] { return TestLock().Enter(TRUE, 0) ? 1 : 0; }), 1);
  lock.Leave(FALSE);
  other.Leave(TRUE);
  EXPECT_EQ(Entries(), 0) << "nobody leaves what he has not entered";
  CSharedAccessLock none(TEXT(""), kCount, kCountMutex);
  EXPECT_FALSE(none.IsInitialised());
  EXPECT_TRUE(none.Enter(TRUE, 0));
  none.Leave(TRUE);
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
  EXPECT_NEAR(GetTickCount() - before, CSharedAccessLock::kAbandonedEntries + 250, 250);
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
  EXPECT_EQ(RunPeer(directory(), [] { return TestLock().Enter(FALSE, 0) ? 1 : 0; }), 1)
      << "and blocks nobody after it";
  platform::UseVirtualClock(true);
  before = GetTickCount();
  EXPECT_TRUE(lock.Enter(TRUE, 1000));
  EXPECT_LT(GetTickCount() - before, 6000u);
  lock.Leave(TRUE);
  EXPECT_EQ(Entries(), 0);
}

TEST_F(SharedLockTest, ALivingReaderRestartsTheTimeAndLeavesWithoutWaiting) {
  TestLock writer;
  TestLock reader;
  EXPECT_TRUE(reader.Enter(FALSE, 0));
  EXPECT_TRUE(reader.Enter(FALSE, 0));
  std::atomic<bool> inside = false;
  HelperThread thread([&] {
    TestLock other;
    EXPECT_TRUE(other.Enter(TRUE, 1000));
    inside = true;
    Sleep(100);
    other.Leave(TRUE);
  });
  Sleep(4000);
  DWORD before = GetTickCount();
  reader.Leave(FALSE);
  EXPECT_LT(GetTickCount() - before, 50u) << "a writer waits with the mutex in hand";
  Sleep(4000);
  EXPECT_FALSE(inside) << "an entry left since";
  Sleep(2000);
  EXPECT_TRUE(inside) << "the reader counts as dead now";
  platform::ResetFaults();
  reader.Leave(FALSE);
  EXPECT_EQ(platform::CallCount("WaitForSingleObject"), 1u) << "who dies between two steps lies";
  EXPECT_EQ(Entries(), 0) << "and does no harm when it leaves after all";
  EXPECT_TRUE(writer.Enter(TRUE, 1000));
}

TEST_F(SharedLockTest, WithoutTheCountReadersExcludeEachOther) {
  platform::AnswerNextBox(IDOK);
  platform::FailCall("CreateFileMappingW", 1);
  const HANDLE others = CreateMutexW(nullptr, FALSE, kCountMutex);
  TestLock lock;
  EXPECT_TRUE(lock.IsInitialised());
  HelperThread([&] {
    EXPECT_EQ(WaitForSingleObject(others, 0), WAIT_OBJECT_0) << "let go";
    ReleaseMutex(others);
  });
  CloseHandle(others);
  EXPECT_TRUE(lock.Enter(FALSE, 0));
  EXPECT_EQ(RunPeer(directory(), [] { return TestLock().Enter(TRUE, 0) ? 1 : 0; }), 0);
  EXPECT_TRUE(lock.Enter(TRUE, 0));
  lock.Leave(FALSE);
  EXPECT_EQ(RunPeer(directory(), [] { return TestLock().Enter(FALSE, 0) ? 1 : 0; }), 0);
  lock.Leave(TRUE);
  EXPECT_EQ(RunPeer(directory(), [] { return TestLock().Enter(TRUE, 0) ? 1 : 0; }), 1);
}

TEST_F(SharedLockTest, AnInteractiveLockEndsWithTheMutexCancelQuitOrDeath) {
  constexpr WCHAR kMutex[] = TEXT("Local\\M");
  CSharedMemory memory;
  ASSERT_EQ(memory.CreateMutex(kMutex), kCreated);
  EXPECT_TRUE(memory.LockInteractive(nullptr, nullptr));
  memory.Unlock();
  const HANDLE cancel = CreateEventW(nullptr, FALSE, FALSE, nullptr);
  const HANDLE taken = CreateEventW(nullptr, FALSE, FALSE, nullptr);
  // The owner gives the mutex up after a second, or dies with it.
  const auto with_owner = [&](bool releases, const std::function<BOOL()>& wait) {
    HelperThread owner([&] {
      const HANDLE mutex = OpenMutexW(SYNCHRONIZE, FALSE, kMutex);
      WaitForSingleObject(mutex, INFINITE);
      SetEvent(taken);
      Sleep(1000);
      if (releases) ReleaseMutex(mutex);
      CloseHandle(mutex);
    });
    WaitForSingleObject(taken, INFINITE);
    return wait();
  };
  const auto wait = [&] { return memory.LockInteractive(nullptr, cancel); };
  EXPECT_TRUE(with_owner(true, wait));
  memory.Unlock();
  EXPECT_FALSE(with_owner(true, [&] {
    SetEvent(cancel);
    return wait();
  }));
  EXPECT_FALSE(with_owner(true, [&] {
    PostQuitMessage(3);
    return wait();
  }));
  MSG message;
  EXPECT_TRUE(PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE));
  EXPECT_EQ(message.message, UINT{WM_QUIT});
  EXPECT_EQ(message.wParam, 3u);
  platform::AnswerNextBox(IDOK);
  EXPECT_FALSE(with_owner(false, wait)) << "the owner died";
  EXPECT_TRUE(memory.LockInteractive(nullptr, nullptr)) << "which leaves the mutex free";
  memory.Unlock();
  CloseHandle(cancel);
  CloseHandle(taken);
}

TEST_F(SharedLockTest, OpenAttributesLetEverybodyIn) {
  COpenSecurityAttributes attributes(TRUE);
  ASSERT_NE(attributes.Get(), nullptr);
  EXPECT_TRUE(attributes.Get()->bInheritHandle);
  BOOL present = FALSE, defaulted = TRUE;
  PACL acl = nullptr;
  const PSECURITY_DESCRIPTOR descriptor = attributes.Get()->lpSecurityDescriptor;
  EXPECT_TRUE(GetSecurityDescriptorDacl(descriptor, &present, &acl, &defaulted));
  EXPECT_TRUE(present && acl == nullptr && !defaulted);
  EXPECT_TRUE(GetSecurityDescriptorSacl(descriptor, &present, &acl, &defaulted));
  ASSERT_TRUE(present && acl != nullptr);
  void* ace = nullptr;
  EXPECT_TRUE(GetAce(acl, 0, &ace));
  const auto& label = *static_cast<ACCESS_ALLOWED_ACE*>(ace);
  EXPECT_EQ(label.Mask, 1u) << "no write up";
  EXPECT_EQ(*GetSidSubAuthority(const_cast<DWORD*>(&label.SidStart), 0), 0x1000u) << "low";
  ASSERT_TRUE(platform::UseProfile("windows-xp", "x86"));
  Restart();
  COpenSecurityAttributes before_vista(FALSE);
  ASSERT_NE(before_vista.Get(), nullptr);
  EXPECT_TRUE(GetSecurityDescriptorSacl(before_vista.Get()->lpSecurityDescriptor, &present, &acl,
                                        &defaulted));
  EXPECT_FALSE(present);
}

}  // namespace
}  // namespace kv::test
