// An extra button for the product's next message box, which opens or shows something.
#pragma once

#include <memory>

#include "runtime/core/resource_text.h"
#include "runtime/ui/subclass_window.h"
#include "runtime/ui/thread_hook.h"

namespace kv {

class CLinkBoxWindow;

// Waits on the thread that made it for the product's next message box and gives it the button.
class CLinkBoxHook : public CThreadHook {
 public:
  CLinkBoxHook();
  ~CLinkBoxHook() override;
  // The next box gets a button with copies of these; an empty target gives none.
  void Arm(LPCWSTR target, LPCWSTR caption);
  LRESULT CALLBACK HookProc(int code, WPARAM wParam, LPARAM lParam) override;
  // The box exists, to which its object belongs from now on.
  void GiveUpWindow();

 private:
  void AttachTo(HWND box);

  std::unique_ptr<WCHAR[]> target_;
  std::unique_ptr<WCHAR[]> caption_;
  // Of the box that is being made. Another hook may still refuse that one; then this serves the
  // next.
  std::unique_ptr<CLinkBoxWindow> window_;
};

// Adds the button to a message box, and serves it. The hook's until the box begins its dialog, then
// deleted with the box.
class CLinkBoxWindow : public CSubclassWindow {
 public:
  CLinkBoxWindow(CLinkBoxHook& hook, LPCWSTR target, LPCWSTR caption);
  void AfterMessage(HWND window, UINT message, WPARAM wParam, LPARAM lParam,
                    LRESULT* result) override;
  BOOL BeforeMessage(HWND window, UINT message, WPARAM wParam, LPARAM lParam,
                     LRESULT* result) override;

 private:
  CLinkBoxHook* hook_;  // null once the box has begun
  std::unique_ptr<WCHAR[]> target_;
  std::unique_ptr<WCHAR[]> caption_;
};

// While it has a target, the next message box that is titled with the product's name on the thread
// that uses it, and no later one, has a button behind its own ones. The button leaves the box open.
// A target that begins with "mailto:" or contains "://" is opened as the shell does it, and shown
// as a text when the shell refuses; any other one is shown as a text, over the box while that is
// there. Without memory for a copy of the target that is reported instead.
class CMessageBoxLink {
 public:
  CMessageBoxLink() = default;
  CMessageBoxLink(const CMessageBoxLink&) = delete;
  CMessageBoxLink& operator=(const CMessageBoxLink&) = delete;

  // Null or empty clears the target (caption). A text of less than 1023 characters is a wvsprintfW
  // format, whose result is cut to 1023 characters; a longer one is taken as it is.
  void SetTarget(LPCWSTR format, ...);
  // The caption of the button, to which "..." is added; without one the button says that there is
  // more information.
  void SetCaption(LPCWSTR format, ...);
  // The string `number` of the language resource library, cut to 1023 characters, with its inserts;
  // 0 clears.
  template <class... Texts>
  void SetTargetFromResource(UINT number, Texts... inserts) {
    SetFromResource(target_, number, InsertList<Texts...>(inserts...));
  }
  template <class... Texts>
  void SetCaptionFromResource(UINT number, Texts... inserts) {
    SetFromResource(caption_, number, InsertList<Texts...>(inserts...));
  }
  // Arms the next message box, again when one has had the button already; called by the setters.
  void Update();

 private:
  void SetFromResource(std::unique_ptr<WCHAR[]>& text, UINT number, Inserts inserts);

  std::unique_ptr<WCHAR[]> target_;
  std::unique_ptr<WCHAR[]> caption_;
  std::unique_ptr<CLinkBoxHook> hook_;
};

}  // namespace kv
