// The procedures of the system's controls.
#pragma once

#include <windows.h>

namespace platform {

// How many values each keeps (see control_state.h).
inline constexpr int kStaticValues = 2;
inline constexpr int kButtonValues = 1;
inline constexpr int kProgressValues = 5;

LRESULT CALLBACK StaticProcedure(HWND window, UINT message, WPARAM wparam, LPARAM lparam);
LRESULT CALLBACK ButtonProcedure(HWND window, UINT message, WPARAM wparam, LPARAM lparam);
LRESULT CALLBACK ProgressProcedure(HWND window, UINT message, WPARAM wparam, LPARAM lparam);

// What all of them have: a font and a text.
LRESULT ControlMessage(HWND window, UINT message, WPARAM wparam, LPARAM lparam);

}  // namespace platform
