// The extra button of message boxes.
#include "runtime/ui/message_box_link.h"

#include <algorithm>
#include <optional>
#include <string>
#include <vector>

#include "platform/control/message_boxes.h"
#include "platform/control/shell.h"
#include "platform/user/window.h"
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
      has = GetDlgItem(box, 3239) != nullptr;
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
      EXPECT_EQ(TextOf(GetDlgItem(box, 3239)), one.shown);
      std::vector<int> row = one.ids;
      row.push_back(3239);
      for (size_t i = 1; i < row.size(); ++i) {
        EXPECT_EQ(PlaceOf(box, row[i]).left - PlaceOf(box, row[i - 1]).right, one.gap);
      }
      const RECT first = PlaceOf(box, row.front()), last = PlaceOf(box, 3239);
      EXPECT_EQ(last.right - last.left, one.width);
      EXPECT_TRUE(first.top == last.top && first.bottom == last.bottom);
      RECT client;
      GetClientRect(box, &client);
      EXPECT_LE(std::abs((first.left + last.right) - client.right), 1) << "centred";
      EXPECT_EQ(SendMessageW(GetDlgItem(box, row[0]), WM_GETFONT, 0, 0),
                SendMessageW(GetDlgItem(box, 3239), WM_GETFONT, 0, 0));
      return one.ids.back();
    });
    EXPECT_EQ(one.show(TEXT("A long text so that the row has room in the box that it is in.")),
              one.ids.back());
  }
}

// Buttons of any box, in the order of their places.
TEST_F(MessageBoxLinkTest, TheRowIsTakenAsItStands) {
  const auto child = [](HWND box, int id, int left, int width) {
    CreateWindowExW(0, TEXT("button"), TEXT(""), WS_CHILD | WS_VISIBLE, left, 30, width, 20, box,
                    reinterpret_cast<HMENU>(static_cast<INT_PTR>(id)), nullptr, nullptr);
  };
  platform::SetFact(platform::facts::kMetricPrefix + std::to_string(SM_CXEDGE), "5");
  const struct {
    std::vector<std::pair<int, int>> buttons;  // identifier and left
    int left, link;                            // of the first one, and of the link's
  } cases[] = {
      {{{9, 10}}, 142, 207},           // three edges apart
      {{{9, 10}, {1, 100}}, 85, 265},  // as far apart as the first two
      {{{1, 100}, {2, 10}, {7, 200}}, 35, 315},
      {{{0, 10}, {10, 100}}, 10, 0},  // identifiers of no button of a box
  };
  for (const auto& one : cases) {
    const HWND box = CreateWindowExW(0, TEXT("static"), TEXT(""), WS_POPUP, 50, 60, 400, 100,
                                     nullptr, nullptr, nullptr, nullptr);
    for (const auto& [id, left] : one.buttons) child(box, id, left, 50);
    AddLinkButton(box, TEXT("Go"));
    const HWND link = GetDlgItem(box, 3239);
    ASSERT_EQ(link != nullptr, one.link != 0);
    const auto first = std::min_element(one.buttons.begin(), one.buttons.end(),
                                        [](auto a, auto b) { return a.second < b.second; });
    EXPECT_EQ(PlaceOf(box, first->first).left, one.left);
    if (link != nullptr) {
      const RECT place = PlaceOf(box, 3239);
      EXPECT_EQ(place.left, one.link);
      EXPECT_TRUE(place.top == 30 && place.bottom == 50 && place.right == one.link + 50);
      EXPECT_EQ(GetWindowLongW(link, GWL_STYLE), 0x50010000);
      const auto children = platform::ChildrenNow(box);
      const auto place_of_link = std::find_if(children.begin(), children.end(),
                                              [&](const auto& c) { return c->handle == link; });
      const auto last = std::max_element(one.buttons.begin(), one.buttons.end(),
                                         [](auto a, auto b) { return a.second < b.second; });
      ASSERT_NE(place_of_link, children.begin());
      EXPECT_EQ((*std::prev(place_of_link))->handle, GetDlgItem(box, last->first)) << "tab order";
    }
    DestroyWindow(box);
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
  platform::AnswerNextBox(3239);
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
    platform::AnswerNextBox(3239);
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
