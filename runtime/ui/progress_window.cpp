#include "runtime/ui/progress_window.h"

#include <commctrl.h>

#include <algorithm>
#include <iterator>

#include "resources/string_ids.h"
#include "runtime/core/messages.h"
#include "runtime/core/startup_context.h"
#include "runtime/graphics/device_contexts.h"
#include "runtime/text/format.h"
#include "runtime/text/text.h"
#include "runtime/text/wide_text.h"
#include "runtime/ui/ellipsis.h"
#include "runtime/ui/pump_messages.h"
#include "runtime/ui/text_measure.h"
#include "runtime/ui/transparent_bitmap.h"
#include "runtime/ui/window_property.h"

namespace kv {
namespace {

constexpr int kBitmapButton = 3087;
constexpr int kNoId = -1;
constexpr WORD kBitmap = 1;
constexpr UINT_PTR kDelayTimer = 1;
constexpr int kShownUpTo = 55;  // per cent: a bar beyond it is not worth a window any more
constexpr COLORREF kTransparent = RGB(255, 255, 255);
constexpr DWORD kChild = WS_CHILD | WS_VISIBLE;
constexpr int kFormatCapacity = 256;
constexpr int kEllipsisLength = 3;
constexpr int kTextCapacity = 1024;
constexpr int kPictureGap = 20;  // pixels between picture and text, and right of the text

// Reads and writes the property through which a window leads to its object.
WindowProperty Property() {
  return WindowProperty(TEXT("CProgressWnd"));
}

SIZE DotsPerInch(HDC context) {
  return {GetDeviceCaps(context, LOGPIXELSX), GetDeviceCaps(context, LOGPIXELSY)};
}

void CentreOnScreen(HWND window) {
  RECT r = {};
  GetWindowRect(window, &r);
  SetWindowPos(window, nullptr, (GetSystemMetrics(SM_CXSCREEN) - (r.right - r.left)) / 2,
               (GetSystemMetrics(SM_CYSCREEN) - (r.bottom - r.top)) / 2, 0, 0,
               SWP_NOSIZE | SWP_NOZORDER | SWP_NOACTIVATE);
}

LOGFONTW MessageFont() {
  NONCLIENTMETRICSW metrics = {};
  // Systems before Windows Vista take only the structure without its last member.
  metrics.cbSize = startupContext.platform.ntKind >= kWindowsVista
                       ? sizeof(metrics)
                       : offsetof(NONCLIENTMETRICSW, iPaddedBorderWidth);
  static_assert(sizeof(metrics) == 504 && offsetof(NONCLIENTMETRICSW, iPaddedBorderWidth) == 500);
  SystemParametersInfoW(SPI_GETNONCLIENTMETRICS, metrics.cbSize, &metrics, 0);
  return metrics.lfMessageFont;
}

HICON LoadIconOfSize(HMODULE resources, UINT icon, int widthMetric, int heightMetric) {
  return static_cast<HICON>(LoadImageW(resources, MAKEINTRESOURCEW(icon), IMAGE_ICON,
                                       GetSystemMetrics(widthMetric),
                                       GetSystemMetrics(heightMetric), LR_DEFAULTCOLOR));
}

// The string `number` (at most 255 characters), with room behind it for an ellipsis; FALSE when
// there is none.
BOOL LoadFormat(HMODULE resources, UINT number,
                WCHAR (&format)[kFormatCapacity + kEllipsisLength]) {
  // To the system no module means the program's own file.
  return resources != nullptr && LoadStringW(resources, number, format, kFormatCapacity) != 0;
}

// A window without the button keeps what has the focus.
void FocusCancelButton(HWND window) {
  if (const HWND button = GetDlgItem(window, IDCANCEL)) SetFocus(button);
}

// From one position of the bar to another. A bar may stand for a time on the tick count, which
// passes from the largest number to the smallest.
int Distance(int from, int to) {
  return static_cast<int>(static_cast<DWORD>(to) - static_cast<DWORD>(from));
}

template <class Handle, class Release>
void Forget(Handle& handle, Release release) {
  if (handle != nullptr) release(handle);
  handle = nullptr;
}

}  // namespace

// What stands left of the text.
struct CProgressWnd::Picture {
  RECT place = {};
  bool exists = false;
};

// What Create was asked for.
struct CProgressWnd::Parts {
  UINT windowIcon;
  UINT controlIcon;
  BOOL cancel;
  LPCWSTR cancelText;
  const LOGFONTW* font;
  const RECT* bitmapButton;
};

CProgressWnd::CProgressWnd() {
  InitCommonControls();
}

BOOL CProgressWnd::Create(HINSTANCE instance, HMODULE resources, LPCWSTR className, LPCWSTR title,
                          UINT windowIcon, UINT controlIcon, BOOL cancel, LPCWSTR cancelText,
                          int width, int height, DWORD style, DWORD exStyle, const LOGFONTW* font,
                          const RECT* bitmapButton) {
  Destroy();
  rangeSet_ = cancelled_ = FALSE;
  hInstance_ = instance;
  if (!RegisterWindowClass(className)) return FALSE;
  SIZE dotsPerInch;
  {
    const ScreenContext screen;
    if (!screen) {
      ShowLastError(TEXT("GetDC"));
      return FALSE;
    }
    dotsPerInch = DotsPerInch(screen.Get());
  }
  if (width == 0) width = 4 * dotsPerInch.cx;
  if (height == 0) height = MulDiv(dotsPerInch.cy, 160, 100);
  if (style == 0) style = WS_POPUP | WS_CAPTION;
  if (!cancel) style |= WS_DISABLED;
  hWnd_ = CreateWindowExW(exStyle, className, title, style, 0, 0, width, height, FindOwnerWindow(0),
                          nullptr, instance, this);
  if (hWnd_ == nullptr) {
    ShowLastError(TEXT("CreateWindowEx"));
    return FALSE;
  }
  CentreOnScreen(hWnd_);
  if (!View(title).empty()) SetWindowTextW(hWnd_, title);
  return CreateControls(
      resources, {windowIcon, controlIcon, cancel, cancelText, font, bitmapButton}, dotsPerInch);
}

BOOL CProgressWnd::RegisterWindowClass(LPCWSTR className) {
  WNDCLASSW windowClass = {};
  if (GetClassInfoW(hInstance_, className, &windowClass)) return TRUE;
  windowClass = {};
  windowClass.lpfnWndProc = WindowProc;
  windowClass.cbWndExtra = 4;
  windowClass.hInstance = hInstance_;
  windowClass.hbrBackground = reinterpret_cast<HBRUSH>(static_cast<UINT_PTR>(COLOR_BTNFACE + 1));
  windowClass.lpszClassName = className;
  if (RegisterClassW(&windowClass) == 0) {
    ShowLastError(TEXT("RegisterClass"));
    return FALSE;
  }
  className_ = CopyOf(className);
  if (className_ != nullptr) return TRUE;
  UnregisterClassW(className, hInstance_);
  ShowInternalError(TEXT("CProgressWnd::Create _tcsdup"));
  return FALSE;
}

BOOL CProgressWnd::CreateControls(HMODULE resources, const Parts& parts, SIZE dotsPerInch) {
  hResources_ = resources;
  const ScreenContext screen;
  if (!screen) return FALSE;
  RECT client = {};
  GetClientRect(hWnd_, &client);
  if (resources != nullptr && parts.windowIcon != 0) LoadWindowIcons(parts.windowIcon);
  const Picture picture = CreatePicture(parts, dotsPerInch);
  const bool ownFont = parts.font != nullptr && parts.font->lfHeight != 0;
  const LOGFONTW font = ownFont ? *parts.font : MessageFont();
  hFont_ = CreateFontIndirectW(&font);
  const TextMeasure measure(screen.Get(), hFont_);
  CreateTextAndBar(picture, dotsPerInch, client, measure.LineHeight());
  if (parts.cancel) {
    WCHAR standard[32];
    const LPCWSTR text = View(parts.cancelText).empty()
                             ? LoadResourceString(standard, 32, IDS_CANCEL)
                             : parts.cancelText;
    CreateCancelButton(text, measure.SizeOf(View(text)), client);
  }
  SetCursor(LoadCursorW(nullptr, IDC_ARROW));
  Pump();
  delayStart_ = 0;
  return hWnd_ != nullptr;
}

void CProgressWnd::LoadWindowIcons(UINT icon) {
  hIconLarge_ = LoadIconOfSize(hResources_, icon, SM_CXICON, SM_CYICON);
  if (hIconLarge_ != nullptr) {
    SendMessageW(hWnd_, WM_SETICON, ICON_BIG, reinterpret_cast<LPARAM>(hIconLarge_));
  }
  hIconSmall_ = LoadIconOfSize(hResources_, icon, SM_CXSMICON, SM_CYSMICON);
  if (hIconSmall_ != nullptr) {
    SendMessageW(hWnd_, WM_SETICON, ICON_SMALL, reinterpret_cast<LPARAM>(hIconSmall_));
  }
}

CProgressWnd::Picture CProgressWnd::CreatePicture(const Parts& parts, SIZE dotsPerInch) {
  Picture picture;
  if (hResources_ == nullptr) return picture;
  if (parts.controlIcon != 0) {
    const LONG left = dotsPerInch.cx / 8, top = dotsPerInch.cy / 8;
    picture.place = {left, top, left + GetSystemMetrics(SM_CXICON),
                     top + GetSystemMetrics(SM_CYICON)};
    picture.exists = true;
    hIconControl_ = CreateChild(TEXT("static"), nullptr, kChild | SS_ICON, kNoId, picture.place);
    SetControlIcon(parts.controlIcon);
  }
  const RECT* const place = parts.bitmapButton;
  const bool isEmpty =
      place == nullptr || place->left >= place->right || place->top >= place->bottom;
  return isEmpty ? picture : CreateBitmapButton(*place);
}

CProgressWnd::Picture CProgressWnd::CreateBitmapButton(const RECT& place) {
  hBitmap_ = LoadBitmapW(hResources_, MAKEINTRESOURCEW(kBitmap));
  BITMAP bitmap = {};
  if (hBitmap_ != nullptr) GetObjectW(hBitmap_, sizeof(bitmap), &bitmap);
  Picture picture;
  picture.place = {place.left, place.top, place.left + bitmap.bmWidth, place.top + bitmap.bmHeight};
  picture.exists = true;
  hBitmapButton_ =
      CreateChild(TEXT("button"), nullptr, kChild | BS_OWNERDRAW, kBitmapButton, picture.place);
  return picture;
}

void CProgressWnd::CreateTextAndBar(const Picture& picture, SIZE dotsPerInch, const RECT& client,
                                    int lineHeight) {
  RECT text = {0, dotsPerInch.cy / 4, client.right, 0};
  if (picture.exists) {
    text = {picture.place.right + kPictureGap, picture.place.top + lineHeight / 2,
            client.right - kPictureGap, 0};
  }
  text.bottom = text.top + 2 * lineHeight;
  const DWORD alignment = picture.exists ? SS_LEFT : SS_CENTER;
  hText_ = CreateChild(TEXT("static"), nullptr, kChild | alignment, kNoId, text);
  SendMessageW(hText_, WM_SETFONT, reinterpret_cast<WPARAM>(hFont_), TRUE);

  const LONG margin = std::max<LONG>(text.left, dotsPerInch.cx / 4);
  const LONG top = text.top + 3 * lineHeight;
  const RECT bar = {margin, top, client.right - margin, top + 5 * lineHeight / 4};
  hProgress_ = CreateChild(PROGRESS_CLASSW, nullptr, WS_CHILD | PBS_SMOOTH, kNoId, bar);
}

void CProgressWnd::CreateCancelButton(LPCWSTR text, SIZE textSize, const RECT& client) {
  const LONG width = textSize.cx * 3 / 2, height = textSize.cy * 3 / 2;
  const LONG left = (client.right - width) / 2, top = client.bottom - height * 3 / 2;
  const HWND button =
      CreateChild(TEXT("button"), text, kChild, IDCANCEL, {left, top, left + width, top + height});
  SendMessageW(button, WM_SETFONT, reinterpret_cast<WPARAM>(hFont_), TRUE);
}

HWND CProgressWnd::CreateChild(LPCWSTR className, LPCWSTR text, DWORD style, int id,
                               const RECT& place) {
  return CreateWindowExW(0, className, text, style, place.left, place.top, place.right - place.left,
                         place.bottom - place.top, hWnd_,
                         reinterpret_cast<HMENU>(static_cast<LONG_PTR>(id)), hInstance_, nullptr);
}

void CProgressWnd::Destroy() {
  StopTimer();
  Forget(hFont_, DeleteObject);
  if (hWnd_ != nullptr) DestroyWindow(hWnd_);
  ForgetWindow();
  Forget(hIconLarge_, DestroyIcon);
  Forget(hIconSmall_, DestroyIcon);
  Forget(hControlIcon_, DestroyIcon);
  Forget(hBitmap_, DeleteObject);
  if (className_ == nullptr) return;
  UnregisterClassW(className_.get(), hInstance_);
  className_.reset();
}

HWND CProgressWnd::Detach() {
  StopTimer();
  // The window may outlive this object.
  const HWND window = hWnd_;
  if (window != nullptr) Property().Remove(window);
  ForgetWindow();
  return window;
}

void CProgressWnd::ForgetWindow() {
  hWnd_ = hIconControl_ = hBitmapButton_ = hText_ = hProgress_ = nullptr;
  delayStart_ = 0;
}

void CProgressWnd::StopTimer() {
  if (hWnd_ != nullptr) KillTimer(hWnd_, kDelayTimer);
  delayStart_ = 0;
}

void CProgressWnd::Show(BOOL show) {
  if (hWnd_ == nullptr) return;
  if (!show) {
    StopTimer();
    ShowWindow(hWnd_, SW_HIDE);
  } else if (!IsWindowVisible(hWnd_)) {
    if (showDelay_ == 0) {
      ShowNow();
    } else if (delayStart_ == 0) {
      delayStart_ = GetTickCount();
      SetTimer(hWnd_, kDelayTimer, showDelay_, nullptr);
    }
  }
  Pump();
}

void CProgressWnd::ShowNow() {
  ShowWindow(hWnd_, SW_SHOWNORMAL);
  UpdateWindow(hWnd_);
  FocusCancelButton(hWnd_);
}

void CProgressWnd::DelayPassed() {
  StopTimer();
  int low, high;
  GetRange(&low, &high);
  const int span = Distance(low, high);
  if (rangeSet_ && span > 0 && GetPos() >= MulDiv(span, kShownUpTo, 100)) return;
  ShowNow();
}

void CProgressWnd::SetBarRange(int low, int high) {
  SendMessageW(hProgress_, PBM_SETRANGE32, static_cast<WPARAM>(low), high);
  rangeSet_ = TRUE;
}

void CProgressWnd::SetRange(int low, int high) {
  if (hProgress_ == nullptr) return;
  SetBarRange(low, high);
  ShowWindow(hProgress_, low != 0 || high != 0 ? SW_SHOWNORMAL : SW_HIDE);
}

void CProgressWnd::SetRangeAndStep(int low, int high, int step) {
  if (hProgress_ == nullptr) return;
  SetBarRange(low, high);
  SendMessageW(hProgress_, PBM_SETSTEP, static_cast<WPARAM>(step), 0);
  SendMessageW(hProgress_, PBM_SETPOS, static_cast<WPARAM>(low), 0);
  ShowWindow(hProgress_, low != 0 || high != 0 || step != 0 ? SW_SHOWNORMAL : SW_HIDE);
}

void CProgressWnd::SetPos(int position) {
  if (hProgress_ == nullptr) return;
  SendMessageW(hProgress_, PBM_SETPOS, static_cast<WPARAM>(position), 0);
  Show(TRUE);
  if (!IsIconic(hWnd_)) return;
  int low, high;
  if (!GetRange(&low, &high) || Distance(low, high) <= 0) return;
  WCHAR caption[16];
  FormatText(caption, TEXT(" %d%%"), MulDiv(Distance(low, position), 100, Distance(low, high)));
  SetWindowTextW(hWnd_, caption);
}

void CProgressWnd::StepIt() {
  if (hProgress_ == nullptr) return;
  SendMessageW(hProgress_, PBM_STEPIT, 0, 0);
  Show(TRUE);
}

int CProgressWnd::GetPos() const {
  if (hProgress_ == nullptr) return 0;
  return static_cast<int>(SendMessageW(hProgress_, PBM_GETPOS, 0, 0));
}

BOOL CProgressWnd::GetRange(int* low, int* high) const {
  const auto end = [this](BOOL lowEnd) {
    return hProgress_ == nullptr
               ? 0
               : static_cast<int>(SendMessageW(hProgress_, PBM_GETRANGE, lowEnd, 0));
  };
  if (low != nullptr) *low = end(TRUE);
  if (high != nullptr) *high = end(FALSE);
  return hProgress_ != nullptr;
}

void CProgressWnd::SetText(LPCWSTR format, ...) {
  va_list arguments;
  va_start(arguments, format);
  SetTextV(format, arguments);
  va_end(arguments);
}

void CProgressWnd::SetTextV(LPCWSTR format, va_list arguments) {
  if (hText_ == nullptr) return;
  WCHAR text[kTextCapacity];
  FormatTextV(text, kTextCapacity, format, arguments);
  SetWindowTextW(hText_, text);
  UpdateWindow(hText_);
  UpdateWindow(hWnd_);
  Pump();
}

BOOL CProgressWnd::SetTextFromResource(UINT number, ...) {
  WCHAR format[kFormatCapacity + kEllipsisLength];
  if (hText_ == nullptr || !LoadFormat(hResources_, number, format)) return FALSE;
  AppendEllipsis(format, std::size(format));
  va_list arguments;
  va_start(arguments, number);
  SetTextV(format, arguments);
  va_end(arguments);
  return TRUE;
}

BOOL CProgressWnd::SetTextFromResourceV(UINT number, va_list arguments) {
  WCHAR format[kFormatCapacity + kEllipsisLength];
  if (hText_ == nullptr || !LoadFormat(hResources_, number, format)) return FALSE;
  SetTextV(format, arguments);
  return TRUE;
}

int CProgressWnd::GetText(LPWSTR buffer, int capacity) const {
  CopyStringW(buffer, capacity, nullptr);
  return hText_ == nullptr ? 0 : GetWindowTextW(hText_, buffer, capacity);
}

void CProgressWnd::SetControlIcon(UINT icon) {
  if (hIconControl_ == nullptr) return;
  Forget(hControlIcon_, DestroyIcon);
  hControlIcon_ = LoadIconOfSize(hResources_, icon, SM_CXICON, SM_CYICON);
  const auto handle = reinterpret_cast<LPARAM>(hControlIcon_);
  SendMessageW(hIconControl_, STM_SETICON, static_cast<WPARAM>(handle), 0);
  SendMessageW(hIconControl_, STM_SETIMAGE, IMAGE_ICON, handle);
}

BOOL CProgressWnd::Pump() {
  if (hWnd_ == nullptr || !PumpMessages(hWnd_) || hWnd_ == nullptr || cancelled_) return FALSE;
  UpdateWindow(hWnd_);
  return TRUE;
}

BOOL CProgressWnd::Pump(CProgressWnd* window) {
  return window == nullptr ? PumpMessages(nullptr) : window->Pump();
}

void CProgressWnd::Reset() {
  cancelled_ = FALSE;
  if (hWnd_ != nullptr) EnableWindow(CancelButton(), TRUE);
}

void CProgressWnd::Cancel() {
  cancelled_ = TRUE;
  EnableWindow(CancelButton(), FALSE);
  WCHAR text[80 + kEllipsisLength];
  LoadResourceString(text, 80, IDS_CANCELLING);
  if (text[0] == 0) CopyStringW(text, TEXT("Cancelling"));
  AppendEllipsis(text, std::size(text));
  SetText(TEXT("%s"), text);
}

CProgressWnd* CProgressWnd::FromWindow(HWND window) {
  return static_cast<CProgressWnd*>(Property().Get(window));
}

LRESULT CALLBACK CProgressWnd::WindowProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
  CProgressWnd* const object = FromWindow(window);
  switch (message) {
    case WM_CREATE:
      Property().Set(window, reinterpret_cast<CREATESTRUCTW*>(lParam)->lpCreateParams);
      return 0;
    case WM_ACTIVATE:
      if (LOWORD(wParam) != WA_INACTIVE) FocusCancelButton(window);
      return 0;
    case WM_PAINT: {
      PAINTSTRUCT paint;
      BeginPaint(window, &paint);
      EndPaint(window, &paint);
      return 0;
    }
    case WM_CLOSE:
      if (object != nullptr) object->Cancel();
      return 0;
    case WM_DRAWITEM:
      if (object != nullptr && wParam == kBitmapButton) {
        const auto& item = *reinterpret_cast<DRAWITEMSTRUCT*>(lParam);
        DrawTransparent(item.hDC, item.rcItem.left, item.rcItem.top, object->hBitmap_,
                        kTransparent);
      }
      return TRUE;
    case WM_NCDESTROY:
      Property().Remove(window);
      if (object != nullptr) object->ForgetWindow();
      return 0;
    case WM_COMMAND:
      if (object != nullptr && LOWORD(wParam) == IDCANCEL) object->Cancel();
      return 0;
    case WM_TIMER:
      if (object != nullptr && wParam == kDelayTimer) object->DelayPassed();
      return 0;
    default:
      return DefWindowProcW(window, message, wParam, lParam);
  }
}

}  // namespace kv
