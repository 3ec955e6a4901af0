// Printers in all levels, changing them, printers of other servers, and messages to all windows.
#include <windows.h>

#include "tests/support/helper_thread.h"
#include "tests/support/machine_test.h"
#include "tests/support/test_key.h"

namespace kv::test {
namespace {

class SpoolerPrintersTest : public MachineTest {
 protected:
  void SetUp() override {
    MachineTest::SetUp();
    platform::SetFact(platform::facts::kArchitecture, sizeof(void*) == 4 ? "x86" : "x64");
    platform::SetFactNumber(platform::facts::kUserIsElevated, 1);
    platform::SetFact("server.ALPHA.printers", "HP:hp,Ink:ink");
    info_.pPrinterName = const_cast<LPWSTR>(TEXT("P"));
    info_.pPortName = const_cast<LPWSTR>(TEXT("NUL:"));
    info_.pDriverName = const_cast<LPWSTR>(TEXT("Generic / Text Only"));
    info_.pPrintProcessor = const_cast<LPWSTR>(TEXT("winprint"));
    printer_ = AddPrinterW(nullptr, 2, reinterpret_cast<BYTE*>(&info_));
    ASSERT_NE(printer_, nullptr);
  }
  void TearDown() override {
    EXPECT_TRUE(ClosePrinter(printer_));
    MachineTest::TearDown();
  }
  static HANDLE Open(LPCWSTR name, ACCESS_MASK access) {
    PRINTER_DEFAULTSW defaults = {nullptr, nullptr, access};
    HANDLE printer = nullptr;
    OpenPrinterW(const_cast<LPWSTR>(name), &printer, &defaults);
    return printer;
  }
  // 0 or the last error.
  static DWORD Set(HANDLE printer, DWORD level, void* info, DWORD command = 0) {
    return SetPrinterW(printer, level, static_cast<BYTE*>(info), command) ? 0 : GetLastError();
  }
  static DEVMODEW Copies(short copies) {
    DEVMODEW mode = {};
    mode.dmSize = sizeof mode;
    mode.dmFields = DM_COPIES;
    mode.dmCopies = copies;
    return mode;
  }

  PRINTER_INFO_2W info_ = {};
  HANDLE printer_ = nullptr;
};

TEST_F(SpoolerPrintersTest, EveryLevelHasTheBufferRule) {
  DEVMODEW mode = Copies(2);
  PRINTER_INFO_9W user = {&mode};
  ASSERT_EQ(Set(printer_, 9, &user), 0u);
  for (const auto get : {GetPrinterW, GetPrinterA}) {
    for (DWORD level = 1; level <= 9; ++level) {
      DWORD needed = 0;
      EXPECT_FALSE(get(printer_, level, nullptr, 0, &needed));
      EXPECT_EQ(GetLastError(), DWORD{ERROR_INSUFFICIENT_BUFFER}) << level;
      std::vector<BYTE> buffer(needed + 1, 0xCC);
      EXPECT_FALSE(get(printer_, level, buffer.data(), needed - 1, &needed));
      EXPECT_EQ(buffer[0], 0xCC) << "untouched";
      EXPECT_TRUE(get(printer_, level, buffer.data(), needed, &needed)) << level;
      EXPECT_EQ(buffer.back(), 0xCC);
    }
    DWORD needed = 0;
    EXPECT_FALSE(get(printer_, 10, nullptr, 0, &needed));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_LEVEL});
  }
}

TEST_F(SpoolerPrintersTest, ChangesNeedRightsAndMakeSense) {
  DEVMODEW mode = Copies(3);
  PRINTER_INFO_8W whole = {&mode};
  EXPECT_EQ(Set(printer_, 8, &whole, 1), DWORD{ERROR_CALL_NOT_IMPLEMENTED});
  EXPECT_EQ(Set(printer_, 5, &whole), DWORD{ERROR_CALL_NOT_IMPLEMENTED});
  EXPECT_EQ(Set(printer_, 12, &whole), DWORD{ERROR_INVALID_LEVEL});
  info_.Attributes = PRINTER_ATTRIBUTE_SHARED;
  EXPECT_EQ(Set(printer_, 2, &info_), DWORD{ERROR_INVALID_SHARENAME});
  info_.Attributes = 0;
  info_.pPortName = const_cast<LPWSTR>(TEXT("NONE:"));
  EXPECT_EQ(Set(printer_, 2, &info_), DWORD{ERROR_UNKNOWN_PORT});
  info_.pPortName = const_cast<LPWSTR>(TEXT("LPT1:"));
  EXPECT_EQ(Set(printer_, 8, &whole), 0u);
  EXPECT_EQ(Set(printer_, 2, &info_), 0u) << "without a device mode: the old one stays";
  alignas(8) BYTE buffer[2000];
  DWORD needed = 0;
  ASSERT_TRUE(GetPrinterW(printer_, 2, buffer, sizeof buffer, &needed));
  EXPECT_EQ(WideView(reinterpret_cast<PRINTER_INFO_2W*>(buffer)->pPortName), TEXT("LPT1:"));
  EXPECT_EQ(reinterpret_cast<PRINTER_INFO_2W*>(buffer)->pDevMode->dmCopies, 3);
  const HANDLE user = Open(TEXT("P"), PRINTER_ACCESS_USE);
  EXPECT_EQ(Set(user, 8, &whole), DWORD{ERROR_ACCESS_DENIED});
  EXPECT_EQ(Set(user, 9, &whole), 0u);
  EXPECT_TRUE(ClosePrinter(user));
}

TEST_F(SpoolerPrintersTest, PrintersOfOtherServers) {
  EXPECT_EQ(Open(TEXT("\\\\ALPHA\\HP"), PRINTER_ALL_ACCESS), nullptr);
  EXPECT_EQ(Open(TEXT("\\\\BETA\\HP"), 0), nullptr);
  Key::Create(HKEY_CURRENT_USER, TEXT("Printers\\Connections\\,,ALPHA,Ink"));
  Key::Create(HKEY_CURRENT_USER, TEXT("Printers\\Connections\\,,GONE,Ink"));
  const auto count = [](DWORD flags, LPCWSTR name) {
    alignas(8) BYTE buffer[8000];
    DWORD needed = 0, number = 99;
    EnumPrintersW(flags, const_cast<LPWSTR>(name), 2, buffer, sizeof buffer, &needed, &number);
    return number;
  };
  EXPECT_EQ(count(PRINTER_ENUM_LOCAL, nullptr), 1u);
  EXPECT_EQ(count(PRINTER_ENUM_LOCAL | PRINTER_ENUM_CONNECTIONS, nullptr), 2u);
  EXPECT_EQ(count(PRINTER_ENUM_LOCAL | PRINTER_ENUM_SHARED, nullptr), 0u);
  EXPECT_EQ(count(PRINTER_ENUM_NAME | PRINTER_ENUM_SHARED, TEXT("\\\\ALPHA")), 2u);
  EXPECT_EQ(count(PRINTER_ENUM_NAME, TEXT("\\\\BETA")), 99u) << "untouched";

  platform::SetFact("server.ALPHA.resources", "print:a:First,disk:b:Second");
  NETRESOURCEW root = {};
  root.lpRemoteName = const_cast<LPWSTR>(TEXT("\\\\alpha"));
  HANDLE walk = nullptr;
  ASSERT_EQ(WNetOpenEnumW(RESOURCE_GLOBALNET, 0, 0, &root, &walk), DWORD{NO_ERROR});
  alignas(8) BYTE buffer[200];
  DWORD all = ~DWORD{0}, size = 10;
  EXPECT_EQ(WNetEnumResourceW(walk, &all, buffer, &size), DWORD{ERROR_MORE_DATA});
  EXPECT_EQ(size, sizeof(NETRESOURCEW) + 32u);
  for (const DWORD type : {RESOURCETYPE_PRINT, RESOURCETYPE_DISK}) {
    all = ~DWORD{0};
    size = sizeof(NETRESOURCEW) + 40;  // room for one
    ASSERT_EQ(WNetEnumResourceW(walk, &all, buffer, &size), DWORD{NO_ERROR});
    EXPECT_EQ(all, 1u);
    EXPECT_EQ(reinterpret_cast<NETRESOURCEW*>(buffer)->dwType, type);
  }
  EXPECT_EQ(WideView(reinterpret_cast<NETRESOURCEW*>(buffer)->lpRemoteName), TEXT("\\\\alpha\\b"));
  all = ~DWORD{0};
  EXPECT_EQ(WNetEnumResourceW(walk, &all, buffer, &size), DWORD{ERROR_NO_MORE_ITEMS});
  EXPECT_EQ(WNetCloseEnum(walk), DWORD{NO_ERROR});
  EXPECT_EQ(WNetCloseEnum(walk), DWORD{ERROR_INVALID_HANDLE});
}

std::atomic<int> heard = 0;

LRESULT CALLBACK Hear(HWND window, UINT message, WPARAM wparam, LPARAM lparam) {
  if (message == WM_SETTINGCHANGE) ++heard;
  return DefWindowProcW(window, message, wparam, lparam);
}

TEST_F(SpoolerPrintersTest, ABroadcastDoesNotWaitForThreadsThatDoNotListen) {
  WNDCLASSW window_class = {};
  window_class.lpfnWndProc = Hear;
  window_class.hInstance = GetModuleHandleW(nullptr);
  window_class.lpszClassName = TEXT("Hearer");
  ASSERT_NE(RegisterClassW(&window_class), 0);
  const auto make_window = [&] {
    return CreateWindowExW(0, TEXT("Hearer"), TEXT(""), WS_POPUP, 0, 0, 1, 1, nullptr, nullptr,
                           window_class.hInstance, nullptr);
  };
  heard = 0;
  const HANDLE ready = CreateEventW(nullptr, TRUE, FALSE, nullptr);
  const HANDLE over = CreateEventW(nullptr, TRUE, FALSE, nullptr);
  {
    const HelperThread deaf([&] {
      const HWND window = make_window();
      SetEvent(ready);
      WaitForSingleObject(over, INFINITE);
      MSG message;
      PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE);
      DestroyWindow(window);
    });
    WaitForSingleObject(ready, INFINITE);
    const HWND own = make_window();
    const DWORD start = GetTickCount();
    EXPECT_EQ(
        SendMessageTimeoutW(HWND_BROADCAST, WM_SETTINGCHANGE, 0, 0, SMTO_ABORTIFHUNG, 100, nullptr),
        1);
    EXPECT_GE(GetTickCount() - start, 100u);
    EXPECT_EQ(heard, 1);
    SetEvent(over);
    EXPECT_TRUE(DestroyWindow(own));
  }
  EXPECT_EQ(heard, 1) << "what was too late is gone";
  CloseHandle(ready);
  CloseHandle(over);
  EXPECT_TRUE(UnregisterClassW(TEXT("Hearer"), window_class.hInstance));
}

}  // namespace
}  // namespace kv::test
