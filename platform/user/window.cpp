#include "platform/user/window.h"

#include <algorithm>
#include <cstring>

#include "platform/control/machine.h"
#include "platform/kernel/api_call.h"
#include "platform/user/hooks.h"
#include "platform/user/message_queue.h"

namespace platform {
namespace {

// Width of a frame with a caption.
constexpr int kFrame = 3;

struct WindowTree {
  std::mutex mutex;
  std::map<HWND, WindowPointer> windows;
  std::map<HWND, std::vector<HWND>>
      order;  // of the children, by parent; null: of the top-level ones
  std::map<DWORD, ThreadState> threads;
  UINT_PTR next_handle = 0x00010010;
};

WindowTree& tree() {
  static WindowTree* instance = new WindowTree;
  return *instance;
}

WindowPointer Fail(DWORD error) {
  SetLastError(error);
  return nullptr;
}

// With the lock held.
WindowPointer Find(HWND handle) {
  const auto found = tree().windows.find(handle);
  return found == tree().windows.end() ? nullptr : found->second;
}

void Insert(const WindowPointer& window) {
  WindowLock lock;
  window->handle = reinterpret_cast<HWND>(tree().next_handle);
  tree().next_handle += 2;
  tree().windows.emplace(window->handle, window);
  auto& siblings = tree().order[window->parent];
  siblings.insert(window->parent == nullptr ? siblings.begin() : siblings.end(), window->handle);
}

void Remove(const WindowPointer& window) {
  {
    WindowLock lock;
    std::erase(tree().order[window->parent], window->handle);
    tree().order.erase(window->handle);
    tree().windows.erase(window->handle);
    for (auto& [thread, state] : tree().threads) {
      if (state.active == window->handle) state.active = nullptr;
      if (state.focus == window->handle) state.focus = nullptr;
    }
  }
  // Nobody finds the window any more to send it something else.
  ForgetWindow(window->thread, window->handle);
}

bool Exists(const WindowPointer& window) {
  return WindowOf(window->handle) != nullptr;
}

// Puts the new window below its parent or owner; false with the last error set when it cannot be.
bool SetFamily(Window& window, const CREATESTRUCTW& record) {
  WindowLock lock;
  const WindowPointer parent = Find(record.hwndParent);
  const bool is_child = (window.style & WS_CHILD) != 0;
  if (record.hwndParent != nullptr && parent == nullptr) {
    SetLastError(ERROR_INVALID_WINDOW_HANDLE);
    return false;
  }
  if (is_child && parent == nullptr) {
    SetLastError(ERROR_TLW_WITH_WSCHILD);
    return false;
  }
  RECT origin = {};
  if (is_child) {
    window.parent = record.hwndParent;
    window.id = reinterpret_cast<LONG_PTR>(record.hMenu);
    origin = ClientArea(parent->style, parent->rectangle);
  } else {
    const auto line = LineOf(record.hwndParent);
    window.owner = line.empty() ? nullptr : line.back()->handle;
  }
  window.rectangle = {origin.left + record.x, origin.top + record.y,
                      origin.left + record.x + record.cx, origin.top + record.y + record.cy};
  return true;
}

// The hook and the messages of creation; false when one of them refused. What is to be undone is
// done.
bool Announce(const WindowPointer& window, CREATESTRUCTW& record) {
  CBT_CREATEWNDW creation{&record, nullptr};
  const auto handle = reinterpret_cast<WPARAM>(window->handle);
  if (CallCbtHooks(HCBT_CREATEWND, handle, reinterpret_cast<LPARAM>(&creation)) != 0) {
    Remove(window);
    return false;
  }
  const auto parameter = reinterpret_cast<LPARAM>(&record);
  if (CallProcedure(window, WM_NCCREATE, 0, parameter) == FALSE) {
    if (Exists(window)) {
      CallProcedure(window, WM_NCDESTROY, 0, 0);
      Remove(window);
    }
    return false;
  }
  if (CallProcedure(window, WM_CREATE, 0, parameter) == -1) {
    DestroyWindow(window->handle);
    return false;
  }
  return Exists(window);
}

// Sends WM_DESTROY to a window and those below it, parents first.
void SendDestroy(const WindowPointer& window) {
  CallProcedure(window, WM_DESTROY, 0, 0);
  for (const WindowPointer& child : ChildrenNow(window->handle)) {
    if (!Exists(child) || child->being_destroyed) continue;
    child->being_destroyed = true;
    SendDestroy(child);
  }
}

// Takes a window and those below it out of the tree, children first. A procedure may have done it
// on the way, by destroying the parent.
void Free(const WindowPointer& window) {
  if (!Exists(window)) return;
  for (const WindowPointer& child : ChildrenNow(window->handle)) Free(child);
  CallProcedure(window, WM_NCDESTROY, 0, 0);
  Remove(window);
}

void DestroyOwned(const WindowPointer& owner) {
  for (const WindowPointer& window : ChildrenNow(nullptr)) {
    if (window->owner == owner->handle) DestroyWindow(window->handle);
  }
}

// With the lock held: makes the window the thread's active one and returns the one before.
WindowPointer SetActive(const WindowPointer& window) {
  ThreadState& thread = StateOf(window->thread);
  WindowPointer before = Find(thread.active);
  thread.active = window->handle;
  for (WindowPointer w = window; w != nullptr; w = Find(w->owner)) {
    w->last_active_popup = window->handle;
  }
  auto& front = tree().order[nullptr];
  std::erase(front, window->handle);
  front.insert(front.begin(), window->handle);
  return before;
}

}  // namespace

WindowLock::WindowLock() : lock_(tree().mutex) {}

WindowPointer WindowOf(HWND handle) {
  WindowLock lock;
  return Find(handle);
}

WindowPointer RequireWindow(HWND handle) {
  WindowPointer window = WindowOf(handle);
  return window != nullptr ? window : Fail(ERROR_INVALID_WINDOW_HANDLE);
}

WindowPointer RequireOwnWindow(HWND handle) {
  WindowPointer window = RequireWindow(handle);
  if (window == nullptr || window->thread == GetCurrentThreadId()) return window;
  return Fail(ERROR_CALL_NOT_IMPLEMENTED);
}

ThreadState& StateOf(DWORD thread) {
  return tree().threads[thread];
}

std::vector<WindowPointer> LineOf(HWND handle) {
  std::vector<WindowPointer> line;
  for (WindowPointer w = Find(handle); w != nullptr; w = Find(w->parent)) line.push_back(w);
  return line;
}

std::vector<WindowPointer> ChildrenOf(HWND parent) {
  std::vector<WindowPointer> result;
  const auto found = tree().order.find(parent);
  if (found == tree().order.end()) return result;
  for (HWND handle : found->second) result.push_back(Find(handle));
  return result;
}

std::vector<WindowPointer> ChildrenNow(HWND parent) {
  WindowLock lock;
  return ChildrenOf(parent);
}

bool IsSameOrBelow(HWND window, HWND ancestor) {
  const auto line = LineOf(window);
  return std::any_of(line.begin(), line.end(),
                     [=](const WindowPointer& w) { return w->handle == ancestor; });
}

bool PutBehind(const Window& window, HWND insert_after) {
  auto& order = tree().order[window.parent];
  auto others = order;
  std::erase(others, window.handle);
  auto place = insert_after == HWND_TOP ? others.begin() : others.end();
  if (insert_after != HWND_TOP && insert_after != HWND_BOTTOM) {
    place = std::find(others.begin(), others.end(), insert_after);
    if (place == others.end()) return false;
    ++place;
  }
  others.insert(place, window.handle);
  order = std::move(others);
  return true;
}

RECT ClientArea(DWORD style, const RECT& rectangle) {
  RECT area = rectangle;
  if ((style & WS_CHILD) != 0 || (style & WS_CAPTION) != WS_CAPTION) return area;
  area.left += kFrame;
  area.right -= kFrame;
  area.bottom -= kFrame;
  area.top += kFrame + GetSystemMetrics(SM_CYCAPTION);
  return area;
}

bool ClassHasWindows(const WindowClass& window_class) {
  WindowLock lock;
  return std::any_of(tree().windows.begin(), tree().windows.end(), [&](const auto& entry) {
    return entry.second->window_class.get() == &window_class;
  });
}

LRESULT CallProcedure(const WindowPointer& window, UINT message, WPARAM wparam, LPARAM lparam) {
  WNDPROC procedure;
  {
    WindowLock lock;
    procedure = window->procedure;
  }
  ProductCallback call;
  return procedure(window->handle, message, wparam, lparam);
}

WindowPointer NewWindow(CREATESTRUCTW& record) {
  auto window = std::make_shared<Window>();
  window->window_class = FindClass(record.lpszClass, record.hInstance);
  if (window->window_class == nullptr) return Fail(ERROR_CANNOT_FIND_WND_CLASS);
  window->thread = GetCurrentThreadId();
  window->procedure = window->window_class->data.lpfnWndProc;
  window->instance = record.hInstance;
  window->style = static_cast<DWORD>(record.style) & ~WS_VISIBLE;
  window->ex_style = record.dwExStyle;
  window->extra.resize(window->window_class->data.cbWndExtra);
  if (!SetFamily(*window, record)) return nullptr;
  OpenQueue();
  Insert(window);
  return Announce(window, record) ? window : nullptr;
}

void Show(const WindowPointer& window) {
  CallProcedure(window, WM_SHOWWINDOW, TRUE, 0);
  if (!Exists(window)) return;
  bool is_child;
  {
    WindowLock lock;
    window->style |= WS_VISIBLE;
    is_child = (window->style & WS_CHILD) != 0;
    Invalidate(*window);
  }
  if (!is_child) Activate(window);
}

void ActivateOwner(const Window& window) {
  WindowPointer owner;
  {
    WindowLock lock;
    owner = Find(window.owner);
    if (owner == nullptr || owner->being_destroyed || owner->thread != window.thread) return;
    if ((owner->style & (WS_VISIBLE | WS_DISABLED)) != WS_VISIBLE) return;
  }
  Activate(owner);
}

void Activate(const WindowPointer& window) {
  CBTACTIVATESTRUCT activation = {};
  {
    WindowLock lock;
    activation.hWndActive = StateOf(window->thread).active;
  }
  const auto handle = reinterpret_cast<WPARAM>(window->handle);
  if (CallCbtHooks(HCBT_ACTIVATE, handle, reinterpret_cast<LPARAM>(&activation)) != 0) return;
  if (!Exists(window)) return;
  WindowPointer before;
  {
    WindowLock lock;
    before = SetActive(window);
  }
  if (before == window) return;
  if (before != nullptr) {
    CallProcedure(before, WM_ACTIVATE, WA_INACTIVE, reinterpret_cast<LPARAM>(window->handle));
  }
  if (Exists(window)) {
    CallProcedure(window, WM_ACTIVATE, WA_ACTIVE,
                  reinterpret_cast<LPARAM>(before != nullptr ? before->handle : nullptr));
  }
}

}  // namespace platform

using namespace platform;

HWND WINAPI CreateWindowExW(DWORD ex_style, LPCWSTR class_name, LPCWSTR title, DWORD style, int x,
                            int y, int width, int height, HWND parent, HMENU menu,
                            HINSTANCE instance, LPVOID parameter) {
  KV_API(CreateWindowExW, ERROR_NOT_ENOUGH_MEMORY, nullptr, ex_style, class_name, title, style, x,
         y, width, height, parent, menu, instance, parameter);
  CREATESTRUCTW record = {};
  record.lpCreateParams = parameter;
  record.hInstance = instance;
  record.hMenu = menu;
  record.hwndParent = parent;
  record.cy = height;
  record.cx = width;
  record.y = y;
  record.x = x;
  record.style = static_cast<LONG>(style);
  record.lpszName = title;
  record.lpszClass = class_name;
  record.dwExStyle = ex_style;
  const WindowPointer window = NewWindow(record);
  if (window == nullptr) return nullptr;
  if ((style & WS_VISIBLE) != 0) Show(window);
  return Exists(window) ? window->handle : nullptr;
}

BOOL WINAPI DestroyWindow(HWND handle) {
  KV_API_NOFAIL(DestroyWindow, FALSE, handle);
  const WindowPointer window = RequireWindow(handle);
  if (window == nullptr) return FALSE;
  if (window->thread != GetCurrentThreadId()) {
    SetLastError(ERROR_ACCESS_DENIED);
    return FALSE;
  }
  if (window->being_destroyed) {
    SetLastError(ERROR_INVALID_WINDOW_HANDLE);
    return FALSE;
  }
  if (CallCbtHooks(HCBT_DESTROYWND, reinterpret_cast<WPARAM>(handle), 0) != 0) return FALSE;
  if (!Exists(window)) return TRUE;
  bool was_active;
  {
    WindowLock lock;
    window->being_destroyed = true;
    was_active = StateOf(window->thread).active == handle;
  }
  DestroyOwned(window);
  SendDestroy(window);
  Free(window);
  if (was_active) ActivateOwner(*window);
  return TRUE;
}

BOOL WINAPI IsWindow(HWND handle) {
  KV_API_NOFAIL(IsWindow, FALSE, handle);
  return WindowOf(handle) != nullptr;
}
