#include "platform/user/message_box.h"

#include <algorithm>
#include <cstdio>
#include <span>

#include "platform/control/faults.h"
#include "platform/kernel/api_call.h"
#include "platform/user/box_script.h"
#include "platform/user/window.h"

namespace platform {
namespace {

// Pixels.
constexpr int kMargin = 11;
constexpr int kIconSize = 32;
constexpr int kCharacterWidth = 6;
constexpr int kLineHeight = 13;
constexpr int kButtonWidth = 75;
constexpr int kButtonHeight = 23;
constexpr int kButtonGap = 6;

constexpr int kTextId = 0xFFFF;
constexpr int kIconId = 20;
constexpr UINT kKnownStyle = MB_TYPEMASK | MB_ICONMASK | MB_DEFMASK | MB_SETFOREGROUND;
constexpr DWORD kBoxStyle = WS_POPUP | WS_CAPTION | WS_SYSMENU;

struct Button {
  int id;
  LPCWSTR caption;
};

constexpr Button kOk[] = {{IDOK, TEXT("OK")}};
constexpr Button kOkCancel[] = {{IDOK, TEXT("OK")}, {IDCANCEL, TEXT("Cancel")}};
constexpr Button kAbortRetryIgnore[] = {
    {IDABORT, TEXT("&Abort")}, {IDRETRY, TEXT("&Retry")}, {IDIGNORE, TEXT("&Ignore")}};
constexpr Button kYesNoCancel[] = {
    {IDYES, TEXT("&Yes")}, {IDNO, TEXT("&No")}, {IDCANCEL, TEXT("Cancel")}};
constexpr Button kYesNo[] = {{IDYES, TEXT("&Yes")}, {IDNO, TEXT("&No")}};
constexpr Button kRetryCancel[] = {{IDRETRY, TEXT("&Retry")}, {IDCANCEL, TEXT("Cancel")}};

// By the type bits of the style.
constexpr std::span<const Button> kButtonSets[] = {kOk,          kOkCancel, kAbortRetryIgnore,
                                                   kYesNoCancel, kYesNo,    kRetryCancel};

SIZE MeasureText(WideView text) {
  SIZE size{0, 0};
  while (true) {
    const size_t end = std::min(text.find(u'\n'), text.size());
    size.cx = std::max<LONG>(size.cx, static_cast<LONG>(end) * kCharacterWidth);
    size.cy += kLineHeight;
    if (end == text.size()) return size;
    text.remove_prefix(end + 1);
  }
}

// While one lives, the owner of a box takes no input.
class DisabledOwner {
 public:
  explicit DisabledOwner(HWND owner)
      : owner_(owner != nullptr && IsWindowEnabled(owner) ? owner : nullptr) {
    if (owner_ != nullptr) EnableWindow(owner_, FALSE);
  }
  ~DisabledOwner() {
    if (IsWindow(owner_)) EnableWindow(owner_, TRUE);
  }
  DisabledOwner(const DisabledOwner&) = delete;
  DisabledOwner& operator=(const DisabledOwner&) = delete;

 private:
  HWND owner_;
};

class Box {
 public:
  Box(HWND owner, LPCWSTR text, LPCWSTR title, UINT style)
      : owner_(owner),
        text_(View(text)),
        title_(title != nullptr ? title : TEXT("Error")),
        style_(style),
        buttons_(kButtonSets[style & MB_TYPEMASK]) {}

  // Shows the box until it is answered; returns the button, 0 when the box could not be made.
  int Run() {
    if (Create()) {
      DisabledOwner disabled(window_->owner);
      Show(window_);
      SetFocus(GetDlgItem(window_->handle, DefaultButton()));
      WaitForAnswer();
    }
    if (window_ != nullptr) DestroyWindow(window_->handle);
    return result_;
  }

  bool Has(int id) const {
    return std::any_of(buttons_.begin(), buttons_.end(),
                       [=](const Button& b) { return b.id == id; });
  }
  void End(int button) { result_ = button; }
  // What closing the box without a button answers; a box that cannot be closed has its default.
  int ClosingButton() const {
    if (Has(IDCANCEL)) return IDCANCEL;
    return buttons_.size() == 1 ? buttons_[0].id : DefaultButton();
  }

 private:
  int DefaultButton() const {
    const size_t index = (style_ & MB_DEFMASK) / MB_DEFBUTTON2;
    return buttons_[index < buttons_.size() ? index : 0].id;
  }

  bool Create() {
    const SIZE text = MeasureText(text_);
    const bool icon = (style_ & MB_ICONMASK) != 0;
    const int text_left = kMargin + (icon ? kIconSize + kMargin : 0);
    const int count = static_cast<int>(buttons_.size());
    const int row = count * kButtonWidth + (count - 1) * kButtonGap;
    const int width = std::max<int>(text_left + text.cx, kMargin + row) + kMargin;
    const int buttons_top = kMargin + std::max<int>(text.cy, icon ? kIconSize : 0) + kMargin;
    if (!CreateDialog(width, buttons_top + kButtonHeight + kMargin)) return false;
    bool complete = !icon || AddChild(TEXT("Static"), TEXT(""), SS_ICON, kIconId,
                                      {kMargin, kMargin, kIconSize, kIconSize});
    complete = complete && AddChild(TEXT("Static"), text_.c_str(), SS_LEFT, kTextId,
                                    {text_left, kMargin, text.cx, text.cy});
    int x = (width - row) / 2;
    for (const Button& button : buttons_) {
      const DWORD style = WS_TABSTOP | (button.id == DefaultButton() ? BS_DEFPUSHBUTTON : 0);
      complete = complete && AddChild(TEXT("Button"), button.caption, style, button.id,
                                      {x, buttons_top, kButtonWidth, kButtonHeight});
      x += kButtonWidth + kButtonGap;
    }
    if (complete) SendMessageW(window_->handle, WM_INITDIALOG, 0, 0);
    return complete && IsWindow(window_->handle);
  }

  // Sizes of the client area.
  bool CreateDialog(int width, int height) {
    const RECT empty = ClientArea(kBoxStyle, RECT{0, 0, 0, 0});
    CREATESTRUCTW record = {};
    record.cx = width + empty.left - empty.right;
    record.cy = height + empty.top - empty.bottom;
    record.x = (GetSystemMetrics(SM_CXSCREEN) - record.cx) / 2;
    record.y = (GetSystemMetrics(SM_CYSCREEN) - record.cy) / 2;
    record.hwndParent = owner_;
    record.style = static_cast<LONG>(kBoxStyle);
    record.dwExStyle = WS_EX_DLGMODALFRAME;
    record.lpszName = title_.c_str();
    record.lpszClass = MAKEINTATOM(kDialogAtom);
    window_ = NewWindow(record);
    if (window_ == nullptr) return false;
    SetWindowLongPtrW(window_->handle, DWLP_USER, reinterpret_cast<LONG_PTR>(this));
    return true;
  }

  struct Area {
    LONG x, y, width, height;
  };

  bool AddChild(LPCWSTR class_name, LPCWSTR text, DWORD style, int id, const Area& area) {
    const HWND child = CreateWindowExW(
        0, class_name, text, WS_CHILD | WS_VISIBLE | style, area.x, area.y, area.width, area.height,
        window_->handle, reinterpret_cast<HMENU>(static_cast<LONG_PTR>(id)), nullptr, nullptr);
    if (child == nullptr) return false;
    SendMessageW(child, WM_SETFONT, reinterpret_cast<WPARAM>(GetStockObject(DEFAULT_GUI_FONT)), 0);
    return true;
  }

  void WaitForAnswer() {
    if (!BoxesAreScripted()) {
      std::fprintf(stderr, "%s: %s\n", ToUtf8(title_).c_str(), ToUtf8(text_).c_str());
      return End(DefaultButton());
    }
    const size_t number = NoteShownBox({text_, title_, style_, owner_, 0});
    while (result_ == 0 && IsWindow(window_->handle)) {
      const auto answer = TakeBoxAnswer();
      if (answer && Press(Ask(*answer))) continue;
      NoteUnansweredBox(number);
      End(ClosingButton());
    }
    NoteBoxAnswer(number, result_);
  }

  int Ask(const BoxAnswer& answer) {
    ProductCallback call;
    return answer(window_->handle);
  }

  // False when there is nothing to press.
  bool Press(int id) {
    const HWND control = GetDlgItem(window_->handle, id);
    if (control == nullptr || !IsWindowEnabled(control)) return false;
    SendMessageW(window_->handle, WM_COMMAND, MAKEWPARAM(id, BN_CLICKED),
                 reinterpret_cast<LPARAM>(control));
    return true;
  }

  HWND owner_;
  WideString text_;
  WideString title_;
  UINT style_;
  std::span<const Button> buttons_;
  WindowPointer window_;
  int result_ = 0;
};

}  // namespace

LRESULT CALLBACK MessageBoxProcedure(HWND window, UINT message, WPARAM wparam, LPARAM lparam) {
  OutsideTest own_code;
  Box* box = reinterpret_cast<Box*>(GetWindowLongPtrW(window, DWLP_USER));
  if (box != nullptr && message == WM_COMMAND && box->Has(LOWORD(wparam))) {
    box->End(LOWORD(wparam));
    return 0;
  }
  if (box != nullptr && message == WM_CLOSE) {
    box->End(box->ClosingButton());
    return 0;
  }
  return DefWindowProcW(window, message, wparam, lparam);
}

}  // namespace platform

using namespace platform;

int WINAPI MessageBoxW(HWND owner, LPCWSTR text, LPCWSTR title, UINT style) {
  KV_API(MessageBoxW, ERROR_NOT_ENOUGH_MEMORY, 0, owner, text, title, style);
  if (owner != nullptr && RequireWindow(owner) == nullptr) return 0;
  if ((style & ~kKnownStyle) != 0 || (style & MB_TYPEMASK) >= std::size(kButtonSets)) {
    SetLastError(ERROR_CALL_NOT_IMPLEMENTED);
    return 0;
  }
  return Box(owner, text, title, style).Run();
}
