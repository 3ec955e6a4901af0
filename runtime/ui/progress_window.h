// The window that long operations show: a caption, a picture, two lines of text, a bar and a Cancel
// button.
#pragma once

#include <memory>

#include "runtime/core/win.h"

namespace kv {

// The operation runs on the thread that owns the window: it advances the bar or changes the text
// and with that lets the window handle its messages, and learns from Pump whether it may go on. The
// window may appear late, so that short operations never flash one (SetShowDelay). All operations
// belong to the thread that called Create. Without the window or the control that they are about
// they do nothing and return 0; so it is, too, when somebody else has destroyed the window, which
// may happen while an operation handles messages. The object itself must outlive each operation.
class CProgressWnd {
 public:
  CProgressWnd();
  CProgressWnd(const CProgressWnd&) = delete;
  CProgressWnd& operator=(const CProgressWnd&) = delete;
  ~CProgressWnd() { Destroy(); }

  // Creates the hidden window, centred on the screen, in place of one that the object has already.
  // Its class `className` is registered for
  // `instance` when it does not exist. Icons, the bitmap and texts come from `resources` (null:
  // there are none). `windowIcon` is the icon of the caption, `controlIcon` the picture (0: none);
  // `bitmapButton`, when it is not empty, makes bitmap 1 the picture, at the rectangle's left and
  // top. `cancel` adds the Cancel button, with `cancelText` or (null, empty) the product's own; a
  // window without it takes no input. Sizes are pixels; 0 gives four inches by 160 % of one. A
  // `style` of 0 gives a popup with a caption. `font` (null or of height 0: the system's message
  // font) is the font of the text and of the button. FALSE when the class or the window could not
  // be made, which is reported, or the screen could not be measured.
  BOOL Create(HINSTANCE instance, HMODULE resources, LPCWSTR className, LPCWSTR title,
              UINT windowIcon, UINT controlIcon, BOOL cancel, LPCWSTR cancelText, int width,
              int height, DWORD style, DWORD exStyle, const LOGFONTW* font,
              const RECT* bitmapButton);
  // Ends the window and unregisters the class if Create registered it.
  void Destroy();
  // Hands the window, which stays, to the caller; null when there is none. Fonts and pictures are
  // still this object's.
  HWND Detach();

  // How long (milliseconds) after the first Show the window appears; 0: at once.
  void SetShowDelay(DWORD milliseconds) { showDelay_ = milliseconds; }
  // Shows the window, or has it appear after the delay unless the bar has reached 55 % of its range
  // by then; FALSE hides it. Handles messages.
  void Show(BOOL show);

  // The bar is visible while one of the values given last is not 0.
  void SetRange(int low, int high);
  void SetRangeAndStep(int low, int high, int step);
  // Both show the window and handle messages. The caption of a minimised window tells the per cent.
  void SetPos(int position);
  void StepIt();
  int GetPos() const;
  // Either may be null. FALSE, and zeros, without a bar.
  BOOL GetRange(int* low, int* high) const;

  // The text, formatted printf style and cut to 1023 characters, shown at once. Handles messages.
  void SetText(LPCWSTR format, ...);
  void SetTextV(LPCWSTR format, va_list arguments);
  // The same with a string of the window's resources (cut to 255 characters) as the format; the
  // first form sees to it that the text ends in "...". FALSE when there is no such string, and for
  // a window without resources.
  BOOL SetTextFromResource(UINT number, ...);
  BOOL SetTextFromResourceV(UINT number, va_list arguments);
  // Characters copied without the terminator; `capacity` counts it.
  int GetText(LPWSTR buffer, int capacity) const;
  // Another picture, where there is an icon.
  void SetControlIcon(UINT icon);

  // Handles the window's messages. FALSE when the user has cancelled, the thread was told to quit
  // or the window is gone.
  BOOL Pump();
  // The same for an operation that may have no window (null), whose thread's messages are handled.
  static BOOL Pump(CProgressWnd* window);
  // Lets a cancelled operation go on.
  void Reset();

  // The object of a window; null for other windows.
  static CProgressWnd* FromWindow(HWND window);
  HWND window() const { return hWnd_; }

 private:
  struct Picture;
  struct Parts;

  BOOL RegisterWindowClass(LPCWSTR className);
  BOOL CreateControls(HMODULE resources, const Parts& parts, SIZE dotsPerInch);
  void LoadWindowIcons(UINT icon);
  Picture CreatePicture(const Parts& parts, SIZE dotsPerInch);
  Picture CreateBitmapButton(const RECT& place);
  void CreateTextAndBar(const Picture& picture, SIZE dotsPerInch, const RECT& client,
                        int lineHeight);
  void CreateCancelButton(LPCWSTR text, SIZE textSize, const RECT& client);
  HWND CreateChild(LPCWSTR className, LPCWSTR text, DWORD style, int id, const RECT& place);
  void ForgetWindow();
  void SetBarRange(int low, int high);
  void ShowNow();
  void StopTimer();
  void DelayPassed();
  void Cancel();
  HWND CancelButton() const { return GetDlgItem(hWnd_, IDCANCEL); }
  static LRESULT CALLBACK WindowProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam);

  HINSTANCE hInstance_ = nullptr;
  HMODULE hResources_ = nullptr;
  std::unique_ptr<WCHAR[]> className_;
  HWND hWnd_ = nullptr;
  HWND hIconControl_ = nullptr;
  HWND hBitmapButton_ = nullptr;
  HWND hText_ = nullptr;
  HWND hProgress_ = nullptr;
  HICON hIconLarge_ = nullptr;
  HICON hIconSmall_ = nullptr;
  HICON hControlIcon_ = nullptr;
  HBITMAP hBitmap_ = nullptr;
  HFONT hFont_ = nullptr;
  BOOL rangeSet_ = FALSE;
  BOOL cancelled_ = FALSE;
  DWORD showDelay_ = 0;
  DWORD delayStart_ = 0;
};

}  // namespace kv
