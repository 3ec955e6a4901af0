// The window that long operations show.
#include "runtime/ui/progress_window.h"

#include <commctrl.h>

#include <climits>
#include <optional>
#include <string>

#include "platform/control/message_boxes.h"
#include "platform/control/pe_writer.h"
#include "platform/user/window.h"
#include "runtime/text/wide_text.h"
#include "tests/support/failing_new.h"
#include "tests/support/runtime_test.h"

namespace kv::test {
namespace {

using Wide = std::basic_string<WCHAR>;

constexpr WCHAR kClass[] = TEXT("KvProgress");
constexpr WORD kDots = 1, kNoDots = 2, kLong = 3;

BOOL SetTextFromList(CProgressWnd& window, UINT number, ...) {
  va_list arguments;
  va_start(arguments, number);
  const BOOL done = window.SetTextFromResourceV(number, arguments);
  va_end(arguments);
  return done;
}

std::string Rectangle(HWND parent, HWND window) {
  RECT r = {};
  GetWindowRect(window, &r);
  MapWindowPoints(HWND_DESKTOP, parent, reinterpret_cast<POINT*>(&r), 2);
  return std::to_string(r.left) + "," + std::to_string(r.top) + " " +
         std::to_string(r.right - r.left) + "x" + std::to_string(r.bottom - r.top);
}

// A 24-bit bitmap of 40 by 30 pixels and an icon, as resource compilers write them.
std::vector<BYTE> BitmapResource() {
  BITMAPINFOHEADER header = {};
  header.biSize = sizeof(header);
  header.biWidth = 40;
  header.biHeight = 30;
  header.biPlanes = 1;
  header.biBitCount = 24;
  std::vector<BYTE> bytes(sizeof(header) + 40 * 3 * 30);
  memcpy(bytes.data(), &header, sizeof(header));
  return bytes;
}
const std::vector<BYTE> kGroup = {0, 0, 1, 0, 1, 0, 16, 16, 0, 0, 1, 0, 32, 0, 4, 0, 0, 0, 1, 0};

class ProgressWindowTest : public RuntimeTest {
 protected:
  void SetUp() override {
    RuntimeTest::SetUp();
    platform::PeWriter()
        .AddString(0x0409, kDots, TEXT("Copying %s..."))
        .AddString(0x0409, kNoDots, TEXT("Waiting for %d"))
        .AddString(0x0409, kLong, Wide(400, u'x'))
        .AddResource(WORD{2}, WORD{1}, 0x0409, BitmapResource())
        .AddResource(WORD{3}, WORD{1}, 0x0409, {1, 2, 3, 4})
        .AddResource(WORD{14}, WORD{11}, 0x0409, kGroup)
        .WriteTo(platform::HostPath(TEXT("C:\\pictures.dll")));
    resources_ = LoadLibraryW(TEXT("C:\\pictures.dll"));
    ASSERT_NE(resources_, nullptr);
  }
  void TearDown() override {
    FreeLibrary(resources_);
    RuntimeTest::TearDown();
  }

  BOOL Create(CProgressWnd& window, BOOL cancel = TRUE, LPCWSTR class_name = kClass) {
    return window.Create(GetModuleHandleW(nullptr), resources_, class_name, TEXT("Title"), 11, 0,
                         cancel, nullptr, 0, 0, 0, 0, nullptr, nullptr);
  }
  static Wide TextOf(HWND window) {
    WCHAR text[400] = {};
    GetWindowTextW(window, text, 400);
    return text;
  }
  static Wide TextOf(const CProgressWnd& window) {
    WCHAR text[400] = {};
    window.GetText(text, 400);
    return text;
  }
  static HWND Child(const CProgressWnd& window, LPCWSTR class_name, size_t skip = 0) {
    platform::WindowLock lock;
    for (const platform::WindowPointer& child : platform::ChildrenOf(window.window())) {
      if (EqualNoCase(child->window_class->name, class_name) && skip-- == 0) return child->handle;
    }
    return nullptr;
  }

  // Class, identifier and style of each child.
  static std::string PartsOf(HWND parent) {
    std::string parts;
    platform::WindowLock lock;
    for (const platform::WindowPointer& child : platform::ChildrenOf(parent)) {
      const std::u16string& name = child->window_class->name;
      char text[32];
      snprintf(text, sizeof text, " %d %x\n", static_cast<int>(child->id),
               static_cast<unsigned>(child->style));
      parts += std::string(name.begin(), name.end()) + text;
    }
    return parts;
  }

  HMODULE resources_ = nullptr;
};

struct Layout {
  const char* what;
  UINT icon;
  std::optional<RECT> bitmap;
  BOOL cancel;
  LPCWSTR cancel_text;
  SIZE size;
  LONG font_height;
  const char *text, *bar, *button;
};

// The screen has 96 dpi and a frame of 6 by 29 pixels; the message font's lines are 15 pixels
// apart and its characters 6 by 14; a font of height -24 has 30, 11 and 28.
const Layout kLayouts[] = {
    {"text alone", 0, {}, FALSE, nullptr, {0, 0}, 0, "0,24 378x30", "24,69 330x18", nullptr},
    {"Cancel", 0, {}, TRUE, nullptr, {0, 0}, 0, "0,24 378x30", "24,69 330x18", "162,94 54x21"},
    {"long Cancel",
     0,
     {},
     TRUE,
     TEXT("Stop the whole operation now please"),
     {0, 0},
     0,
     "0,24 378x30",
     "24,69 330x18",
     "31,94 315x21"},
    {"icon", 11, {}, TRUE, TEXT("No"), {0, 0}, 0, "64,19 294x30", "64,64 250x18", "180,94 18x21"},
    {"bitmap",
     11,
     RECT{5, 7, 6, 8},
     TRUE,
     nullptr,
     {500, 229},
     0,
     "65,14 409x30",
     "65,59 364x18",
     "220,169 54x21"},
    {"empty rectangle",
     0,
     RECT{5, 7, 5, 8},
     FALSE,
     nullptr,
     {0, 0},
     0,
     "0,24 378x30",
     "24,69 330x18",
     nullptr},
    {"large font",
     0,
     {},
     TRUE,
     TEXT("Halt"),
     {406, 329},
     -24,
     "0,24 400x60",
     "24,114 352x37",
     "167,237 66x42"},
};

TEST_F(ProgressWindowTest, TheLayoutFollowsPictureFontAndTexts) {
  for (const Layout& layout : kLayouts) {
    SCOPED_TRACE(layout.what);
    CProgressWnd window;
    LOGFONTW font = {};
    font.lfHeight = layout.font_height;
    ASSERT_TRUE(window.Create(GetModuleHandleW(nullptr), resources_, kClass, TEXT("t"), 0,
                              layout.icon, layout.cancel, layout.cancel_text, layout.size.cx,
                              layout.size.cy, 0, 0, &font,
                              layout.bitmap ? &*layout.bitmap : nullptr));
    const HWND parent = window.window();
    const HWND text = Child(window, TEXT("static"), layout.icon != 0);
    EXPECT_EQ(Rectangle(parent, text), layout.text);
    EXPECT_EQ((GetWindowLongW(text, GWL_STYLE) & SS_TYPEMASK) == SS_CENTER,
              layout.icon == 0 && (!layout.bitmap || layout.bitmap->right == 5));
    const HWND bar = Child(window, PROGRESS_CLASSW);
    EXPECT_EQ(Rectangle(parent, bar), layout.bar);
    EXPECT_FALSE(GetWindowLongW(bar, GWL_STYLE) & WS_VISIBLE);
    const HWND button = GetDlgItem(parent, IDCANCEL);
    ASSERT_EQ(button != nullptr, layout.button != nullptr);
    if (button != nullptr) {
      EXPECT_EQ(Rectangle(parent, button), layout.button);
      EXPECT_NE(SendMessageW(button, WM_GETFONT, 0, 0), 0);
    }
    EXPECT_EQ(IsWindowEnabled(parent), layout.cancel);
    if (layout.icon != 0) {
      const HWND picture = Child(window, TEXT("static"));
      EXPECT_EQ(Rectangle(parent, picture), "12,12 32x32");
      EXPECT_NE(SendMessageW(picture, STM_GETICON, 0, 0), 0);
    }
    RECT r;
    GetWindowRect(parent, &r);
    EXPECT_TRUE(r.left + r.right == 1920 && std::abs(r.top + r.bottom - 1080) <= 1) << "centred";
  }
}

TEST_F(ProgressWindowTest, ItsPartsAreThoseThatOthersLookFor) {
  const HINSTANCE instance = GetModuleHandleW(nullptr);
  const HWND owner = CreateWindowExW(0, TEXT("static"), TEXT(""), WS_POPUP | WS_VISIBLE, 0, 0, 9, 9,
                                     nullptr, nullptr, nullptr, nullptr);
  CProgressWnd window;
  const RECT place = {5, 7, 6, 8};
  ASSERT_TRUE(window.Create(instance, resources_, kClass, TEXT("t"), 0, 11, TRUE, nullptr, 0, 0,
                            0x80800000u, 0x8, nullptr, &place));
  EXPECT_EQ(PartsOf(window.window()),
            "Static -1 50000003\nButton 3087 5000000b\nStatic -1 50000000\n"
            "msctls_progress32 -1 40000001\nButton 2 50000000\n");
  EXPECT_EQ(GetWindowLongW(window.window(), GWL_STYLE), static_cast<LONG>(0x80800000u));
  EXPECT_EQ(GetWindowLongW(window.window(), GWL_EXSTYLE), 0x8);
  EXPECT_EQ(platform::WindowOf(window.window())->owner, owner);
  WCHAR name[80];
  startupContext.instanceName.MakeUniqueName(name, 80, TEXT("CProgressWnd"));
  EXPECT_EQ(GetPropW(window.window(), name), &window);
  WNDCLASSW found;
  ASSERT_TRUE(GetClassInfoW(instance, kClass, &found));
  EXPECT_EQ(found.hbrBackground, reinterpret_cast<HBRUSH>(INT_PTR{16}));
  EXPECT_EQ(found.cbWndExtra, 4);
  ASSERT_TRUE(Create(window, FALSE));
  EXPECT_EQ(PartsOf(window.window()), "Static -1 50000001\nmsctls_progress32 -1 40000001\n");
  EXPECT_EQ(GetWindowLongW(window.window(), GWL_STYLE),
            static_cast<LONG>(WS_POPUP | WS_CAPTION | WS_DISABLED));
  window.SetControlIcon(11);
  EXPECT_EQ(PartsOf(window.window()), "Static -1 50000001\nmsctls_progress32 -1 40000001\n");
  platform::ResetFaults();
  window.SetControlIcon(11);
  EXPECT_EQ(platform::CallCount("LoadImageW"), 0u) << "there is no place for it";
  DestroyWindow(owner);
}

TEST_F(ProgressWindowTest, MessagesOfOthersChangeNothing) {
  CProgressWnd window;
  ASSERT_TRUE(Create(window));
  DRAWITEMSTRUCT item = {};
  const auto send = [&](HWND to) {
    EXPECT_EQ(SendMessageW(to, WM_COMMAND, 7, 0), 0);
    EXPECT_EQ(SendMessageW(to, WM_TIMER, 7, 0), 0);
    EXPECT_EQ(SendMessageW(to, WM_DRAWITEM, 7, reinterpret_cast<LPARAM>(&item)), TRUE);
    EXPECT_EQ(SendMessageW(to, WM_PAINT, 0, 0), 0);
    EXPECT_EQ(SendMessageW(to, WM_ACTIVATE, WA_INACTIVE, 0), 0);
  };
  send(window.window());
  EXPECT_EQ(platform::CallCount("GetObjectW"), 0u) << "nothing is drawn";
  EXPECT_FALSE(IsWindowVisible(window.window()));
  EXPECT_TRUE(window.Pump());
  const HWND left = window.Detach();
  send(left);
  EXPECT_EQ(SendMessageW(left, WM_COMMAND, IDCANCEL, 0), 0);
  EXPECT_EQ(SendMessageW(left, WM_TIMER, 1, 0), 0);
  EXPECT_EQ(SendMessageW(left, WM_DRAWITEM, 3087, reinterpret_cast<LPARAM>(&item)), TRUE);
  EXPECT_EQ(SendMessageW(left, WM_CLOSE, 0, 0), 0);
  EXPECT_TRUE(DestroyWindow(left));
}

BOOL WINAPI SeeBitmap(HDC, int x, int y, int width, int height, HDC, int, int, int, int,
                      UINT transparent) {
  EXPECT_EQ(transparent, 0xFFFFFFu);
  EXPECT_TRUE(x == 0 && y == 0 && width == 40 && height == 30);
  return TRUE;
}

TEST_F(ProgressWindowTest, TheBitmapIsDrawnWithoutItsWhitePixels) {
  platform::Replace("TransparentBlt", SeeBitmap);
  CProgressWnd window;
  const RECT place = {5, 5, 6, 6};
  ASSERT_TRUE(window.Create(nullptr, resources_, kClass, TEXT("t"), 11, 0, TRUE, nullptr, 0, 0, 0,
                            0, nullptr, &place));
  EXPECT_NE(SendMessageW(window.window(), WM_GETICON, ICON_BIG, 0), 0);
  window.Show(TRUE);
  EXPECT_EQ(platform::CallCount("TransparentBlt"), 1u);
  EXPECT_EQ(GetFocus(), GetDlgItem(window.window(), IDCANCEL));
}

TEST_F(ProgressWindowTest, ItAppearsLateUnlessTheOperationIsNearlyDone) {
  const struct {
    int low, high, position;
    bool appears;
  } cases[] = {{0, 0, 0, true},       {0, 1000, 500, true},
               {0, 1000, 549, true},  {0, 1000, 550, false},
               {0, 1000, 600, false}, {0, 3, 1, true},
               {0, 3, 2, false},      {1000, 2000, 1000, false},
               {-1000, 0, -1, true},  {INT_MAX, INT_MIN + 99, 0, false}};
  for (const auto& one : cases) {
    SCOPED_TRACE(std::to_string(one.position) + " of " + std::to_string(one.high));
    CProgressWnd window;
    ASSERT_TRUE(Create(window));
    window.SetShowDelay(1000);
    if (one.high != 0 || one.low != 0) window.SetRange(one.low, one.high);
    window.SetPos(one.position);
    platform::AdvanceClock(990);
    EXPECT_TRUE(window.Pump());
    EXPECT_FALSE(IsWindowVisible(window.window()));
    platform::AdvanceClock(11);
    EXPECT_TRUE(window.Pump());
    EXPECT_EQ(IsWindowVisible(window.window()), one.appears);
    window.Show(FALSE);
    EXPECT_FALSE(IsWindowVisible(window.window()));
  }
  CProgressWnd window;
  ASSERT_TRUE(Create(window));
  window.SetShowDelay(1000);
  window.Show(TRUE);
  window.Show(FALSE);
  platform::AdvanceClock(2000);
  window.Pump();
  EXPECT_FALSE(IsWindowVisible(window.window())) << "hidden before it was due";
  window.SetShowDelay(0);
  window.Show(TRUE);
  EXPECT_TRUE(IsWindowVisible(window.window()));
}

TEST_F(ProgressWindowTest, TheUserCancels) {
  void (*const ways[])(HWND) = {
      [](HWND window) { SendMessageW(GetDlgItem(window, IDCANCEL), BM_CLICK, 0, 0); },
      [](HWND window) { PostMessageW(window, WM_CLOSE, 0, 0); },
      [](HWND window) { PostMessageW(GetDlgItem(window, IDCANCEL), WM_KEYDOWN, VK_ESCAPE, 0); }};
  for (const auto& cancel : ways) {
    CProgressWnd window;
    ASSERT_TRUE(Create(window));
    EXPECT_EQ(CProgressWnd::FromWindow(window.window()), &window);
    window.Show(TRUE);
    EXPECT_TRUE(window.Pump());
    cancel(window.window());
    EXPECT_FALSE(window.Pump());
    EXPECT_FALSE(CProgressWnd::Pump(&window));
    EXPECT_TRUE(CProgressWnd::Pump(nullptr)) << "the thread goes on";
    EXPECT_EQ(TextOf(window), TEXT("Cancelling..."));
    EXPECT_FALSE(IsWindowEnabled(GetDlgItem(window.window(), IDCANCEL)));
    EXPECT_TRUE(IsWindow(window.window()));
    window.Reset();
    EXPECT_TRUE(window.Pump());
    EXPECT_TRUE(IsWindowEnabled(GetDlgItem(window.window(), IDCANCEL)));
  }
  CProgressWnd window;
  ASSERT_TRUE(Create(window));
  const HMODULE library = std::exchange(startupContext.hResources, nullptr);
  SendMessageW(window.window(), WM_COMMAND, IDCANCEL, 0);
  startupContext.hResources = library;
  EXPECT_EQ(TextOf(window), TEXT("Cancelling...")) << "without a resource library";
  window.Reset();
  PostQuitMessage(3);
  EXPECT_FALSE(window.Pump());
  MSG message;
  EXPECT_TRUE(PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE));
  EXPECT_EQ(message.wParam, 3u) << "the thread goes on being told to quit";
}

TEST_F(ProgressWindowTest, TextsAndTheBar) {
  CProgressWnd window;
  int low = 5, high = 5;
  EXPECT_FALSE(window.GetRange(&low, &high));
  EXPECT_TRUE(low == 0 && high == 0);
  EXPECT_FALSE(window.SetTextFromResource(kDots, TEXT("x")));
  EXPECT_FALSE(window.Pump());
  ASSERT_TRUE(Create(window));
  window.SetText(TEXT("%d of %s"), 3, TEXT("four"));
  EXPECT_EQ(TextOf(window), TEXT("3 of four"));
  EXPECT_TRUE(window.SetTextFromResource(kDots, TEXT("x")));
  EXPECT_EQ(TextOf(window), TEXT("Copying x..."));
  EXPECT_TRUE(window.SetTextFromResource(kNoDots, 7));
  EXPECT_EQ(TextOf(window), TEXT("Waiting for 7..."));
  EXPECT_TRUE(SetTextFromList(window, kNoDots, 8));
  EXPECT_EQ(TextOf(window), TEXT("Waiting for 8")) << "as the string says";
  EXPECT_FALSE(SetTextFromList(window, 999));
  EXPECT_TRUE(window.SetTextFromResource(kNoDots, 7));
  EXPECT_FALSE(window.SetTextFromResource(999));
  EXPECT_EQ(TextOf(window), TEXT("Waiting for 7..."));
  EXPECT_TRUE(window.SetTextFromResource(kLong));
  EXPECT_EQ(TextOf(window), Wide(255, u'x') + TEXT("..."));

  const HWND bar = Child(window, PROGRESS_CLASSW);
  const auto shown = [&] { return (GetWindowLongW(bar, GWL_STYLE) & WS_VISIBLE) != 0; };
  window.SetRange(0, 10);
  EXPECT_TRUE(shown());
  window.SetRange(0, 0);
  EXPECT_FALSE(shown());
  window.SetRangeAndStep(0, 0, 3);
  EXPECT_TRUE(shown());
  window.SetRangeAndStep(0, 0, 0);
  EXPECT_FALSE(shown());
  for (const auto& [from, to] : {std::pair(0, 10), std::pair(-10, 0)}) {
    window.SetRange(0, 0);
    window.SetRangeAndStep(from, to, 0);
    EXPECT_TRUE(shown());
    window.SetRange(0, 0);
    window.SetRange(from, to);
    EXPECT_TRUE(shown());
  }
  window.SetRangeAndStep(1000, 2000, 250);
  EXPECT_EQ(window.GetPos(), 1000);
  window.StepIt();
  EXPECT_TRUE(IsWindowVisible(window.window()));
  window.Show(FALSE);
  window.StepIt();
  EXPECT_TRUE(IsWindowVisible(window.window()));
  EXPECT_EQ(window.GetPos(), 1500);
  EXPECT_TRUE(window.GetRange(&low, nullptr));
  EXPECT_EQ(low, 1000);
  window.SetPos(1500);
  EXPECT_EQ(TextOf(window.window()), TEXT("Title"));
  ShowWindow(window.window(), SW_MINIMIZE);
  window.SetPos(1500);
  EXPECT_EQ(TextOf(window.window()), TEXT(" 50%"));
}

TEST_F(ProgressWindowTest, WhatItShowsIsItsOwn) {
  CProgressWnd window;
  ASSERT_TRUE(Create(window));
  window.SetRange(0, 10);
  const HWND first = window.window();
  SendMessageW(first, WM_COMMAND, IDCANCEL, 0);
  ASSERT_TRUE(Create(window, FALSE)) << "another window in place of the first";
  EXPECT_FALSE(IsWindow(first));
  EXPECT_TRUE(window.Pump()) << "which was cancelled, not this one";
  const HWND focused = CreateWindowExW(0, TEXT("button"), TEXT(""), WS_POPUP, 0, 0, 9, 9, nullptr,
                                       nullptr, nullptr, nullptr);
  SetFocus(focused);
  window.Show(TRUE);
  SendMessageW(window.window(), WM_ACTIVATE, WA_ACTIVE, 0);
  EXPECT_EQ(GetFocus(), focused) << "there is no Cancel button";
  DestroyWindow(focused);
  // Somebody destroys the window, or its owner.
  DestroyWindow(window.window());
  EXPECT_EQ(window.window(), nullptr);
  EXPECT_FALSE(window.Pump());
  window.Show(TRUE);
  window.SetPos(5);
  window.SetText(TEXT("x"));
  EXPECT_EQ(TextOf(window), TEXT(""));
  ASSERT_TRUE(window.Create(GetModuleHandleW(nullptr), nullptr, kClass, TEXT("t"), 11, 11, TRUE,
                            nullptr, 0, 0, 0, 0, nullptr, nullptr));
  EXPECT_FALSE(window.SetTextFromResource(kDots, TEXT("x"))) << "without resources";
  window.Destroy();
}

TEST_F(ProgressWindowTest, OneClassForManyWindows) {
  WNDCLASSW found;
  const HINSTANCE instance = GetModuleHandleW(nullptr);
  {
    CProgressWnd second;
    {
      CProgressWnd first;
      ASSERT_TRUE(Create(first));
      ASSERT_TRUE(Create(second));
      second.Destroy();
      EXPECT_TRUE(GetClassInfoW(instance, kClass, &found)) << "the class is the first one's";
      ASSERT_TRUE(Create(second));
      second.Destroy();
      second.Destroy();
    }
    EXPECT_FALSE(GetClassInfoW(instance, kClass, &found));
    ASSERT_TRUE(Create(second)) << "again";
    const HWND window = second.Detach();
    EXPECT_FALSE(second.Pump());
    EXPECT_EQ(CProgressWnd::FromWindow(window), nullptr);
    SendMessageW(window, WM_CLOSE, 0, 0);
    EXPECT_TRUE(IsWindow(window));
    EXPECT_TRUE(DestroyWindow(window));
  }
  EXPECT_FALSE(GetClassInfoW(instance, kClass, &found));
}

TEST_F(ProgressWindowTest, FailuresAreReported) {
  const struct {
    const char* function;
    LPCWSTR text;
    unsigned windows;
  } reports[] = {{"RegisterClassW", TEXT("RegisterClass failed.\n\nAccess is denied."), 0},
                 {"GetDC", TEXT("GetDC failed.\n\nAccess is denied."), 0},
                 {"CreateWindowExW", TEXT("CreateWindowEx failed.\n\nAccess is denied."), 1}};
  for (const auto& report : reports) {
    platform::ResetFaults();
    platform::FailCall(report.function, 1, ERROR_ACCESS_DENIED);
    platform::AnswerNextBox(IDOK);
    CProgressWnd window;
    EXPECT_FALSE(Create(window));
    EXPECT_EQ(platform::ShownBoxes().back().text, report.text);
    EXPECT_EQ(platform::CallCount("CreateWindowExW"), report.windows);
  }
  {
    platform::FailCall("GetDC", 2);
    CProgressWnd window;
    EXPECT_FALSE(Create(window)) << "the screen went in between";
  }
  FailAllocation(1);
  platform::AnswerNextBox(IDOK);
  {
    CProgressWnd window;
    EXPECT_FALSE(Create(window));
    EXPECT_EQ(platform::ShownBoxes().back().text,
              TEXT("An internal error occurred: CProgressWnd::Create _tcsdup."));
  }
  FailAllocation(0);
}

}  // namespace
}  // namespace kv::test
