// Objects that watch and change the messages of windows.
#pragma once

#include "runtime/core/win.h"

namespace kv {

// Any number of objects can be attached to one window; they form a chain, in which the one attached
// last comes first. While a window has a chain, the window's procedure is that of the chain, which
// calls the window's own one between the objects' operations. Everything happens on the thread that
// owns the window.
//
// From within its operations an object may attach and detach any object of the window, destroy any
// (itself included, when it does nothing with itself afterwards) and destroy the window. An object
// that is attached from BeforeMessage takes part in the message from its AfterMessage on, one that
// is attached from AfterMessage in later messages only; one that has left is not called any more.
// When the last one leaves before the window's procedure was called, the message ends with what has
// been stored as its result (0 at first).
class CSubclassWindow {
 public:
  CSubclassWindow() = default;
  CSubclassWindow(const CSubclassWindow&) = delete;
  CSubclassWindow& operator=(const CSubclassWindow&) = delete;
  // Detaches the object.
  virtual ~CSubclassWindow() { Detach(); }
  // Called after the window's procedure, or after BeforeMessage of another object has stopped the
  // message; may change the result.
  virtual void AfterMessage(HWND window, UINT message, WPARAM wParam, LPARAM lParam,
                            LRESULT* result) = 0;
  // Called before the window's procedure. FALSE stops the message: neither the rest of the chain
  // nor the window's procedure gets it, and what was stored through `result` becomes its result.
  virtual BOOL BeforeMessage(HWND window, UINT message, WPARAM wParam, LPARAM lParam,
                             LRESULT* result) = 0;

  // Puts the object at the head of the window's chain; nothing happens when it is attached already.
  // With `autoDelete` it is deleted when its window is destroyed, otherwise only detached. FALSE,
  // with nothing changed, when the window cannot be changed.
  BOOL Attach(HWND window, BOOL autoDelete, DWORD userData);
  void Detach();

  // Null while the object is not attached.
  HWND window() const { return hWnd_; }
  DWORD userData() const { return userData_; }

 protected:
  // From now on the object is deleted with its window.
  void DeleteWithWindow() { autoDelete_ = TRUE; }

 private:
  struct Place;
  template <class Call>
  static BOOL CallEach(HWND window, CSubclassWindow* object, Place* first, Place* last, Call call);
  static LRESULT CALLBACK ChainProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
  static void EndChain(HWND window);
  static CSubclassWindow* HeadOf(HWND window);
  static BOOL IsInChain(HWND window, const CSubclassWindow* object);
  void TakeHeadFrom(HWND window) const;

  CSubclassWindow* next_ = nullptr;
  HWND hWnd_ = nullptr;
  WNDPROC previousProc_ = nullptr;
  BOOL autoDelete_ = FALSE;
  DWORD userData_ = 0;
};

}  // namespace kv
