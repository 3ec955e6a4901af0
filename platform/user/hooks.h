// Hooks of threads.
#pragma once

#include <windows.h>

namespace platform {

// Asks the calling thread's WH_CBT hooks, the newest first; 0 when there is none.
LRESULT CallCbtHooks(int code, WPARAM wparam, LPARAM lparam);

}  // namespace platform
