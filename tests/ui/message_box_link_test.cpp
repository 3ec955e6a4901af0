// The extra button of message boxes.
#include "runtime/ui/message_box_link.h"

#include <optional>
#include <string>
#include <vector>

#include "platform/control/message_boxes.h"
#include "platform/control/shell.h"
#include "resources/string_ids.h"
#include "runtime/core/messages.h"
#include "runtime/ui/link_button.h"
#include "tests/support/runtime_test.h"

namespace kv::test {
namespace {

using Wide = std::basic_string<WCHAR>;

class MessageBoxLinkTest : public RuntimeTest {
 protected:
  static Wide TextOf(HWND window) {
    WCHAR text[200] = {};
    GetWindowTextW(window, text, 200);
    return text;
  }
  static RECT PlaceOf(HWND box, int id) {
    RECT r = {};
    GetWindowRect(GetDlgItem(box, id), &r);
    MapWindowPoints(HWND_DESKTOP, box, reinterpret_cast<POINT*>(&r), 2);
    return r;
  }
  // Shows a box with one button, ended by it; whether it had the link.
  static bool NextBoxHasLink(LPCWSTR title = nullptr) {
    bool has = false;
    platform::AnswerNextBox([&](HWND box) {
      has = GetDlgItem(box, kLinkButton) != nullptr;
      return IDOK;
    });
    if (title != nullptr) {
      MessageBoxW(nullptr, TEXT("x"), title, MB_OK);
    } else {
      ShowInfoF(TEXT("x"));
    }
    return has;
  }
};

TEST_F(MessageBoxLinkTest, TheButtonStandsBehindTheOthersAndTheRowInTheMiddle) {
  const struct {
    int (*show)(LPCWSTR format, ...);
    std::vector<int> ids;
    LPCWSTR caption, shown;
    LONG gap, width;
  } cases[] = {
      // A character of the dialogs' font is 5 pixels wide; a scroll bar 17.
      {ShowErrorF, {IDOK}, TEXT("A&&b &c"), TEXT("A&&b &c..."), 6, 75},
      {AskYesNoF, {IDYES, IDNO}, TEXT("Done..."), TEXT("Done..."), 6, 75},
      {AskYesNoCancelF, {IDYES, IDNO, IDCANCEL}, TEXT(""), TEXT("More information..."), 6, 112},
  };
  for (const auto& one : cases) {
    CMessageBoxLink link;
    link.SetCaption(one.caption);
    link.SetTarget(TEXT("http://%s"), TEXT("folvane"));
    platform::AnswerNextBox([&](HWND box) {
      EXPECT_EQ(TextOf(GetDlgItem(box, kLinkButton)), one.shown);
      std::vector<int> row = one.ids;
      row.push_back(kLinkButton);
      for (size_t i = 1; i < row.size(); ++i) {
        EXPECT_EQ(PlaceOf(box, row[i]).left - PlaceOf(box, row[i - 1]).right, one.gap);
      }
      const RECT first = PlaceOf(box, row.front()), last = PlaceOf(box, kLinkButton);
      EXPECT_EQ(last.right - last.left, one.width);
      EXPECT_TRUE(first.top == last.top && first.bottom == last.bottom);
      RECT client;
      GetClientRect(box, &client);
      EXPECT_LE(std::abs((first.left + last.right) - client.right), 1) << "centred";
      EXPECT_EQ(SendMessageW(GetDlgItem(box, row[0]), WM_GETFONT, 0, 0),
                SendMessageW(GetDlgItem(box, kLinkButton), WM_GETFONT, 0, 0));
      return one.ids.back();
    });
    EXPECT_EQ(one.show(TEXT("A long text so that the row has room in the box that it is in.")),
              one.ids.back());
  }
}

TEST_F(MessageBoxLinkTest, OneBoxOfTheProductGetsIt) {
  CMessageBoxLink link;
  EXPECT_FALSE(NextBoxHasLink());
  link.SetTarget(TEXT("text"));
  EXPECT_FALSE(NextBoxHasLink(TEXT("Folvanes")));
  EXPECT_FALSE(NextBoxHasLink(TEXT("folvane")));
  const HWND other = CreateWindowExW(0, TEXT("static"), TEXT("Folvane"), WS_POPUP, 0, 0, 1, 1,
                                     nullptr, nullptr, nullptr, nullptr);
  DestroyWindow(other);
  EXPECT_TRUE(NextBoxHasLink()) << "armed until the right one comes";
  EXPECT_FALSE(NextBoxHasLink());
  link.Update();
  EXPECT_TRUE(NextBoxHasLink()) << "armed again";
  link.SetTarget(TEXT("text"));
  link.SetTarget(TEXT(""));
  EXPECT_FALSE(NextBoxHasLink());
  link.SetTargetFromResource(IDS_FILE_NOT_FOUND, TEXT("100%s"));
  EXPECT_TRUE(NextBoxHasLink()) << "what looks like a format is taken as it is";
  link.SetTargetFromResource(0);
  EXPECT_FALSE(NextBoxHasLink());
  {
    CMessageBoxLink brief;
    brief.SetTarget(TEXT("text"));
  }
  EXPECT_FALSE(NextBoxHasLink());
}

// Refuses every window, before or after the older hooks have seen it.
class RefusingHook : public CThreadHook {
 public:
  explicit RefusingHook(bool asks) : CThreadHook(WH_CBT), asks_(asks) {}
  LRESULT CALLBACK HookProc(int code, WPARAM wparam, LPARAM lparam) override {
    if (asks_) CThreadHook::HookProc(code, wparam, lparam);
    return code == HCBT_CREATEWND;
  }

 private:
  bool asks_;
};

TEST_F(MessageBoxLinkTest, ABoxThatAnotherHookRefusesLeavesTheLinkToTheNext) {
  for (const bool newer : {false, true}) {
    CMessageBoxLink link;
    {
      std::optional<RefusingHook> older;
      if (!newer) older.emplace(false);
      link.SetTarget(TEXT("text"));
      std::optional<RefusingHook> hook;
      if (newer) hook.emplace(true);
      EXPECT_EQ(MessageBoxW(nullptr, TEXT("x"), TEXT("Folvane"), MB_OK), 0);
      EXPECT_EQ(MessageBoxW(nullptr, TEXT("x"), TEXT("Folvane"), MB_OK), 0);
    }
    EXPECT_TRUE(NextBoxHasLink()) << newer;
    EXPECT_FALSE(NextBoxHasLink()) << newer;
  }
}

// Ends the box, as what comes in while the shell works may do.
HWND opened_from;
HINSTANCE WINAPI EndBoxAndRefuse(HWND owner, LPCWSTR, LPCWSTR, LPCWSTR, LPCWSTR, INT) {
  opened_from = owner;
  DestroyWindow(owner);
  return nullptr;
}

TEST_F(MessageBoxLinkTest, TheBoxMayGoWhileTheShellWorks) {
  CMessageBoxLink link;
  link.SetTarget(TEXT("http://folvane/gone"));
  platform::Replace("ShellExecuteW", EndBoxAndRefuse);
  platform::AnswerNextBox(kLinkButton);
  platform::AnswerNextBox(IDOK);
  ShowInfoF(TEXT("x"));
  ASSERT_EQ(platform::ShownBoxes().size(), 2u);
  EXPECT_EQ(platform::ShownBoxes()[1].text, TEXT("http://folvane/gone"));
  EXPECT_NE(platform::ShownBoxes()[1].owner, opened_from);
}

TEST_F(MessageBoxLinkTest, TargetsAreOpenedOrShown) {
  CreateDirectoryW(TEXT("C:\\my files"), nullptr);
  const Wide deep = TEXT("file:///C:/") + Wide(300, u'd');
  const struct {
    Wide target;
    LPCWSTR opened;  // null: shown
    bool refused;
  } cases[] = {
      {TEXT("http://folvane/a"), TEXT("http://folvane/a"), false},
      {TEXT("mailto:ada@folvane"), TEXT("mailto:ada@folvane"), false},
      {TEXT("FILE:///C:/my%20files"), TEXT("C:\\my files"), false},
      {deep, deep.c_str(), false},
      {TEXT("http://folvane/b"), nullptr, true},
      {TEXT("see mailto:x"), nullptr, false},
      {TEXT("plain text"), nullptr, false},
      {Wide(1100, u'%'), nullptr, false},
  };
  for (const auto& one : cases) {
    CMessageBoxLink link;
    // A format shorter than 1023 characters would undo its per-cent signs.
    if (one.target.size() < 1023) {
      link.SetTarget(TEXT("%s"), one.target.c_str());
    } else {
      link.SetTarget(one.target.c_str());
    }
    const size_t opened = platform::ShellRequests().size();
    const size_t shown = platform::ShownBoxes().size();
    if (one.refused) platform::FailCall("ShellExecuteW", 1, ERROR_FILE_NOT_FOUND);
    platform::AnswerNextBox(kLinkButton);
    if (one.opened == nullptr) platform::AnswerNextBox(IDOK);
    platform::AnswerNextBox(IDCANCEL);
    EXPECT_EQ(AskOkCancelF(TEXT("x")), IDCANCEL) << "the box stayed open";
    ASSERT_EQ(platform::ShellRequests().size() - opened, one.opened != nullptr);
    if (one.opened != nullptr) {
      EXPECT_EQ(platform::ShellRequests().back().file, one.opened);
      continue;
    }
    ASSERT_EQ(platform::ShownBoxes().size(), shown + 2);
    const platform::ShownBox second = platform::ShownBoxes().back();
    EXPECT_EQ(second.text, one.target);
    EXPECT_EQ(second.title, TEXT("Folvane"));
    EXPECT_EQ(second.style, 0x10040u);
    EXPECT_NE(second.owner, nullptr);
  }
}

}  // namespace
}  // namespace kv::test
