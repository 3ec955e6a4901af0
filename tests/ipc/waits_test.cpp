// Waits behind a progress window and for print jobs, and pipes with blocks.
#include "runtime/ipc/waits.h"

#include <commctrl.h>

#include <numeric>

#include "platform/user/window.h"
#include "runtime/ipc/pipe_blocks.h"
#include "tests/ipc/ipc_test.h"
#include "tests/printing/printer_test.h"

namespace kv::test {
namespace {

constexpr WCHAR kClass[] = TEXT("KvWait");

class WaitsTest : public IpcTest {
 protected:
  void SetUp() override {
    IpcTest::SetUp();
    for (HANDLE& event : events_) event = CreateEventW(nullptr, FALSE, FALSE, nullptr);
  }
  void TearDown() override {
    for (const HANDLE event : events_) CloseHandle(event);
    IpcTest::TearDown();
  }
  static BOOL WaitFor(const HANDLE* objects, int count, BOOL all, DWORD timeout) {
    return WaitForMultipleObjectsWithProgress(objects, count, all, timeout, kClass, TEXT("Title"),
                                              TEXT("100% text"), TEXT("Stop"));
  }
  BOOL WaitFor(int count, BOOL all, DWORD timeout) { return WaitFor(events_, count, all, timeout); }
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

std::vector<WORD> icons;

TEST_F(WaitsTest, TheWindowTellsOfTheWait) {
  icons.clear();
  platform::Replace(
      "LoadImageW", +[](HINSTANCE, LPCWSTR name, UINT, int, int, UINT) WINAPI -> HANDLE {
        icons.push_back(LOWORD(reinterpret_cast<UINT_PTR>(name)));
        return nullptr;
      });
  HelperThread looker([] {
    for (const bool finite : {true, false}) {
      const DWORD start = GetTickCount();
      Sleep(1500);
      const auto window = platform::WindowOf(Window());
      ASSERT_NE(window, nullptr);
      EXPECT_EQ(window->title, TEXT("Title"));
      EXPECT_EQ(window->style, DWORD{WS_POPUP | WS_CAPTION | WS_VISIBLE});
      EXPECT_EQ(window->ex_style, 0u);
      EXPECT_EQ(window->rectangle.right - window->rectangle.left, 384);
      EXPECT_EQ(window->rectangle.bottom - window->rectangle.top, 154);
      const auto children = platform::ChildrenNow(window->handle);
      ASSERT_EQ(children.size(), 4u) << "icon, text, bar and button";
      EXPECT_EQ(children[1]->title, TEXT("100% text"));
      EXPECT_EQ(children[3]->title, TEXT("Stop"));
      const HWND bar = children[2]->handle;
      EXPECT_EQ(IsWindowVisible(bar), finite);
      if (finite) {
        const auto ask = [=](UINT message, BOOL low) {
          return static_cast<DWORD>(SendMessageW(bar, message, low, 0)) - start;
        };
        EXPECT_NEAR(ask(PBM_GETPOS, 0), 1000, 20) << "each second";
        EXPECT_NEAR(ask(PBM_GETRANGE, TRUE), 0, 20);
        EXPECT_EQ(ask(PBM_GETRANGE, FALSE) - ask(PBM_GETRANGE, TRUE), 1800u);
        Sleep(500);
      } else {
        PostMessageW(window->handle, WM_CLOSE, 0, 0);
      }
    }
  });
  EXPECT_FALSE(WaitFor(2, FALSE, 1800));
  Sleep(200);
  EXPECT_FALSE(WaitFor(2, FALSE, INFINITE));
  EXPECT_EQ(icons, std::vector<WORD>(6, 11)) << "large, small and beside the text";
  platform::AnswerNextBox(IDOK);
  platform::FailCall("RegisterClassW", 1);
  EXPECT_FALSE(WaitFor(2, FALSE, INFINITE)) << "without a window there is no wait";
}

TEST_F(WaitsTest, AllMayComeInAnyOrder) {
  const std::vector<HANDLE> before(events_, events_ + 3);
  for (const auto& order : {std::array{0, 1, 2}, {2, 1, 0}, {1, 2, 0}}) {
    HelperThread signaller([&] {
      for (const int index : order) {
        Sleep(700);
        SetEvent(events_[index]);
      }
    });
    const DWORD start = GetTickCount();
    EXPECT_TRUE(WaitFor(3, TRUE, INFINITE));
    EXPECT_NEAR(GetTickCount() - start, 2100, 100);
    EXPECT_EQ(std::vector<HANDLE>(events_, events_ + 3), before) << "the caller's handles stay";
  }
}

TEST_F(WaitsTest, InputNeitherEndsNorLengthensAWait) {
  bool done = false;
  HelperThread mouse([&] {
    for (; !done; Sleep(10)) PostMessageW(Window(), WM_SHOWWINDOW, 0, 0);
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

TEST_F(WaitsTest, CancelAndQuitEndIt) {
  HelperThread user([&] {
    SetEvent(events_[0]);
    Sleep(300);
    PostMessageW(Window(), WM_COMMAND, IDCANCEL, 0);
  });
  EXPECT_FALSE(WaitFor(2, TRUE, 60'000)) << "with one of two there";
  PostQuitMessage(9);
  EXPECT_FALSE(WaitFor(1, FALSE, INFINITE));
  MSG message = {};
  EXPECT_TRUE(PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE));
  EXPECT_EQ(message.message, UINT{WM_QUIT}) << "for the thread's own loop";
  EXPECT_EQ(message.wParam, 9u);
}

TEST_F(WaitsTest, ADeadOwnersMutexEndsItAndIsFree) {
  const HANDLE mutexes[] = {CreateMutexW(nullptr, FALSE, nullptr),
                            CreateMutexW(nullptr, FALSE, nullptr)};
  for (const BOOL all : {FALSE, TRUE}) {
    for (const DWORD dies_after : {0, 300}) {
      HelperThread owner([&] {
        for (const HANDLE mutex : mutexes) WaitForSingleObject(mutex, INFINITE);
        SetEvent(events_[2]);
        Sleep(dies_after);
      });
      WaitForSingleObject(events_[2], INFINITE);
      if (dies_after == 0) Sleep(100);
      EXPECT_FALSE(WaitFor(mutexes, 2, all, 2000));
      for (const HANDLE mutex : mutexes) {
        EXPECT_FALSE(ReleaseMutex(mutex)) << "who is not told that he owns it does not";
      }
    }
  }
  for (const HANDLE mutex : mutexes) CloseHandle(mutex);
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

class PipesTest : public IpcTest {
 protected:
  void SetUp() override {
    IpcTest::SetUp();
    server_ = CreateNamedPipeW(kPipe, PIPE_ACCESS_DUPLEX, PIPE_TYPE_MESSAGE | PIPE_READMODE_MESSAGE,
                               1, 4096, 4096, 0, nullptr);
  }

  HANDLE server_;
};

TEST_F(PipesTest, ServersAreThereBusyOrMissing) {
  EXPECT_FALSE(PipeExists(TEXT("\\\\.\\pipe\\none"), 10));
  EXPECT_EQ(OpenPipe(TEXT("\\\\.\\pipe\\none"), 10), nullptr);
  EXPECT_EQ(platform::CallCount("CreateFileW"), 0u);
  EXPECT_TRUE(PipeExists(kPipe, 10));
  platform::FailCall("CreateFileW", 1);
  EXPECT_EQ(OpenPipe(kPipe, 10), nullptr);
  const HANDLE client = OpenPipe(kPipe, 10);
  EXPECT_NE(client, nullptr);
  EXPECT_TRUE(PipeExists(kPipe, 10)) << "busy, but there";
  EXPECT_EQ(OpenPipe(kPipe, 10), nullptr);
  for (const DWORD error : {ERROR_FILE_NOT_FOUND, ERROR_BAD_NETPATH, ERROR_UNEXP_NET_ERR}) {
    platform::FailCall("WaitNamedPipeW", 1, error);
    EXPECT_FALSE(PipeExists(kPipe, 10)) << error;
  }
  CloseHandle(client);
  ClosePipeServer(server_);
  ClosePipeServer(INVALID_HANDLE_VALUE);
  ClosePipeServer(nullptr);
  EXPECT_EQ(platform::CallCount("DisconnectNamedPipe"), 1u);
}

TEST_F(PipesTest, BlocksOfAllSizes) {
  const HANDLE client = OpenPipe(kPipe, 100);
  std::vector<BYTE> data(100'000);
  std::iota(data.begin(), data.end(), BYTE{7});
  for (const auto& [size, piece] : {std::pair{0u, 4u}, {1, 4}, {10, 4}, {10, 0}, {100'000, 4096}}) {
    HelperThread sender([&] { EXPECT_TRUE(WriteSizedBlock(client, data.data(), size, piece)); });
    const auto length = ReadFromPipe(server_, 4);
    ASSERT_NE(length, nullptr);
    EXPECT_EQ(memcmp(length.get(), &size, 4), 0);
    const auto block = ReadFromPipe(server_, size);
    EXPECT_EQ(block == nullptr, size == 0);
    EXPECT_TRUE(size == 0 || memcmp(block.get(), data.data(), size) == 0) << size;
  }
  WriteSizedBlock(client, "0123456789", 10, 4);
  for (const std::string_view expected : {std::string_view("\n\0\0\0", 4), std::string_view("0123"),
                                          std::string_view("4567"), std::string_view("89")}) {
    char message[16];
    DWORD size = 0;
    EXPECT_TRUE(ReadFile(server_, message, sizeof message, &size, nullptr));
    EXPECT_EQ(std::string_view(message, size), expected);
  }
  HelperThread closing([&] {
    WriteSizedBlock(server_, "answer", 6, 6);
    ClosePipeServer(server_);
  });
  Sleep(100);
  EXPECT_NE(ReadFromPipe(client, 4), nullptr) << "the server waits";
  platform::AnswerNextBox(IDOK);
  EXPECT_EQ(ReadFromPipe(client, 5), nullptr) << "not a part of a longer message";
  EXPECT_NE(ReadFromPipe(client, 1), nullptr) << "whose rest comes with the next read";
  CloseHandle(client);
}

TEST_F(PipesTest, MessagesThatAreNoBlocks) {
  const HANDLE client = OpenPipe(kPipe, 100);
  DWORD done = 0;
  const auto error_of_read = [&](DWORD size) {
    platform::AnswerNextBox(IDOK);
    EXPECT_EQ(ReadFromPipe(server_, size), nullptr);
    EXPECT_TRUE(Reported(TEXT("ReadFile failed")));
    return GetLastError();
  };
  WriteFile(client, "12345678", 8, &done, nullptr);
  EXPECT_EQ(error_of_read(5), DWORD{ERROR_MORE_DATA});
  EXPECT_NE(ReadFromPipe(server_, 3), nullptr);
  WriteFile(client, "12", 2, &done, nullptr);
  WriteFile(client, "", 0, &done, nullptr);
  EXPECT_EQ(error_of_read(5), DWORD{ERROR_INVALID_DATA}) << "empty";
  SetLastError(7);
  EXPECT_EQ(ReadFromPipe(server_, 0), nullptr);
  EXPECT_EQ(GetLastError(), 7u);
  WriteFile(client, "12", 2, &done, nullptr);
  CloseHandle(client);
  EXPECT_EQ(error_of_read(5), DWORD{ERROR_BROKEN_PIPE}) << "the client ends in the middle";
  FailAllocation(1);
  platform::AnswerNextBox(IDOK);
  EXPECT_EQ(ReadFromPipe(server_, 5), nullptr);
  FailAllocation(0);
  EXPECT_EQ(GetLastError(), DWORD{ERROR_NOT_ENOUGH_MEMORY});
  EXPECT_TRUE(Reported(TEXT("ReadFromPipe cannot allocate a buffer")));
  platform::AnswerNextBox(IDOK);
  EXPECT_FALSE(WriteSizedBlock(server_, "x", 1, 1));
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_NO_DATA));
  EXPECT_TRUE(Reported(TEXT("WriteFile failed")));
  platform::Replace(
      "WriteFile", +[](HANDLE, LPCVOID, DWORD size, LPDWORD written, LPOVERLAPPED) -> BOOL {
        *written = size - (size == 1);
        return TRUE;
      });
  platform::AnswerNextBox(IDOK);
  EXPECT_FALSE(WriteSizedBlock(server_, "x", 1, 1)) << "only a part was taken";
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_WRITE_FAULT));
  EXPECT_TRUE(Reported(TEXT("WriteFile failed")));
  ClosePipeServer(server_);
}

class PrintJobTest : public PrinterTest {
 protected:
  // Waits for a job that ends in three seconds, printed (and kept) or not.
  static void WaitForEnd(bool printed, DWORD other_job = 0) {
    const UniquePrinter printer = Open();
    PRINTER_INFO_2W info = {};
    info.pPrinterName = const_cast<LPWSTR>(TEXT("Laser"));
    info.pPortName = const_cast<LPWSTR>(TEXT("NUL:"));
    info.pDriverName = const_cast<LPWSTR>(TEXT("Generic / Text Only"));
    info.pPrintProcessor = const_cast<LPWSTR>(TEXT("winprint"));
    info.Attributes = PRINTER_ATTRIBUTE_KEEPPRINTEDJOBS;
    EXPECT_TRUE(SetPrinterW(printer.Get(), 2, reinterpret_cast<LPBYTE>(&info), 0));
    DOC_INFO_1W document = {const_cast<LPWSTR>(TEXT("Title")), nullptr, nullptr};
    const DWORD job = StartDocPrinterW(printer.Get(), 1, reinterpret_cast<LPBYTE>(&document));
    HelperThread spooler([&] {
      Sleep(2900);
      printed ? EndDocPrinter(printer.Get()) : AbortPrinter(printer.Get());
    });
    const DWORD start = GetTickCount();
    WaitForPrintJob(TEXT("Laser"), job + other_job);
    EXPECT_NEAR(GetTickCount() - start, 3005, 15);
  }
};

TEST_F(PrintJobTest, AWaitEndsWhenTheJobIsPrintedOrGone) {
  const DWORD start = GetTickCount();
  WaitForPrintJob(TEXT(""), 1);
  WaitForPrintJob(TEXT("Laser"), 0);
  EXPECT_EQ(platform::CallCount("OpenPrinterW"), 0u);
  WaitForPrintJob(TEXT("No such printer"), 1);
  WaitForPrintJob(TEXT("Laser"), 4711);
  EXPECT_LT(GetTickCount() - start, 100u);
  for (const bool printed : {true, false}) WaitForEnd(printed);
}

TEST_F(PrintJobTest, OnThe9xFamilyTheQueueMustBeEmpty) {
  startupContext.platform.win9xKind = 2;
  WaitForEnd(false, 1);
}

}  // namespace
}  // namespace kv::test
