#include "runtime/ui/subclass_window.h"

#include "runtime/ui/window_property.h"

namespace kv {
namespace {

WindowProperty HeadProperty() {
  return WindowProperty(TEXT("CSubclassWindow"));
}

WNDPROC ReplaceProcedure(HWND window, WNDPROC procedure) {
  return reinterpret_cast<WNDPROC>(
      SetWindowLongPtrW(window, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(procedure)));
}

}  // namespace

// An object that stood in the chain when a message came.
struct CSubclassWindow::Place {
  CSubclassWindow* object;
  Place* next = nullptr;
};

CSubclassWindow* CSubclassWindow::HeadOf(HWND window) {
  return static_cast<CSubclassWindow*>(HeadProperty().Get(window));
}

BOOL CSubclassWindow::IsInChain(HWND window, const CSubclassWindow* object) {
  const CSubclassWindow* at = HeadOf(window);
  while (at != nullptr && at != object) at = at->next_;
  return at != nullptr;
}

BOOL CSubclassWindow::Attach(HWND window, BOOL autoDelete, DWORD userData) {
  if (previousProc_ != nullptr) return TRUE;
  CSubclassWindow* const oldHead = HeadOf(window);
  if (!HeadProperty().Set(window, this)) return FALSE;
  const WNDPROC previous =
      oldHead != nullptr ? oldHead->previousProc_ : ReplaceProcedure(window, ChainProc);
  if (previous == nullptr) {
    HeadProperty().Remove(window);
    return FALSE;
  }
  next_ = oldHead;
  hWnd_ = window;
  previousProc_ = previous;
  autoDelete_ = autoDelete;
  userData_ = userData;
  return TRUE;
}

void CSubclassWindow::Detach() {
  if (hWnd_ == nullptr) return;
  CSubclassWindow* before = nullptr;
  CSubclassWindow* at = HeadOf(hWnd_);
  while (at != nullptr && at != this) {
    before = at;
    at = at->next_;
  }
  if (at != nullptr && before != nullptr) {
    before->next_ = next_;
  } else if (at != nullptr) {
    TakeHeadFrom(hWnd_);
  }
  previousProc_ = nullptr;
  hWnd_ = nullptr;
}

// What stands behind this object becomes the chain.
void CSubclassWindow::TakeHeadFrom(HWND window) const {
  const WindowProperty head = HeadProperty();
  if (next_ != nullptr && head.Set(window, next_)) return;
  head.Remove(window);
  // Without the property there is room for it again.
  if (next_ != nullptr && head.Set(window, next_)) return;
  if (previousProc_ != nullptr) ReplaceProcedure(window, previousProc_);
}

// Notes the chain from `object` on in places on the stack, then calls `call` with each object that
// is still in the chain when its turn comes, until one answers FALSE, which is the result.
template <class Call>
BOOL CSubclassWindow::CallEach(HWND window, CSubclassWindow* object, Place* first, Place* last,
                               Call call) {
  if (object != nullptr) {
    Place place{object};
    if (last != nullptr) last->next = &place;
    return CallEach(window, object->next_, first != nullptr ? first : &place, &place, call);
  }
  for (const Place* place = first; place != nullptr; place = place->next) {
    if (IsInChain(window, place->object) && !call(*place->object)) return FALSE;
  }
  return TRUE;
}

void CSubclassWindow::EndChain(HWND window) {
  while (CSubclassWindow* const head = HeadOf(window)) {
    head->Detach();
    if (head->autoDelete_) delete head;
  }
}

LRESULT CALLBACK CSubclassWindow::ChainProc(HWND window, UINT message, WPARAM wParam,
                                            LPARAM lParam) {
  CSubclassWindow* head = HeadOf(window);
  if (head == nullptr) return DefWindowProcW(window, message, wParam, lParam);
  LRESULT result = 0;
  const BOOL goesOn = CallEach(window, head, nullptr, nullptr, [&](CSubclassWindow& object) {
    return object.BeforeMessage(window, message, wParam, lParam, &result);
  });
  head = HeadOf(window);
  if (goesOn && head != nullptr) {
    result = CallWindowProcW(head->previousProc_, window, message, wParam, lParam);
  }
  if (IsWindow(window)) {
    CallEach(window, HeadOf(window), nullptr, nullptr, [&](CSubclassWindow& object) {
      object.AfterMessage(window, message, wParam, lParam, &result);
      return TRUE;
    });
  }
  if (message == WM_NCDESTROY) EndChain(window);
  return result;
}

}  // namespace kv
