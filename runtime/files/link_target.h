// Texts that may name a file or something on the network.
#pragma once

#include "runtime/core/win.h"

namespace kv {

// Whether the text is a link: it begins with "mailto:" or holds "://".
BOOL IsLinkTarget(LPCWSTR text);

}  // namespace kv
