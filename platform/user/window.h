// The windows of this process: a tree of records under one lock, and the calls of their procedures,
// for which the lock is never held. A record lives while somebody holds it; a window exists while
// it is in the tree.
#pragma once

#include <windows.h>

#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <vector>

#include "platform/control/leaks.h"
#include "platform/kernel/text.h"
#include "platform/user/window_class.h"

namespace platform {

struct Window {
  HWND handle = nullptr;
  std::shared_ptr<WindowClass> window_class;
  DWORD thread = 0;
  WNDPROC procedure = nullptr;
  HINSTANCE instance = nullptr;
  WideString title;
  DWORD style = 0;
  DWORD ex_style = 0;
  HWND parent = nullptr;  // of a child
  HWND owner = nullptr;   // of a top-level window
  HWND last_active_popup = nullptr;
  LONG_PTR id = 0;  // of a child
  LONG_PTR user_data = 0;
  RECT rectangle = {};  // on the screen
  HICON icons[2] = {};  // by ICON_SMALL, ICON_BIG
  std::vector<BYTE> extra;
  std::map<WideString, HANDLE, LessNoCase> properties;
  bool being_destroyed = false;
  bool needs_paint = false;
  CountedResource counted{Resource::kWindow};
};

// What the system keeps for a thread that has windows.
struct ThreadState {
  HWND active = nullptr;
  HWND focus = nullptr;
};

// While one lives, the tree belongs to the calling thread. No procedure, hook or callback is called
// meanwhile.
class WindowLock {
 public:
  WindowLock();

 private:
  std::lock_guard<std::mutex> lock_;
};

using WindowPointer = std::shared_ptr<Window>;

// The window of a handle; null when it does not exist. Its fields are read and written under a
// WindowLock, which this function takes itself.
WindowPointer WindowOf(HWND handle);
// The same with ERROR_INVALID_WINDOW_HANDLE as last error.
WindowPointer RequireWindow(HWND handle);

// The same for calls that run the window's procedure at once: ERROR_CALL_NOT_IMPLEMENTED for a
// window of another thread, which alone may run it.
WindowPointer RequireOwnWindow(HWND handle);

// Takes the lock itself: the windows of ChildrenOf at this moment. Code of the product that is
// called meanwhile may destroy some of them.
std::vector<WindowPointer> ChildrenNow(HWND parent);

// Both under a WindowLock.
ThreadState& StateOf(DWORD thread);
// A window and those above it, up to the top-level one; empty when it does not exist.
std::vector<WindowPointer> LineOf(HWND window);
// Under a WindowLock: the top-level windows (`parent` null) from the front to the back, or the
// children in the order of their creation.
std::vector<WindowPointer> ChildrenOf(HWND parent);
// Under a WindowLock: whether `window` is `ancestor` or one of the windows below it.
bool IsSameOrBelow(HWND window, HWND ancestor);
// Under a WindowLock: puts a window behind another one that has the same parent (HWND_TOP: in front
// of all, HWND_BOTTOM: behind all); false when there is no such window.
bool PutBehind(const Window& window, HWND insert_after);
// The area inside the frame of a window of a style.
RECT ClientArea(DWORD style, const RECT& rectangle);

bool ClassHasWindows(const WindowClass& window_class);

// Calls the procedure of a window of the calling thread.
LRESULT CallProcedure(const WindowPointer& window, UINT message, WPARAM wparam, LPARAM lparam);

// Creates a window of the calling thread as CreateWindowExW does, hooks and messages included; null
// on failure with the last error set. `record` names class and title for them.
WindowPointer NewWindow(CREATESTRUCTW& record);
// Under a WindowLock: has the window's procedure paint the window when its thread gets to it.
void Invalidate(Window& window);
// Makes a top-level window active, in front of the others, unless a hook objects.
void Activate(const WindowPointer& window);
// Makes a window visible, and a top-level one active.
void Show(const WindowPointer& window);
// A window is not active any more: its owner becomes so when it can.
void ActivateOwner(const Window& window);

}  // namespace platform
