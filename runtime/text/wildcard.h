// Prefixes and patterns of names. Null texts count as empty.
#pragma once

#include "runtime/core/win.h"

namespace kv {

enum class MatchCase : bool { kNo, kYes };

// Whether the text begins with the prefix; without MatchCase letters A to Z count as a to z.
BOOL BeginsWith(LPCWSTR prefix, LPCWSTR text, MatchCase matchCase);

// Whether the whole text matches the pattern, without regard to case (as CharLowerW knows it): "?"
// stands for exactly one UTF-16 unit, "*" for any number of them. The time is at most proportional
// to the product of the lengths. FALSE when memory runs out, which only texts of more than 127
// units need.
BOOL MatchWildcard(LPCWSTR pattern, LPCWSTR text);

}  // namespace kv
