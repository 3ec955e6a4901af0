// Message boxes as windows, and the script that answers them.
#include "platform/control/message_boxes.h"

#include <string>

#include "tests/support/machine_test.h"

namespace {

using kv::test::WideView;

class MessageBoxTest : public kv::test::MachineTest {};

TEST_F(MessageBoxTest, TheScriptPressesButtonsInItsOrder) {
  platform::AnswerNextBox(IDNO);
  platform::AnswerNextBox(IDRETRY);
  EXPECT_EQ(MessageBoxW(nullptr, TEXT("first"), TEXT("t"), MB_YESNO), IDNO);
  EXPECT_EQ(MessageBoxW(nullptr, TEXT("second"), nullptr, MB_RETRYCANCEL), IDRETRY);
  const auto shown = platform::ShownBoxes();
  ASSERT_EQ(shown.size(), 2u);
  EXPECT_EQ(shown[0].text, TEXT("first"));
  EXPECT_EQ(shown[0].button, IDNO);
  EXPECT_EQ(shown[1].title, TEXT("Error"));
  EXPECT_EQ(shown[1].style, static_cast<UINT>(MB_RETRYCANCEL));
}

TEST_F(MessageBoxTest, WithoutAnAnswerABoxIsClosedAndRemembered) {
  struct Case {
    UINT style;
    int closed;
  };
  for (const Case& c : {Case{MB_OK, IDOK}, Case{MB_OKCANCEL, IDCANCEL}, Case{MB_YESNO, IDYES},
                        Case{MB_YESNO | MB_DEFBUTTON2, IDNO},
                        Case{MB_ABORTRETRYIGNORE | MB_DEFBUTTON3, IDIGNORE}}) {
    EXPECT_EQ(MessageBoxW(nullptr, TEXT("?"), TEXT("t"), c.style), c.closed);
  }
  platform::AnswerNextBox(IDCANCEL);
  EXPECT_EQ(MessageBoxW(nullptr, TEXT("?"), TEXT("t"), MB_YESNO), IDYES) << "no such button";
  EXPECT_EQ(platform::UnansweredBoxes().size(), 6u);
  platform::ScriptBoxes(true);
}

TEST_F(MessageBoxTest, WithoutAScriptTheDefaultButtonAnswers) {
  platform::ScriptBoxes(false);
  testing::internal::CaptureStderr();
  EXPECT_EQ(MessageBoxW(nullptr, TEXT("Gr\u00FC\u00DFe"), TEXT("t"), MB_OKCANCEL), IDOK);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "t: Gr\u00FC\u00DFe\n");
}

TEST_F(MessageBoxTest, TheBoxIsADialogOfItsOwner) {
  const HWND owner = CreateWindowExW(0, TEXT("Static"), TEXT("o"), WS_POPUP | WS_VISIBLE, 0, 0, 9,
                                     9, nullptr, nullptr, nullptr, nullptr);
  platform::AnswerNextBox([&](HWND box) {
    WCHAR text[32];
    GetClassNameW(box, text, 32);
    EXPECT_EQ(WideView(text), TEXT("#32770"));
    GetWindowTextW(box, text, 32);
    EXPECT_EQ(WideView(text), TEXT("title"));
    GetWindowTextW(GetDlgItem(box, 0xFFFF), text, 32);
    EXPECT_EQ(WideView(text), TEXT("text"));
    EXPECT_EQ(GetParent(box), owner);
    EXPECT_FALSE(IsWindowEnabled(owner));
    EXPECT_EQ(GetLastActivePopup(owner), box);
    EXPECT_NE(SendMessageW(GetDlgItem(box, IDYES), WM_GETFONT, 0, 0), 0);
    RECT frame, yes, cancel;
    GetWindowRect(box, &frame);
    GetWindowRect(GetDlgItem(box, IDYES), &yes);
    GetWindowRect(GetDlgItem(box, IDCANCEL), &cancel);
    EXPECT_TRUE(frame.left < yes.left && yes.right < cancel.left && cancel.right < frame.right);
    EXPECT_TRUE(frame.top < yes.top && yes.top == cancel.top && yes.bottom < frame.bottom);
    return IDYES;
  });
  EXPECT_EQ(MessageBoxW(owner, TEXT("text"), TEXT("title"), MB_YESNOCANCEL | MB_ICONERROR), IDYES);
  EXPECT_TRUE(IsWindowEnabled(owner));
  EXPECT_EQ(GetLastActivePopup(owner), owner);
  DestroyWindow(owner);
  EXPECT_EQ(MessageBoxW(owner, TEXT("text"), TEXT("title"), MB_OK), 0);
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_WINDOW_HANDLE));
}

// A hook finds the box by class and title while it is made, subclasses it, adds a button when the
// box is complete and serves it.
constexpr int kExtraButton = 3239;
WNDPROC box_procedure;
int served;

LRESULT CALLBACK WithExtraButton(HWND box, UINT message, WPARAM wparam, LPARAM lparam) {
  if (message == WM_INITDIALOG) {
    CreateWindowExW(0, TEXT("button"), TEXT("More..."), WS_CHILD | WS_VISIBLE, 0, 0, 10, 10, box,
                    reinterpret_cast<HMENU>(LONG_PTR{kExtraButton}), nullptr, nullptr);
  }
  if (message == WM_COMMAND && LOWORD(wparam) == kExtraButton) {
    ++served;
    MessageBoxW(box, TEXT("more"), TEXT("t"), MB_OK);
    return 0;
  }
  return CallWindowProcW(box_procedure, box, message, wparam, lparam);
}

LRESULT CALLBACK FindBox(int code, WPARAM wparam, LPARAM lparam) {
  if (code == HCBT_CREATEWND) {
    const CREATESTRUCTW& record = *reinterpret_cast<CBT_CREATEWNDW*>(lparam)->lpcs;
    if (record.lpszClass == MAKEINTATOM(0x8002) && WideView(record.lpszName) == TEXT("linked")) {
      box_procedure =
          reinterpret_cast<WNDPROC>(SetWindowLongPtrW(reinterpret_cast<HWND>(wparam), GWLP_WNDPROC,
                                                      reinterpret_cast<LONG_PTR>(WithExtraButton)));
    }
  }
  return CallNextHookEx(nullptr, code, wparam, lparam);
}

TEST_F(MessageBoxTest, ASubclassedBoxStaysOpenForItsExtraButton) {
  served = 0;
  const HHOOK hook = SetWindowsHookExW(WH_CBT, FindBox, nullptr, GetCurrentThreadId());
  platform::AnswerNextBox(kExtraButton);
  platform::AnswerNextBox(IDOK);  // the inner box
  platform::AnswerNextBox(IDCANCEL);
  EXPECT_EQ(MessageBoxW(nullptr, TEXT("x"), TEXT("linked"), MB_OKCANCEL), IDCANCEL);
  EXPECT_EQ(served, 1);
  EXPECT_EQ(platform::ShownBoxes().size(), 2u);
  UnhookWindowsHookEx(hook);
}

}  // namespace
