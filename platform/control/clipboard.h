// What is on the clipboard of the machine.
#pragma once

#include <windows.h>

#include <optional>
#include <vector>

namespace platform {

// The bytes in a format, which this process put there; nothing when the format is not there.
std::optional<std::vector<BYTE>> ClipboardContent(UINT format);

}  // namespace platform
