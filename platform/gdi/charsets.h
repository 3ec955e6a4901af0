// Character sets of fonts and their code pages.
#pragma once

#include <windows.h>

namespace platform {

// The set of an ANSI code page; DEFAULT_CHARSET when it has none.
BYTE CharsetOf(UINT code_page);

}  // namespace platform
