// The rules of messages, positions and controls, as every Windows has them.
#include <gtest/gtest.h>
#include <windows.h>
// Behind windows.h, whose types it needs.
#include <commctrl.h>

#include <string>
#include <vector>

namespace {

std::vector<UINT> seen;

LRESULT CALLBACK Note(HWND window, UINT message, WPARAM wparam, LPARAM lparam) {
  if (message >= WM_APP || message == WM_TIMER) seen.push_back(message);
  if (message == WM_COMMAND) seen.push_back(LOWORD(wparam));
  return DefWindowProcW(window, message, wparam, lparam);
}

class WindowPortableTest : public testing::Test {
 protected:
  WindowPortableTest() {
    WNDCLASSW window_class = {};
    window_class.lpfnWndProc = Note;
    window_class.hInstance = GetModuleHandleW(nullptr);
    window_class.lpszClassName = kClass;
    RegisterClassW(&window_class);
    window_ = Make(kClass, WS_POPUP, nullptr, 0);
    seen.clear();
  }
  ~WindowPortableTest() override {
    DestroyWindow(window_);
    UnregisterClassW(kClass, GetModuleHandleW(nullptr));
  }

  static HWND Make(LPCWSTR class_name, DWORD style, HWND parent, LONG_PTR id) {
    return CreateWindowExW(0, class_name, TEXT("text"), style, 10, 20, 100, 50, parent,
                           reinterpret_cast<HMENU>(id), GetModuleHandleW(nullptr), nullptr);
  }
  // Takes what waits; the messages' numbers.
  static std::vector<UINT> Take(HWND window = nullptr, UINT first = 0, UINT last = 0) {
    std::vector<UINT> taken;
    MSG message;
    while (PeekMessageW(&message, window, first, last, PM_REMOVE)) {
      taken.push_back(message.message);
      if (message.message == WM_QUIT) break;
    }
    return taken;
  }

  static constexpr WCHAR kClass[] = TEXT("KvPortable");
  HWND window_;
};

using Messages = std::vector<UINT>;

TEST_F(WindowPortableTest, QueuesKeepTheOrderAndFiltersPassOver) {
  const HWND child = Make(kClass, WS_CHILD, window_, 1);
  const HWND other = Make(kClass, WS_POPUP, nullptr, 0);
  Take();
  PostMessageW(window_, WM_APP + 2, 0, 0);
  PostMessageW(child, WM_APP + 1, 0, 0);
  PostMessageW(nullptr, WM_APP + 3, 0, 0);
  PostMessageW(other, WM_APP + 4, 0, 0);
  MSG message;
  EXPECT_TRUE(PeekMessageW(&message, window_, 0, 0, PM_NOREMOVE));
  EXPECT_EQ(Take(window_, WM_APP + 1, WM_APP + 1), (Messages{WM_APP + 1})) << "of a child as well";
  EXPECT_EQ(Take(window_, WM_APP, WM_APP + 9), (Messages{WM_APP + 2}));
  DestroyWindow(other);
  PostQuitMessage(7);
  EXPECT_EQ(Take(), (Messages{WM_APP + 3, WM_QUIT})) << "quitting is the last thing";
  EXPECT_FALSE(PostMessageW(other, WM_APP, 0, 0));
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_WINDOW_HANDLE));
}

TEST_F(WindowPortableTest, KeysOfDialogs) {
  const HWND cancel = Make(TEXT("button"), WS_CHILD | WS_VISIBLE | WS_TABSTOP, window_, IDCANCEL);
  const HWND last = Make(TEXT("button"), WS_CHILD | WS_VISIBLE | WS_TABSTOP, window_, 30);
  ShowWindow(window_, SW_SHOW);
  SetFocus(cancel);
  ASSERT_EQ(GetFocus(), cancel);
  const auto press = [&](WPARAM key, HWND target) {
    MSG message = {};
    message.hwnd = target;
    message.message = WM_KEYDOWN;
    message.wParam = key;
    return IsDialogMessageW(window_, &message);
  };
  seen.clear();
  EXPECT_TRUE(press(VK_TAB, cancel));
  EXPECT_EQ(GetFocus(), last);
  EXPECT_TRUE(press(VK_TAB, last));
  EXPECT_EQ(GetFocus(), cancel);
  EXPECT_TRUE(press(VK_ESCAPE, cancel));
  EXPECT_EQ(seen, (Messages{IDCANCEL}));
  EXPECT_FALSE(press(VK_ESCAPE, nullptr)) << "not of the dialog";
  SendMessageW(last, BM_CLICK, 0, 0);
  EXPECT_EQ(seen, (Messages{IDCANCEL, 30}));
}

TEST_F(WindowPortableTest, ProgressBars) {
  InitCommonControls();
  const HWND bar = Make(PROGRESS_CLASSW, WS_CHILD, window_, 1);
  const auto send = [&](UINT message, WPARAM wparam, LPARAM lparam) {
    return static_cast<int>(SendMessageW(bar, message, wparam, lparam));
  };
  EXPECT_EQ(send(PBM_GETRANGE, FALSE, 0), 100);
  EXPECT_EQ(send(PBM_SETSTEP, 40, 0), 10);
  EXPECT_EQ(send(PBM_SETRANGE32, static_cast<WPARAM>(-100), 70000), MAKELONG(0, 100));
  EXPECT_EQ(send(PBM_GETRANGE, TRUE, 0), -100);
  EXPECT_EQ(send(PBM_SETPOS, 80000, 0), 0);
  EXPECT_EQ(send(PBM_GETPOS, 0, 0), 70000);
  EXPECT_EQ(send(PBM_SETPOS, static_cast<WPARAM>(-200), 0), 70000);
  EXPECT_EQ(send(PBM_GETPOS, 0, 0), -100);
  EXPECT_EQ(send(PBM_STEPIT, 0, 0), -100);
  EXPECT_EQ(send(PBM_GETPOS, 0, 0), -60);
  send(PBM_SETRANGE32, 0, 50);
  EXPECT_EQ(send(PBM_GETPOS, 0, 0), 0) << "moved into the new range";
}

TEST_F(WindowPortableTest, PositionsCountFromTheParent) {
  const HWND child = Make(kClass, WS_CHILD | WS_VISIBLE, window_, 1);
  const HWND second = Make(kClass, WS_CHILD, window_, 2);
  RECT r;
  SetWindowPos(window_, nullptr, 40, 60, 300, 200, SWP_NOZORDER | SWP_NOACTIVATE);
  GetWindowRect(child, &r);
  EXPECT_EQ(r.left, 50);
  EXPECT_EQ(r.top, 80);
  MapWindowPoints(HWND_DESKTOP, window_, reinterpret_cast<POINT*>(&r), 2);
  EXPECT_EQ(r.left, 10);
  EXPECT_EQ(r.bottom, 70);
  GetClientRect(window_, &r);
  EXPECT_EQ(r.right, 300);
  EXPECT_FALSE(IsWindowVisible(child)) << "below one that is not";
  EXPECT_FALSE(ShowWindow(window_, SW_SHOW));
  EXPECT_TRUE(IsWindowVisible(child));
  EXPECT_FALSE(IsWindowVisible(second));
  EXPECT_TRUE(ShowWindow(window_, SW_MINIMIZE));
  EXPECT_TRUE(IsIconic(window_));
  ShowWindow(window_, SW_SHOWNORMAL);
  EXPECT_FALSE(IsIconic(window_));
  EXPECT_TRUE(ShowWindow(window_, SW_HIDE));
}

}  // namespace
