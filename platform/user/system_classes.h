// The window classes that the system brings.
#pragma once

#include <memory>
#include <vector>

#include "platform/user/window_class.h"

namespace platform {

std::vector<std::shared_ptr<WindowClass>> SystemClasses();

}  // namespace platform
