// Windows: creation and destruction with their messages, owners, hooks, and the names that
// processes share.
#include <sys/wait.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "tests/support/machine_test.h"

namespace {

using kv::test::WideView;
using Wide = std::basic_string<WCHAR>;

class WindowTest : public kv::test::MachineTest {
 protected:
  void SetUp() override {
    MachineTest::SetUp();
    WNDCLASSW window_class = {};
    window_class.lpfnWndProc = Procedure;
    window_class.cbWndExtra = sizeof(LONG_PTR);
    window_class.lpszClassName = TEXT("KvTest");
    ASSERT_NE(RegisterClassW(&window_class), 0);
    log.clear();
    on_message = nullptr;
  }
  void TearDown() override {
    EXPECT_TRUE(UnregisterClassW(TEXT("kvtest"), nullptr));
    MachineTest::TearDown();
  }

  static HWND Make(DWORD style, HWND parent = nullptr, LONG_PTR id = 0) {
    return CreateWindowExW(0, TEXT("KvTest"), TEXT("title"), style, 10, 20, 100, 50, parent,
                           reinterpret_cast<HMENU>(id), nullptr, nullptr);
  }

  // What the windows were sent: identifier and message.
  static std::string Log() { return std::exchange(log, {}); }

  static inline LRESULT (*on_message)(HWND, UINT) = nullptr;

 private:
  static LRESULT CALLBACK Procedure(HWND window, UINT message, WPARAM wparam, LPARAM lparam) {
    const char* name = message == WM_NCCREATE    ? "nccreate"
                       : message == WM_CREATE    ? "create"
                       : message == WM_DESTROY   ? "destroy"
                       : message == WM_NCDESTROY ? "ncdestroy"
                       : message == WM_ENABLE    ? "enable"
                                                 : nullptr;
    if (name != nullptr) {
      log += std::to_string(GetWindowLongPtrW(window, GWLP_ID)) + name + " ";
    }
    if (on_message != nullptr) {
      if (const LRESULT result = on_message(window, message); result != 0) return result - 1;
    }
    return DefWindowProcW(window, message, wparam, lparam);
  }

  static inline std::string log;
};

TEST_F(WindowTest, MessagesOfCreationAndDestruction) {
  const HWND parent = Make(WS_POPUP);
  const HWND child = Make(WS_CHILD, parent, 1);
  const HWND grandchild = Make(WS_CHILD, child, 2);
  const HWND owned = Make(WS_POPUP, child, 0);
  EXPECT_EQ(GetParent(grandchild), child);
  EXPECT_EQ(GetParent(owned), parent) << "the owner is the top-level window";
  EXPECT_EQ(GetDlgItem(child, 2), grandchild);
  EXPECT_EQ(Log(), "0nccreate 0create 1nccreate 1create 2nccreate 2create 0nccreate 0create ");
  EXPECT_TRUE(DestroyWindow(parent));
  EXPECT_EQ(Log(),
            "0destroy 0ncdestroy 0destroy 1destroy 2destroy 2ncdestroy 1ncdestroy 0ncdestroy ");
  for (HWND window : {parent, child, grandchild, owned}) EXPECT_FALSE(IsWindow(window));
  EXPECT_FALSE(DestroyWindow(child));
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_WINDOW_HANDLE));
}

TEST_F(WindowTest, AProcedureMayRefuseCreationOrDestroyOnTheWay) {
  // Results are one more than the procedure's.
  on_message = [](HWND, UINT message) -> LRESULT { return message == WM_NCCREATE ? 1 : 0; };
  EXPECT_EQ(Make(WS_POPUP), nullptr);
  EXPECT_EQ(Log(), "0nccreate 0ncdestroy ");
  on_message = [](HWND window, UINT message) -> LRESULT {
    if (message == WM_CREATE) DestroyWindow(window);
    return 0;
  };
  EXPECT_EQ(Make(WS_POPUP), nullptr);
  EXPECT_EQ(Log(), "0nccreate 0create 0destroy 0ncdestroy ");
  on_message = [](HWND window, UINT message) -> LRESULT {
    if (message == WM_DESTROY) DestroyWindow(GetParent(window));
    return 0;
  };
  const HWND parent = Make(WS_POPUP);
  const HWND child = Make(WS_CHILD, parent, 1);
  EXPECT_TRUE(DestroyWindow(child));
  EXPECT_FALSE(IsWindow(parent));
}

TEST_F(WindowTest, EnumerationSurvivesDestruction) {
  const HWND back = Make(WS_POPUP), middle = Make(WS_POPUP), front = Make(WS_POPUP);
  struct Seen {
    std::vector<HWND> windows;
    HWND victim;
  } seen{{}, middle};
  const WNDENUMPROC destroy = [](HWND window, LPARAM parameter) CALLBACK -> BOOL {
    Seen& all = *reinterpret_cast<Seen*>(parameter);
    all.windows.push_back(window);
    if (IsWindow(all.victim)) DestroyWindow(all.victim);
    return TRUE;
  };
  EXPECT_TRUE(EnumThreadWindows(GetCurrentThreadId(), destroy, reinterpret_cast<LPARAM>(&seen)));
  EXPECT_EQ(seen.windows, (std::vector<HWND>{front, back}));
  EXPECT_FALSE(EnumThreadWindows(GetCurrentThreadId() + 1000000, destroy, 0));
  EXPECT_EQ(FindWindowW(TEXT("kvTEST"), TEXT("TITLE")), front);
  EXPECT_EQ(FindWindowW(TEXT("kvTEST"), TEXT("other")), nullptr);
  DestroyWindow(front);
  DestroyWindow(back);
}

TEST_F(WindowTest, LastActivePopup) {
  const HWND owner = Make(WS_POPUP | WS_VISIBLE);
  const HWND popup = Make(WS_POPUP | WS_VISIBLE, owner);
  const HWND inner = Make(WS_POPUP | WS_VISIBLE, popup);
  EXPECT_EQ(GetLastActivePopup(owner), inner);
  EXPECT_EQ(GetLastActivePopup(popup), popup);
  DestroyWindow(inner);
  EXPECT_EQ(GetLastActivePopup(owner), popup);
  DestroyWindow(popup);
  EXPECT_EQ(GetLastActivePopup(owner), owner);
  DestroyWindow(owner);
}

TEST_F(WindowTest, FieldsTextAndProperties) {
  const HWND window = Make(WS_POPUP);
  EXPECT_EQ(SetWindowLongPtrW(window, 0, 5), 0);
  EXPECT_EQ(GetWindowLongPtrW(window, 0), 5);
  EXPECT_EQ(GetWindowLongPtrW(window, 1), 0) << "behind the extra bytes";
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_INDEX));
  const auto other = [](HWND, UINT, WPARAM, LPARAM) CALLBACK -> LRESULT { return 77; };
  const auto previous = reinterpret_cast<WNDPROC>(SetWindowLongPtrW(
      window, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(static_cast<WNDPROC>(other))));
  EXPECT_EQ(SendMessageW(window, WM_USER, 0, 0), 77);
  EXPECT_EQ(CallWindowProcW(previous, window, WM_GETTEXTLENGTH, 0, 0), 5);
  SetWindowLongPtrW(window, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(previous));
  WCHAR text[4];
  EXPECT_EQ(GetWindowTextW(window, text, 4), 3);
  EXPECT_EQ(WideView(text), TEXT("tit"));
  EXPECT_TRUE(SetWindowTextW(window, TEXT("x")));
  EXPECT_EQ(GetWindowTextW(window, text, 4), 1);
  int value;
  EXPECT_TRUE(SetPropW(window, TEXT("Name"), &value));
  EXPECT_EQ(GetPropW(window, TEXT("nAME")), &value);
  EXPECT_EQ(RemovePropW(window, TEXT("name")), &value);
  EXPECT_EQ(RemovePropW(window, TEXT("name")), nullptr);
  Log();
  EXPECT_FALSE(EnableWindow(window, FALSE));
  EXPECT_TRUE(EnableWindow(window, FALSE));
  EXPECT_EQ(Log(), "0enable ");
  DestroyWindow(window);
}

TEST_F(WindowTest, Classes) {
  WNDCLASSW found = {};
  EXPECT_TRUE(GetClassInfoW(nullptr, TEXT("KVTEST"), &found));
  EXPECT_EQ(RegisterClassW(&found), 0);
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_CLASS_ALREADY_EXISTS));
  const HWND window = Make(WS_POPUP);
  EXPECT_FALSE(UnregisterClassW(TEXT("KvTest"), nullptr));
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_CLASS_HAS_WINDOWS));
  DestroyWindow(window);
  found.hInstance = reinterpret_cast<HINSTANCE>(&found);
  EXPECT_NE(RegisterClassW(&found), 0) << "another module";
  EXPECT_TRUE(UnregisterClassW(TEXT("KvTest"), found.hInstance));
  EXPECT_FALSE(UnregisterClassW(TEXT("Button"), nullptr));
  EXPECT_EQ(
      CreateWindowExW(0, TEXT("none"), nullptr, 0, 0, 0, 0, 0, nullptr, nullptr, nullptr, nullptr),
      nullptr);
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_CANNOT_FIND_WND_CLASS));
}

std::string hook_log;
HHOOK unhook_in_call;

template <int kNumber, bool kRefuse>
LRESULT CALLBACK LogHook(int code, WPARAM wparam, LPARAM lparam) {
  if (code == HCBT_CREATEWND) hook_log += std::to_string(kNumber);
  if (unhook_in_call != nullptr) UnhookWindowsHookEx(std::exchange(unhook_in_call, nullptr));
  if (kRefuse) return 1;
  return CallNextHookEx(nullptr, code, wparam, lparam);
}

TEST_F(WindowTest, HooksAreCalledNewestFirstAndMayRefuse) {
  const DWORD thread = GetCurrentThreadId();
  const HHOOK first = SetWindowsHookExW(WH_CBT, LogHook<1, false>, nullptr, thread);
  const HHOOK second = SetWindowsHookExW(WH_CBT, LogHook<2, false>, nullptr, thread);
  const HHOOK third = SetWindowsHookExW(WH_CBT, LogHook<3, false>, nullptr, thread);
  unhook_in_call = second;
  hook_log.clear();
  const HWND window = Make(WS_POPUP);
  EXPECT_EQ(hook_log, "31") << "one that is gone is passed over";
  EXPECT_NE(window, nullptr);
  EXPECT_FALSE(UnhookWindowsHookEx(second));
  const HHOOK refusing = SetWindowsHookExW(WH_CBT, LogHook<4, true>, nullptr, thread);
  Log();
  EXPECT_EQ(Make(WS_POPUP), nullptr);
  EXPECT_EQ(Log(), "") << "no message before the hook agrees";
  for (HHOOK hook : {first, third, refusing}) EXPECT_TRUE(UnhookWindowsHookEx(hook));
  DestroyWindow(window);
}

TEST_F(WindowTest, RegisteredNamesAreSharedByProcesses) {
  const UINT mine = RegisterWindowMessageW(TEXT("Folvane-A"));
  EXPECT_GE(mine, 0xC000u);
  EXPECT_EQ(RegisterClipboardFormatW(TEXT("folvane-a")), mine);
  int ends[2];
  ASSERT_EQ(pipe(ends), 0);
  const pid_t child = fork();
  if (child == 0) {
    const UINT numbers[] = {RegisterWindowMessageW(TEXT("Folvane-\u00C4")),
                            RegisterWindowMessageW(TEXT("FOLVANE-A"))};
    _exit(write(ends[1], numbers, sizeof(numbers)) == sizeof(numbers) ? 0 : 1);
  }
  UINT numbers[2] = {};
  EXPECT_EQ(read(ends[0], numbers, sizeof(numbers)), static_cast<ssize_t>(sizeof(numbers)));
  waitpid(child, nullptr, 0);
  close(ends[0]);
  close(ends[1]);
  EXPECT_EQ(numbers[1], mine);
  const UINT other = RegisterWindowMessageW(TEXT("other"));
  EXPECT_EQ(RegisterWindowMessageW(TEXT("folvane-\u00E4")), numbers[0]);
  EXPECT_TRUE(other != numbers[0] && other != mine);
  WCHAR name[16];
  EXPECT_EQ(GlobalGetAtomNameW(static_cast<ATOM>(mine), name, 16), 9u);
  EXPECT_EQ(WideView(name), TEXT("Folvane-A"));
  EXPECT_EQ(GlobalGetAtomNameW(0x8002, name, 16), 6u);
  EXPECT_EQ(WideView(name), TEXT("#32770"));
  EXPECT_EQ(RegisterWindowMessageW(TEXT("")), 0u);
  EXPECT_EQ(RegisterWindowMessageW(Wide(256, u'x').c_str()), 0u);
}

}  // namespace
