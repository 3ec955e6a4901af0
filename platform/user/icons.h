// Icons of this process.
#pragma once

#include <windows.h>

#include <optional>

namespace platform {

// The size in pixels for which an icon was loaded; nothing when it is none.
std::optional<SIZE> IconSize(HICON icon);

}  // namespace platform
