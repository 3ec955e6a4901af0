// The windows that belong to the desktop and its shell, of which programs know only the handles.
#pragma once

#include <windows.h>

#include <optional>

namespace platform {

// The shell's process, which counts as its thread too; nothing for any other window.
std::optional<DWORD> ProcessOfShellWindow(HWND window);

}  // namespace platform
