// The message queues of this process's threads: posted messages, messages that other threads send,
// timers and the wish to quit. All queues stand under one lock, below which nothing else is locked
// or called.
#pragma once

#include <windows.h>

#include <cstdint>
#include <optional>

#include "platform/kernel/clock.h"

namespace platform {

// Whether input of a kind in `wake_mask` (QS_…) has come to the calling thread since it last looked
// at its queue with PeekMessageW. Timers are not among it: they are due at NextTimerDue. May be
// called while waiting on the clock.
bool NewInputWaits(DWORD wake_mask);
// When (UpTime milliseconds) the next timer of the calling thread is due that the thread has not
// yet seen due; kNever without one.
uint64_t NextTimerDue();

// The rest is for the functions of windows.

// Which messages a look at the queue takes.
struct MessageFilter {
  HWND window;  // null: of any window and of none
  UINT first;
  UINT last;  // both 0: all
  bool Takes(UINT message) const {
    return (first == 0 && last == 0) || (message >= first && message <= last);
  }
};

// Makes the calling thread one that can be sent messages.
void OpenQueue();
// Appends to a thread's queue; false when the thread has none.
bool PostToThread(DWORD thread, const MSG& message);
// The calling thread's queue answers WM_QUIT with that exit code once no posted message is left.
void PostQuit(int exit_code);
// Marks that a window of the thread wants to be painted.
void NotePaint(DWORD thread);

// Has another thread call the window's procedure and waits for the result, serving meanwhile what
// others send to the calling thread; 0 when the window or the thread went away.
LRESULT SendToThread(DWORD thread, HWND window, UINT message, WPARAM wparam, LPARAM lparam);
// The same, until the clock reaches `deadline` (UpTime milliseconds) at the latest; the thread
// never sees a message that it has not begun with until then.
LRESULT SendToThreadUntil(uint64_t deadline, DWORD thread, HWND window, UINT message, WPARAM wparam,
                          LPARAM lparam);
// Calls the procedures for everything that other threads have sent to the calling one.
void ServeSentMessages();

// The next posted message, or WM_QUIT, of the calling thread, in the time of `now` (UpTime);
// forgets what was new about the queue.
std::optional<MSG> TakePosted(const MessageFilter& filter, bool remove);
// WM_TIMER for a timer of the calling thread that is due at `now` (UpTime milliseconds).
std::optional<MSG> TakeTimer(const MessageFilter& filter, bool remove, uint64_t now);
// Sets or resets a timer of a window of the calling thread; `period` in milliseconds.
void SetTimerOf(HWND window, UINT_PTR id, UINT period, uint64_t now);
// False when the window has no such timer.
bool KillTimerOf(DWORD thread, HWND window, UINT_PTR id);
// The window is gone: so are its messages and timers, and who waits for its answer gets 0.
void ForgetWindow(DWORD thread, HWND window);

}  // namespace platform
