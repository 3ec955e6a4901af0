// Message boxes: dialogs of the class "#32770" with the text, an icon and the buttons as children.
#pragma once

#include <windows.h>

namespace platform {

// The procedure of the box's window.
LRESULT CALLBACK MessageBoxProcedure(HWND window, UINT message, WPARAM wparam, LPARAM lparam);

}  // namespace platform
