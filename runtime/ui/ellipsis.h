// Texts that go on.
#pragma once

#include "runtime/core/win.h"

namespace kv {

// Appends "..." unless the text ends so already; cut to fit `capacity` characters with the
// terminator.
void AppendEllipsis(LPWSTR text, size_t capacity);

}  // namespace kv
