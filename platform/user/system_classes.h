// The window classes that the system brings.
#pragma once

#include <memory>
#include <vector>

#include "platform/user/window_class.h"

namespace platform {

std::vector<std::shared_ptr<WindowClass>> SystemClasses();

// The procedure of the standard controls: a font and a text.
LRESULT CALLBACK ControlProcedure(HWND window, UINT message, WPARAM wparam, LPARAM lparam);

}  // namespace platform
