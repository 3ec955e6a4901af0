// GDI+, a component that systems before Windows XP may lack.
#pragma once

#include "runtime/core/win.h"

namespace kv {

// Whether "gdiplus.dll" can be loaded. When it cannot, the user is asked (string 12232) and may
// install it and try again; FALSE, with the last error of loading it, when the user, or the Silent
// setting, wants no more of that. Nothing stays loaded.
BOOL EnsureGdiPlus();

}  // namespace kv
