#include "runtime/ui/link_button.h"

#include <shellapi.h>
#include <shlwapi.h>

#include <algorithm>
#include <new>
#include <span>

#include "resources/string_ids.h"
#include "runtime/core/resource_text.h"
#include "runtime/files/link_target.h"
#include "runtime/graphics/device_contexts.h"
#include "runtime/text/text.h"
#include "runtime/text/wide_text.h"
#include "runtime/ui/ellipsis.h"
#include "runtime/ui/text_measure.h"

namespace kv {
namespace {

constexpr int kFirstButton = IDOK;
constexpr int kLastButton = 9;  // IDHELP
constexpr int kMaximumButtons = kLastButton - kFirstButton + 1;
constexpr int kCaptionCapacity = 80;
constexpr size_t kEllipsisLength = 3;

struct Button {
  HWND window;
  RECT place;  // in the box's client area
};

// A box's own buttons from left to right, with room for another one.
class ButtonRow {
 public:
  explicit ButtonRow(HWND box) : box_(box) {
    for (int id = kFirstButton; id <= kLastButton; ++id) {
      if (const HWND window = GetDlgItem(box, id)) Add(window);
    }
    std::sort(buttons_, buttons_ + count_,
              [](const Button& a, const Button& b) { return a.place.left < b.place.left; });
  }

  void Add(HWND window) {
    Button& button = buttons_[count_++];
    button.window = window;
    GetWindowRect(window, &button.place);
    MapWindowPoints(HWND_DESKTOP, box_, reinterpret_cast<POINT*>(&button.place), 2);
  }

  std::span<const Button> buttons() const { return {buttons_, count_}; }

  LONG Gap() const {
    if (count_ < 2) return 3 * GetSystemMetrics(SM_CXEDGE);
    return buttons_[1].place.left - buttons_[0].place.right;
  }

  void Centre() const {
    RECT client = {};
    GetClientRect(box_, &client);
    const LONG left = buttons_[0].place.left, right = buttons_[count_ - 1].place.right;
    const LONG shift = (client.right - (right - left)) / 2 - left;
    for (const Button& button : buttons()) {
      SetWindowPos(button.window, nullptr, button.place.left + shift, button.place.top, 0, 0,
                   SWP_NOSIZE | SWP_NOZORDER | SWP_NOACTIVATE);
    }
  }

 private:
  HWND box_;
  Button buttons_[kMaximumButtons + 1] = {};
  size_t count_ = 0;
};

// Takes out the ampersands that mark the keys of a caption; a double one stands for itself.
void RemoveMnemonics(LPWSTR caption) {
  LPWSTR out = caption;
  for (LPCWSTR in = caption; *in != 0; ++in) {
    if (*in == '&' && in[1] != 0) ++in;
    *out++ = *in;
  }
  *out = 0;
}

int CaptionWidth(LPCWSTR caption, HFONT font) {
  const ScreenContext screen;
  const std::unique_ptr<WCHAR[]> text = CopyOf(caption);
  if (!screen || text == nullptr) return 0;
  RemoveMnemonics(text.get());
  return static_cast<int>(TextMeasure(screen.Get(), font).SizeOf(View(text.get())).cx);
}

HWND CreateButton(HWND box, const ButtonRow& row, LPCWSTR caption) {
  const Button &first = row.buttons().front(), &last = row.buttons().back();
  const auto font = SendMessageW(first.window, WM_GETFONT, 0, 0);
  const int wanted =
      CaptionWidth(caption, reinterpret_cast<HFONT>(font)) + GetSystemMetrics(SM_CXVSCROLL);
  const int width = std::max<int>(first.place.right - first.place.left, wanted);
  const HWND button = CreateWindowExW(
      0, TEXT("button"), caption, WS_CHILD | WS_VISIBLE | WS_TABSTOP, last.place.right + row.Gap(),
      first.place.top, width, first.place.bottom - first.place.top, box,
      reinterpret_cast<HMENU>(static_cast<LONG_PTR>(kLinkButton)), nullptr, nullptr);
  if (button == nullptr) return nullptr;
  SendMessageW(button, WM_SETFONT, static_cast<WPARAM>(font), TRUE);
  SetWindowPos(button, last.window, 0, 0, 0, 0, SWP_NOMOVE | SWP_NOSIZE | SWP_NOACTIVATE);
  return button;
}

}  // namespace

std::unique_ptr<WCHAR[]> LinkCaption(LPCWSTR caption) {
  const size_t capacity = View(caption).size() + kEllipsisLength + 1;
  std::unique_ptr<WCHAR[]> copy(new (std::nothrow) WCHAR[capacity]);
  if (copy == nullptr) return nullptr;
  CopyStringW(copy.get(), static_cast<int>(capacity), caption);
  if (copy[0] != 0) AppendEllipsis(copy.get(), capacity);
  return copy;
}

void AddLinkButton(HWND box, LPCWSTR caption) {
  ButtonRow row(box);
  if (row.buttons().empty()) return;
  WCHAR standard[kCaptionCapacity + kEllipsisLength];
  if (View(caption).empty()) {
    LoadResourceString(standard, kCaptionCapacity, IDS_MORE_INFORMATION);
    AppendEllipsis(standard, std::size(standard));
    caption = standard;
  }
  const HWND button = CreateButton(box, row, caption);
  if (button == nullptr) return;
  row.Add(button);
  row.Centre();
}

BOOL OpenLink(HWND owner, LPCWSTR target) {
  if (!IsLinkTarget(target)) return FALSE;
  WCHAR path[MAX_PATH];
  DWORD length = MAX_PATH;
  if (StartsWithAsciiNoCase(View(target), TEXT("file://")) &&
      SUCCEEDED(PathCreateFromUrlW(target, path, &length, 0))) {
    target = path;
  }
  const auto answer = ShellExecuteW(owner, nullptr, target, nullptr, nullptr, SW_SHOWNORMAL);
  return reinterpret_cast<INT_PTR>(answer) > 32;
}

}  // namespace kv
