// Mutexes, events, threads and pipes inside one process.
#include <gtest/gtest.h>
#include <windows.h>

namespace {

TEST(ObjectsPortableTest, AThreadThatEndsAbandonsWhatItOwns) {
  const HANDLE mutex = CreateMutexW(nullptr, FALSE, nullptr);
  DWORD id = 0;
  const HANDLE thread = CreateThread(
      nullptr, 0, [](LPVOID owned) WINAPI -> DWORD { return WaitForSingleObject(owned, 0) + 5; },
      mutex, 0, &id);
  EXPECT_EQ(WaitForSingleObject(thread, 10'000), WAIT_OBJECT_0);
  DWORD code = 0;
  EXPECT_TRUE(GetExitCodeThread(thread, &code));
  EXPECT_EQ(code, 5u);
  EXPECT_EQ(WaitForSingleObject(mutex, 10'000), WAIT_ABANDONED);
  CloseHandle(thread);
  CloseHandle(mutex);
}

TEST(ObjectsPortableTest, WaitsForSeveralTakeOneOrAll) {
  const HANDLE objects[] = {CreateEventW(nullptr, FALSE, FALSE, nullptr),
                            CreateEventW(nullptr, FALSE, TRUE, TEXT("KvPortableEvent")),
                            CreateMutexW(nullptr, FALSE, nullptr)};
  EXPECT_EQ(WaitForMultipleObjects(3, objects, TRUE, 0), static_cast<DWORD>(WAIT_TIMEOUT));
  EXPECT_FALSE(ReleaseMutex(objects[2])) << "a wait for all takes nothing until it takes all";
  EXPECT_EQ(WaitForMultipleObjects(3, objects, FALSE, INFINITE), WAIT_OBJECT_0 + 1);
  SetEvent(objects[0]);
  EXPECT_EQ(WaitForMultipleObjects(3, objects, FALSE, 0), WAIT_OBJECT_0);
  EXPECT_EQ(WaitForMultipleObjects(3, objects, FALSE, 0), WAIT_OBJECT_0 + 2);
  SetEvent(objects[0]);
  SetEvent(objects[1]);
  EXPECT_EQ(WaitForMultipleObjects(3, objects, TRUE, 0), WAIT_OBJECT_0);
  EXPECT_EQ(WaitForMultipleObjects(2, objects, FALSE, 0), static_cast<DWORD>(WAIT_TIMEOUT));
  EXPECT_EQ(WaitForMultipleObjects(0, objects, FALSE, 0), WAIT_FAILED);
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_PARAMETER));
  for (const HANDLE object : objects) CloseHandle(object);
  EXPECT_EQ(WaitForSingleObject(objects[0], 0), WAIT_FAILED);
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_HANDLE));
}

constexpr WCHAR kPipe[] = TEXT("\\\\.\\pipe\\KV8_Portable");

HANDLE NewServer() {
  return CreateNamedPipeW(kPipe, PIPE_ACCESS_DUPLEX, PIPE_TYPE_MESSAGE | PIPE_READMODE_MESSAGE, 2,
                          4096, 4096, 0, nullptr);
}

HANDLE NewClient() {
  const HANDLE client =
      CreateFileW(kPipe, GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr);
  DWORD mode = PIPE_READMODE_MESSAGE;
  if (client != INVALID_HANDLE_VALUE) SetNamedPipeHandleState(client, &mode, nullptr, nullptr);
  return client;
}

TEST(ObjectsPortableTest, InstancesOfAPipeAreTakenOneByOne) {
  EXPECT_FALSE(WaitNamedPipeW(kPipe, 50));
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_FILE_NOT_FOUND));
  const HANDLE servers[] = {NewServer(), NewServer()};
  EXPECT_EQ(NewServer(), INVALID_HANDLE_VALUE);
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_PIPE_BUSY));
  const HANDLE first = NewClient();
  EXPECT_TRUE(WaitNamedPipeW(TEXT("\\\\.\\PIPE\\kv8_portable"), 0)) << "case does not matter";
  const HANDLE second = NewClient();
  EXPECT_FALSE(WaitNamedPipeW(kPipe, 30));
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_SEM_TIMEOUT));
  EXPECT_EQ(NewClient(), INVALID_HANDLE_VALUE);
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_PIPE_BUSY));
  EXPECT_FALSE(ConnectNamedPipe(servers[0], nullptr));
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_PIPE_CONNECTED));
  // What the client has not read is lost with the connection.
  DWORD done = 0;
  EXPECT_TRUE(WriteFile(servers[0], "abc", 3, &done, nullptr));
  EXPECT_TRUE(DisconnectNamedPipe(servers[0]));
  char buffer[8];
  EXPECT_FALSE(ReadFile(first, buffer, sizeof buffer, &done, nullptr));
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_PIPE_NOT_CONNECTED));
  EXPECT_FALSE(WriteFile(servers[0], "abc", 3, &done, nullptr));
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_PIPE_NOT_CONNECTED));
  // The other client goes: what it wrote can still be read.
  EXPECT_TRUE(WriteFile(second, "xy", 2, &done, nullptr));
  CloseHandle(second);
  EXPECT_FALSE(ReadFile(servers[1], buffer, 1, &done, nullptr));
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_MORE_DATA));
  EXPECT_TRUE(ReadFile(servers[1], buffer, 8, &done, nullptr));
  EXPECT_EQ(done, 1u);
  EXPECT_FALSE(ReadFile(servers[1], buffer, 1, &done, nullptr));
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_BROKEN_PIPE));
  EXPECT_FALSE(WriteFile(servers[1], "abc", 3, &done, nullptr));
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_NO_DATA));
  for (const HANDLE handle : {first, servers[0], servers[1]}) CloseHandle(handle);
  EXPECT_FALSE(WaitNamedPipeW(kPipe, 50));
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_FILE_NOT_FOUND));
}

TEST(ObjectsPortableTest, CriticalSectionsNest) {
  CRITICAL_SECTION section;
  InitializeCriticalSection(&section);
  EnterCriticalSection(&section);
  EXPECT_TRUE(TryEnterCriticalSection(&section));
  LeaveCriticalSection(&section);
  const auto try_it = [](LPVOID entered) WINAPI -> DWORD {
    auto* const other = static_cast<CRITICAL_SECTION*>(entered);
    if (!TryEnterCriticalSection(other)) return 0;
    LeaveCriticalSection(other);
    return 1;
  };
  for (const DWORD free : {0, 1}) {
    const HANDLE thread = CreateThread(nullptr, 0, try_it, &section, 0, nullptr);
    WaitForSingleObject(thread, INFINITE);
    DWORD code = 7;
    GetExitCodeThread(thread, &code);
    EXPECT_EQ(code, free);
    CloseHandle(thread);
    if (free == 0) LeaveCriticalSection(&section);
  }
  DeleteCriticalSection(&section);
}

}  // namespace
