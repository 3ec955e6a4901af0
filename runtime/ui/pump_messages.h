// Keeping windows alive while their thread works.
#pragma once

#include "runtime/core/win.h"

namespace kv {

// Handles the messages that wait in the calling thread's queue: those of `window` and the windows
// below it (null: all of the thread) with numbers from `first` to `last` (both 0: all). The keys of
// dialogs work in `window`. TRUE when the queue is empty; FALSE when the thread was told to quit,
// which it goes on being told.
BOOL PumpMessages(HWND window, UINT first = 0, UINT last = 0);

}  // namespace kv
