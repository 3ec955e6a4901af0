// A module with a copy of the library of its own, which watches a window beside the program's.
#include "runtime/core/startup_context.h"
#include "runtime/ui/subclass_window.h"

namespace {

class Counter : public kv::CSubclassWindow {
 public:
  void AfterMessage(HWND, UINT, WPARAM, LPARAM, LRESULT* result) override { *result += 100; }
  BOOL BeforeMessage(HWND, UINT, WPARAM, LPARAM, LRESULT*) override { return TRUE; }
};

}  // namespace

// Adds 100 to the result of each message, until the window is destroyed.
extern "C" BOOL WINAPI Watch(HWND window) {
  auto* const counter = new Counter;
  return counter->Attach(window, TRUE, 0);
}
