// Messages between threads, timers, painting and pictures.
#include <shlwapi.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include "platform/control/pe_writer.h"
#include "platform/user/message_queue.h"
#include "tests/support/machine_test.h"

namespace {

using kv::test::WideView;

std::string seen;
HWND nested;

LRESULT CALLBACK Note(HWND window, UINT message, WPARAM wparam, LPARAM lparam) {
  switch (message) {
    case WM_TIMER:
      seen += "timer" + std::to_string(wparam) + " ";
      return 0;
    case WM_PAINT:
      seen += "paint ";
      break;
    case WM_DRAWITEM: {
      const auto& item = *reinterpret_cast<DRAWITEMSTRUCT*>(lparam);
      seen += "draw" + std::to_string(item.CtlID) + (item.hDC != nullptr ? " " : "! ");
      return TRUE;
    }
    case WM_APP:
      return static_cast<LRESULT>(wparam) + 1;
    case WM_APP + 1:
      return SendMessageW(nested, WM_APP, wparam + 1, 0);
  }
  return DefWindowProcW(window, message, wparam, lparam);
}

class MessagesTest : public kv::test::MachineTest {
 protected:
  void SetUp() override {
    MachineTest::SetUp();
    WNDCLASSW window_class = {};
    window_class.lpfnWndProc = Note;
    window_class.lpszClassName = TEXT("KvNote");
    ASSERT_NE(RegisterClassW(&window_class), 0);
    seen.clear();
  }
  void TearDown() override {
    EXPECT_TRUE(UnregisterClassW(TEXT("KvNote"), nullptr));
    MachineTest::TearDown();
  }
  static HWND Make(DWORD style = WS_POPUP, LPCWSTR class_name = TEXT("KvNote"),
                   HWND parent = nullptr, LONG_PTR id = 0) {
    return CreateWindowExW(0, class_name, TEXT(""), style, 0, 0, 10, 10, parent,
                           reinterpret_cast<HMENU>(id), nullptr, nullptr);
  }
  static void Pump(HWND window = nullptr) {
    MSG message;
    while (PeekMessageW(&message, window, 0, 0, PM_REMOVE)) DispatchMessageW(&message);
  }
};

TEST_F(MessagesTest, TimersComeWhenTheyAreDue) {
  const HWND window = Make(), other = Make();
  const uint64_t start = platform::UpTime();
  EXPECT_EQ(platform::NextTimerDue(), platform::kNever);
  EXPECT_EQ(SetTimer(window, 1, 100, nullptr), 1u);
  EXPECT_EQ(SetTimer(other, 2, 1, nullptr), 2u);
  EXPECT_EQ(SetTimer(window, 1, 50, nullptr), 1u) << "begins anew";
  EXPECT_GE(platform::NextTimerDue(), start + 10) << "the shortest one";
  platform::AdvanceClock(51);
  MSG message;
  EXPECT_FALSE(PeekMessageW(&message, window, WM_APP, WM_APP, PM_REMOVE));
  EXPECT_EQ(platform::NextTimerDue(), platform::kNever) << "due and seen";
  PostMessageW(window, WM_NULL, 0, 0);
  EXPECT_TRUE(platform::NewInputWaits(QS_POSTMESSAGE));
  Pump(window);
  EXPECT_EQ(seen, "timer1 ");
  EXPECT_FALSE(platform::NewInputWaits(QS_ALLINPUT)) << "everything was looked at";
  platform::AdvanceClock(200);
  EXPECT_TRUE(KillTimer(window, 1));
  EXPECT_FALSE(KillTimer(window, 1));
  Pump();
  EXPECT_EQ(seen, "timer1 timer2 ") << "one message for many periods";
  DestroyWindow(window);
  DestroyWindow(other);
  EXPECT_EQ(platform::NextTimerDue(), platform::kNever);
}

TEST_F(MessagesTest, ThreadsAnswerEachOtherWhileTheyWait) {
  const HWND mine = Make();
  nested = mine;
  LRESULT answer = 0, after_its_end = -1;
  std::atomic<HWND> theirs = nullptr;
  std::atomic<bool> leave = false;
  std::thread thread([&] {
    const HWND window = Make();
    theirs = window;
    // Until it is told to leave: what the other thread sends is served by looking.
    while (!leave) {
      platform::WaitOnClock(platform::kNever, [] { return platform::NewInputWaits(QS_ALLINPUT); });
      Pump();
    }
    DestroyWindow(window);
  });
  while (theirs == nullptr) std::this_thread::yield();
  answer = SendMessageW(theirs, WM_APP + 1, 5, 0);
  EXPECT_EQ(answer, 7) << "it asked back";
  EXPECT_FALSE(SetWindowPos(theirs, nullptr, 0, 0, 1, 1, SWP_NOZORDER)) << "not from here";
  leave = true;
  PostMessageW(theirs, WM_NULL, 0, 0);
  thread.join();
  after_its_end = SendMessageW(theirs, WM_APP, 5, 0);
  EXPECT_EQ(after_its_end, 0);
  DestroyWindow(mine);
}

TEST_F(MessagesTest, WindowsArePaintedOnceTheyAreSeen) {
  const HWND window = Make(WS_POPUP);
  Make(WS_CHILD | WS_VISIBLE | BS_OWNERDRAW, TEXT("button"), window, 5);
  EXPECT_TRUE(UpdateWindow(window));
  EXPECT_EQ(seen, "");
  ShowWindow(window, SW_SHOWNORMAL);
  EXPECT_TRUE(platform::NewInputWaits(QS_PAINT));
  UpdateWindow(window);
  EXPECT_EQ(seen, "paint draw5 ");
  Pump();
  EXPECT_EQ(seen, "paint draw5 ");
  ShowWindow(window, SW_MINIMIZE);
  EXPECT_EQ(GetFocus(), nullptr);
  DestroyWindow(window);
}

TEST_F(MessagesTest, FontsAndIconsForTheirSystem) {
  NONCLIENTMETRICSW metrics = {};
  const auto ask = [&](UINT size) {
    metrics.cbSize = size;
    return SystemParametersInfoW(SPI_GETNONCLIENTMETRICS, size, &metrics, 0);
  };
  EXPECT_TRUE(ask(504));
  EXPECT_EQ(WideView(metrics.lfMessageFont.lfFaceName), TEXT("Segoe UI"));
  platform::SetFactNumber(platform::facts::kMajor, 5);
  EXPECT_FALSE(ask(504));
  EXPECT_TRUE(ask(500));
  EXPECT_EQ(WideView(metrics.lfMessageFont.lfFaceName), TEXT("Tahoma"));

  const std::vector<BYTE> group = {0, 0, 1, 0, 1, 0, 16, 16, 0, 0, 1, 0, 32, 0, 4, 0, 0, 0, 7, 0};
  const WORD group_type = 14, icon_type = 3;
  platform::PeWriter()
      .AddResource(group_type, WORD{1}, 0x0409, group)
      .AddResource(icon_type, WORD{7}, 0x0409, {1, 2, 3, 4})
      .AddResource(group_type, WORD{2}, 0x0409, {group.begin(), group.begin() + 19})
      .WriteTo(platform::HostPath(TEXT("C:\\icons.dll")));
  const HMODULE library = LoadLibraryW(TEXT("C:\\icons.dll"));
  const auto load = [&](WORD id) {
    return static_cast<HICON>(
        LoadImageW(library, MAKEINTRESOURCEW(id), IMAGE_ICON, 24, 24, LR_DEFAULTCOLOR));
  };
  const HICON icon = load(1);
  EXPECT_NE(icon, nullptr);
  EXPECT_EQ(load(2), nullptr) << "cut short";
  EXPECT_EQ(load(3), nullptr);
  const HWND parent = Make();
  const HWND picture = Make(WS_CHILD | SS_ICON, TEXT("static"), parent);
  SendMessageW(picture, STM_SETICON, reinterpret_cast<WPARAM>(icon), 0);
  RECT size;
  GetClientRect(picture, &size);
  EXPECT_EQ(size.right, 24);
  DestroyWindow(parent);
  EXPECT_TRUE(DestroyIcon(icon));
  EXPECT_FALSE(DestroyIcon(icon));
  FreeLibrary(library);
}

TEST_F(MessagesTest, AddressesOfFiles) {
  const struct {
    LPCWSTR url, path;
  } cases[] = {
      {TEXT("file:///C:/a%20b/%C3%A4.txt"), TEXT("C:\\a b\\\u00E4.txt")},
      {TEXT("FILE:///C|/x"), TEXT("C:\\x")},
      {TEXT("file://localhost/C:/x"), TEXT("C:\\x")},
      {TEXT("file://server/share/x"), TEXT("\\\\server\\share\\x")},
      {TEXT("file:C:\\x%"), TEXT("C:\\x%")},
      {TEXT("file://"), nullptr},
      {TEXT("http://x"), nullptr},
  };
  for (const auto& one : cases) {
    WCHAR path[MAX_PATH] = {};
    DWORD size = MAX_PATH;
    const HRESULT result = PathCreateFromUrlW(one.url, path, &size, 0);
    EXPECT_EQ(result, one.path != nullptr ? S_OK : E_INVALIDARG);
    if (one.path == nullptr) continue;
    EXPECT_EQ(WideView(path), WideView(one.path));
    EXPECT_EQ(size, WideView(path).size());
  }
  WCHAR small[4];
  DWORD size = 4;
  EXPECT_EQ(PathCreateFromUrlW(TEXT("file:///C:/x"), small, &size, 0), E_POINTER);
  EXPECT_EQ(size, 5u);
}

}  // namespace
