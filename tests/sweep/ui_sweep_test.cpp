// Windows, hooks and message boxes when calls and allocations fail.
#include "platform/control/message_boxes.h"
#include "platform/control/pe_writer.h"
#include "platform/control/shell.h"
#include "resources/string_ids.h"
#include "runtime/core/messages.h"
#include "runtime/core/startup_context.h"
#include "runtime/graphics/device_contexts.h"
#include "runtime/ui/code_thunk.h"
#include "runtime/ui/ellipsis.h"
#include "runtime/ui/link_button.h"
#include "runtime/ui/message_box_link.h"
#include "runtime/ui/progress_window.h"
#include "runtime/ui/pump_messages.h"
#include "runtime/ui/subclass_window.h"
#include "runtime/ui/text_measure.h"
#include "runtime/ui/transparent_bitmap.h"
#include "runtime/ui/window_property.h"
#include "tests/support/sweep.h"

namespace kv::test {
namespace {

constexpr WCHAR kClass[] = TEXT("KvProgress");
constexpr WCHAR kWatched[] = TEXT("KvWatched");
constexpr WORD kText = 2;

// A bitmap of one pixel and an icon, as resource compilers write them.
std::vector<BYTE> BitmapResource() {
  BITMAPINFOHEADER header = {};
  header.biSize = sizeof(header);
  header.biWidth = header.biHeight = 1;
  header.biPlanes = 1;
  header.biBitCount = 24;
  std::vector<BYTE> bytes(sizeof(header) + 4);
  memcpy(bytes.data(), &header, sizeof(header));
  return bytes;
}

std::string seen;  // by the objects on the window

LRESULT CALLBACK Note(HWND window, UINT message, WPARAM wparam, LPARAM lparam) {
  if (message == WM_APP) seen += "proc ";
  return DefWindowProcW(window, message, wparam, lparam);
}

class Watcher : public CSubclassWindow {
 public:
  void AfterMessage(HWND, UINT message, WPARAM, LPARAM, LRESULT*) override {
    if (message == WM_APP) seen += "after ";
  }
  BOOL BeforeMessage(HWND, UINT message, WPARAM, LPARAM, LRESULT*) override {
    if (message == WM_APP) seen += "before ";
    return TRUE;
  }
};

// The system's class of callback that the enumeration template serves.
class Counter {
 public:
  virtual BOOL CALLBACK OnWindow(HWND, LPARAM) {
    ++count;
    return TRUE;
  }
  int count = 0;
};

class UiMachine : public RuntimeTest {
 protected:
  void SetUp() override {
    RuntimeTest::SetUp();
    startupContext.msimg32.Load(TEXT("msimg32.dll"), Quiet::kYes);
    const std::vector<BYTE> group = {0, 0, 1, 0, 1, 0, 16, 16, 0, 0, 1, 0, 32, 0, 4, 0, 0, 0, 1, 0};
    platform::PeWriter()
        .AddString(0x0409, kText, TEXT("Waiting for %d"))
        .AddResource(WORD{2}, WORD{1}, 0x0409, BitmapResource())
        .AddResource(WORD{3}, WORD{1}, 0x0409, {1, 2, 3, 4})
        .AddResource(WORD{14}, WORD{11}, 0x0409, group)
        .WriteTo(platform::HostPath(TEXT("C:\\pictures.dll")));
    resources = LoadLibraryW(TEXT("C:\\pictures.dll"));
    WNDCLASSW window_class = {};
    window_class.lpfnWndProc = Note;
    window_class.lpszClassName = kWatched;
    EXPECT_NE(RegisterClassW(&window_class), 0);
  }
  void TearDown() override {
    UnregisterClassW(kWatched, nullptr);
    FreeLibrary(resources);
    RuntimeTest::TearDown();
  }

 public:
  static inline HMODULE resources;
};

HWND MakeWindow() {
  return CreateWindowExW(0, kWatched, TEXT(""), WS_POPUP, 0, 0, 9, 9, nullptr, nullptr, nullptr,
                         nullptr);
}

SWEEP_AREA(Windows, UiMachine);

SCENARIO(Windows, ProgressWindow) {
  bool pumped = true;
  int position = 0;
  WCHAR text[32] = {};
  const BOOL made = attempt.Call([&]() -> BOOL {
    CProgressWnd window;
    const RECT place = {5, 5, 6, 6};
    if (!window.Create(nullptr, UiMachine::resources, kClass, TEXT("t"), 11, 11, TRUE, nullptr, 0,
                       0, 0, 0, nullptr, &place)) {
      return FALSE;
    }
    window.Show(TRUE);
    window.SetRangeAndStep(0, 5, 1);
    window.SetPos(3);
    window.StepIt();
    window.SetControlIcon(11);
    window.SetTextFromResource(kText, 1);
    window.SetText(TEXT("%d %%"), 60);
    window.GetText(text, 32);
    position = window.GetPos();
    pumped = window.Pump() && CProgressWnd::FromWindow(window.window()) == &window;
    window.SetShowDelay(100);
    window.Show(FALSE);
    window.Show(TRUE);
    window.Reset();
    return TRUE;
  });
  EXPECT_TRUE(made || attempt.reports() == 1 || attempt.hit());
  EXPECT_TRUE(!made || pumped || attempt.failed().starts_with("SetPropW"));
  EXPECT_TRUE(attempt.hit() || (position == 4 && WideView(text) == TEXT("60 %")));
  EXPECT_EQ(FindWindowW(kClass, nullptr), nullptr);
  WNDCLASSW found;
  EXPECT_FALSE(GetClassInfoW(nullptr, kClass, &found));
}

SCENARIO(Windows, DetachedProgressWindow) {
  HWND window = nullptr;
  attempt.Call([&] {
    CProgressWnd progress;
    progress.Create(nullptr, nullptr, kClass, TEXT("t"), 0, 0, FALSE, nullptr, 0, 0, 0, 0, nullptr,
                    nullptr);
    window = progress.Detach();
  });
  attempt.Expect(window != nullptr, IsWindow(window));
  if (window != nullptr) DestroyWindow(window);
  UnregisterClassW(kClass, nullptr);
}

SCENARIO(Windows, Subclass) {
  const HWND window = MakeWindow();
  seen.clear();
  int attached = 0;
  attempt.Call([&] {
    auto* const owned = new (std::nothrow) Watcher;
    if (owned != nullptr && !owned->Attach(window, TRUE, 0)) {
      delete owned;
    } else if (owned != nullptr) {
      ++attached;
    }
    Watcher passing;
    if (passing.Attach(window, FALSE, 7)) ++attached;
    SendMessageW(window, WM_APP, 0, 0);
  });
  attempt.Expect(attached == 2, seen == "before before proc after after " || attempt.hit());
  EXPECT_NE(seen.find("proc"), std::string::npos) << "the window's own procedure";
  seen.clear();
  SendMessageW(window, WM_APP, 0, 0);
  EXPECT_NE(seen.find("proc"), std::string::npos);
  DestroyWindow(window);
}

SCENARIO(Windows, ThreadHook) {
  bool hooked = false;
  attempt.Call([&] {
    const CThreadHook hook(WH_CBT);
    hooked = hook.IsHooked();
  });
  attempt.Expect(hooked, true);
  DestroyWindow(MakeWindow());
}

SCENARIO(Windows, CodeThunk) {
  Counter counter;
  const HWND window = MakeWindow();
  CCodeThunk thunk;
  const auto callback =
      attempt.Call([&] { return thunk.BuildAs<WNDENUMPROC>(EnumerationTemplate(), &counter); });
  if (callback != nullptr) EnumThreadWindows(GetCurrentThreadId(), callback, 0);
  attempt.Expect(callback != nullptr, counter.count == 1);
  DestroyWindow(window);
}

SCENARIO(Windows, WindowProperty) {
  const HWND window = MakeWindow();
  const WindowProperty property(TEXT("x"));
  const BOOL set = attempt.Call([&] { return property.Set(window, &seen); });
  attempt.Expect(set, property.Get(window) == &seen, property.Get(window) == nullptr);
  property.Remove(window);
  EXPECT_EQ(property.Get(window), nullptr);
  DestroyWindow(window);
}

SCENARIO(Windows, PumpMessages) {
  const HWND window = MakeWindow();
  seen.clear();
  PostMessageW(window, WM_APP, 0, 0);
  const BOOL goes_on = attempt.Call([] { return PumpMessages(nullptr); });
  EXPECT_TRUE(goes_on);
  PumpMessages(nullptr);
  EXPECT_EQ(seen, "proc ");
  DestroyWindow(window);
}

SCENARIO(Windows, LinkOfAMessageBox) {
  SetMessageSink(nullptr);
  platform::ScriptBoxes(true);
  // The second one is for the box of a target that could not be opened.
  for (const int answer : {kLinkButton, IDOK, IDOK}) platform::AnswerNextBox(answer);
  const size_t before = platform::ShellRequests().size();
  attempt.Call([] {
    CMessageBoxLink link;
    link.SetTargetFromResource(IDS_CANCEL);
    link.SetCaptionFromResource(IDS_CANCEL);
    link.SetCaption(TEXT("caption"));
    link.SetTarget(TEXT("http://x"));
    ShowInfoF(TEXT("x"));
  });
  attempt.Expect(platform::ShellRequests().size() == before + 1, true);
  platform::ScriptBoxes(true);
}

SCENARIO(Windows, LinkButton) {
  const HWND box = MakeWindow();
  CreateWindowExW(0, TEXT("Button"), TEXT("OK"), WS_CHILD | WS_VISIBLE, 0, 0, 9, 9, box,
                  reinterpret_cast<HMENU>(ULONG_PTR{IDOK}), nullptr, nullptr);
  std::unique_ptr<WCHAR[]> caption;
  BOOL opened = FALSE;
  attempt.Call([&] {
    AddLinkButton(box, nullptr);
    caption = LinkCaption(TEXT("c"));
    opened = OpenLink(box, TEXT("http://x"));
  });
  attempt.Expect(caption != nullptr, View(caption.get()) == TEXT("c..."));
  attempt.Expect(opened, true);
  EXPECT_TRUE(GetDlgItem(box, kLinkButton) != nullptr || attempt.hit());
  EXPECT_NE(GetDlgItem(box, IDOK), nullptr);
  DestroyWindow(box);
}

SCENARIO(Windows, DrawTransparent) {
  const ScreenContext screen;
  const HBITMAP bitmap = CreateBitmap(1, 1, 1, 24, nullptr);
  attempt.Expect(attempt.Call([&] { return DrawTransparent(screen.Get(), 0, 0, bitmap, 0); }),
                 true);
  DeleteObject(bitmap);
}

SCENARIO(Windows, MeasureAndEllipsis) {
  WCHAR text[8] = TEXT("abcd");
  SIZE size = {};
  attempt.Call([&] {
    AppendEllipsis(text, 8);
    const ScreenContext screen;
    const TextMeasure measure(screen.Get(), nullptr);
    size = measure.SizeOf(text);
    size.cy = std::min<int>(size.cy, measure.LineHeight());
  });
  EXPECT_EQ(WideView(text), TEXT("abcd..."));
  EXPECT_TRUE(size.cx > 0 || attempt.hit());
}

}  // namespace
}  // namespace kv::test
