#include "runtime/ui/message_box_link.h"

#include <new>
#include <utility>

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

CLinkBoxHook::CLinkBoxHook() : CThreadHook(WH_CBT) {}

CLinkBoxHook::~CLinkBoxHook() = default;

void CLinkBoxHook::Arm(LPCWSTR target, LPCWSTR caption) {
  target_ = CopyOf(target);
  caption_ = CopyOf(caption);
  window_.reset();
}

LRESULT CALLBACK CLinkBoxHook::HookProc(int code, WPARAM wParam, LPARAM lParam) {
  if (code == HCBT_CREATEWND &&
      IsProductBox(*reinterpret_cast<const CBT_CREATEWNDW*>(lParam)->lpcs)) {
    AttachTo(reinterpret_cast<HWND>(wParam));
  }
  return CThreadHook::HookProc(code, wParam, lParam);
}

void CLinkBoxHook::AttachTo(HWND box) {
  if (!View(target_.get()).empty()) {
    window_.reset(new (std::nothrow) CLinkBoxWindow(*this, target_.get(), caption_.get()));
    target_.reset();
    caption_.reset();
  } else if (window_ != nullptr && !IsWindow(window_->window())) {
    window_->Detach();
  }
  if (window_ != nullptr && !window_->Attach(box, FALSE, 0)) window_.reset();
}

void CLinkBoxHook::GiveUpWindow() {
  static_cast<void>(window_.release());
}

CLinkBoxWindow::CLinkBoxWindow(CLinkBoxHook& hook, LPCWSTR target, LPCWSTR caption)
    : hook_(&hook), target_(CopyOf(target)), caption_(LinkCaption(caption)) {}

void CLinkBoxWindow::AfterMessage(HWND window, UINT message, WPARAM, LPARAM, LRESULT*) {
  if (message != WM_INITDIALOG) return;
  if (CLinkBoxHook* const hook = std::exchange(hook_, nullptr)) {
    hook->GiveUpWindow();
    DeleteWithWindow();
  }
  if (!View(target_.get()).empty()) AddLinkButton(window, caption_.get());
}

BOOL CLinkBoxWindow::BeforeMessage(HWND window, UINT message, WPARAM wParam, LPARAM,
                                   LRESULT* result) {
  const bool isMine = message == WM_COMMAND && LOWORD(wParam) == kLinkButton;
  if (!isMine || View(target_.get()).empty()) return TRUE;
  *result = 0;
  // The shell and the second box handle messages: the first box, and with it this object, may be
  // gone behind each of them.
  const std::unique_ptr<WCHAR[]> target = CopyOf(target_.get());
  if (target == nullptr) {
    ShowInternalError(TEXT("CLinkBoxWindow could not copy the target"));
  } else if (!OpenLink(window, target.get())) {
    MessageBoxW(IsWindow(window) ? window : FindOwnerWindow(0), target.get(),
                startupContext.productName, kInfoBox);
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
