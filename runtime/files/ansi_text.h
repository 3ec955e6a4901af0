// Text on its way into ANSI files.
#pragma once

#include <memory>

#include "runtime/core/win.h"
#include "runtime/text/wide_text.h"

namespace kv {

// A new copy of `text` in the ANSI code page, of `size` bytes and not terminated; null after the
// report "UnicodeToAnsiNew new char" when memory runs out, and after that of the call that cannot
// convert it.
std::unique_ptr<CHAR[]> ToAnsi(WideView text, int* size);

}  // namespace kv
