// When windows are painted.
#pragma once

#include <optional>

#include "platform/user/message_queue.h"

namespace platform {

// WM_PAINT for a visible window of the calling thread that wants it, parents before children; the
// window goes on wanting it until it was painted.
std::optional<MSG> FindPaint(const MessageFilter& filter);

}  // namespace platform
