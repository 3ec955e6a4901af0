// The list of a combo box. Its edit field and how it drops down are not part of the layer.
#pragma once

#include <windows.h>

namespace platform {

inline constexpr int kComboBoxValues = 2;  // see control_state.h

LRESULT CALLBACK ComboBoxProcedure(HWND window, UINT message, WPARAM wparam, LPARAM lparam);

}  // namespace platform
