// SIDs as text: "S-1-5-32-545".
#pragma once

#include "runtime/core/win.h"

namespace kv {

// The longest text with its terminator, in characters; callers give at least this much.
constexpr int kSidTextCapacity = 184;

// Writes the text of `sid` and returns its length in characters. The authority is written in
// decimal, and as "0x" with twelve digits when it does not fit 32 bits. An absent or invalid SID
// gives the empty text and 0.
int SidToString(PSID sid, LPWSTR output);

}  // namespace kv
