#include "runtime/ui/message_box_link.h"

#include <new>

#include "runtime/core/messages.h"
#include "runtime/core/startup_context.h"
#include "runtime/text/text.h"
#include "runtime/text/wide_text.h"
#include "runtime/ui/link_button.h"

namespace kv {
namespace {

constexpr int kTextCapacity = 1024;
constexpr WCHAR kDialogClass[] = TEXT("#32770");

std::unique_ptr<WCHAR[]> Format(LPCWSTR format, va_list arguments) {
  if (View(format).empty()) return nullptr;
  if (View(format).size() >= kTextCapacity - 1) return CopyOf(format);
  WCHAR text[kTextCapacity + 1] = {};
  wvsprintfW(text, format, arguments);
  return CopyOf(text);
}

bool IsProductBox(const CREATESTRUCTW& record) {
  LPCWSTR className = record.lpszClass;
  WCHAR nameOfAtom[kNameCapacity] = {};
  if (IS_INTRESOURCE(className)) {
    const auto atom = static_cast<ATOM>(reinterpret_cast<ULONG_PTR>(className));
    GlobalGetAtomNameW(atom, nameOfAtom, kNameCapacity);
    className = nameOfAtom;
  }
  return View(className) == kDialogClass && View(record.lpszName) == startupContext.productName;
}

}  // namespace

void CLinkBoxHook::Arm(LPCWSTR target, LPCWSTR caption) {
  target_ = CopyOf(target);
  caption_ = CopyOf(caption);
}

LRESULT CALLBACK CLinkBoxHook::HookProc(int code, WPARAM wParam, LPARAM lParam) {
  if (code == HCBT_CREATEWND && !View(target_.get()).empty() &&
      IsProductBox(*reinterpret_cast<const CBT_CREATEWNDW*>(lParam)->lpcs)) {
    AttachTo(reinterpret_cast<HWND>(wParam));
  }
  return CThreadHook::HookProc(code, wParam, lParam);
}

void CLinkBoxHook::AttachTo(HWND box) {
  std::unique_ptr<CLinkBoxWindow> window(new (std::nothrow)
                                             CLinkBoxWindow(target_.get(), caption_.get()));
  target_.reset();
  caption_.reset();
  // From here on the box deletes it.
  if (window != nullptr && window->Attach(box, TRUE, 0)) static_cast<void>(window.release());
}

CLinkBoxWindow::CLinkBoxWindow(LPCWSTR target, LPCWSTR caption)
    : target_(CopyOf(target)), caption_(LinkCaption(caption)) {}

void CLinkBoxWindow::AfterMessage(HWND window, UINT message, WPARAM, LPARAM, LRESULT*) {
  if (message == WM_INITDIALOG && !View(target_.get()).empty()) {
    AddLinkButton(window, caption_.get());
  }
}

BOOL CLinkBoxWindow::BeforeMessage(HWND window, UINT message, WPARAM wParam, LPARAM,
                                   LRESULT* result) {
  const bool isMine = message == WM_COMMAND && LOWORD(wParam) == kLinkButton;
  if (!isMine || View(target_.get()).empty()) return TRUE;
  *result = 0;
  // The object may be gone when the second box has been answered.
  if (!OpenLink(window, target_.get())) {
    MessageBoxW(window, target_.get(), startupContext.productName, kInfoBox);
  }
  return FALSE;
}

void CMessageBoxLink::SetTarget(LPCWSTR format, ...) {
  va_list arguments;
  va_start(arguments, format);
  target_ = Format(format, arguments);
  va_end(arguments);
  Update();
}

void CMessageBoxLink::SetCaption(LPCWSTR format, ...) {
  va_list arguments;
  va_start(arguments, format);
  caption_ = Format(format, arguments);
  va_end(arguments);
  Update();
}

void CMessageBoxLink::SetFromResource(std::unique_ptr<WCHAR[]>& text, UINT number,
                                      Inserts inserts) {
  WCHAR buffer[kTextCapacity] = {};
  if (number != 0) LoadResourceStringV(buffer, kTextCapacity, number, inserts);
  text = buffer[0] == 0 ? nullptr : CopyOf(buffer);
  Update();
}

void CMessageBoxLink::Update() {
  if (View(target_.get()).empty()) {
    hook_.reset();
    return;
  }
  if (hook_ == nullptr) hook_.reset(new (std::nothrow) CLinkBoxHook);
  if (hook_ != nullptr) hook_->Arm(target_.get(), caption_.get());
}

}  // namespace kv
