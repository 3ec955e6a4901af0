// What system this is, in words for support staff.
#pragma once

#include "runtime/core/win.h"

namespace kv {

constexpr int kSystemDescriptionCapacity = 4096;

// How much is told: the name, edition and language alone, all that helps, or the first with the
// service pack. Other numbers mean kWithServicePack.
enum SystemDetail : int { kShortDetail = 0, kFullDetail = 1, kWithServicePack = 2 };

// Writes the description, cut to the buffer; returns its first character. What the system does not
// tell is left out; processor architectures that have no name here are written as their numbers.
WCHAR DescribeSystem(WCHAR (&output)[kSystemDescriptionCapacity], int detail);

// The description in a message box without an owner; the title "System Version" when none (null or
// empty) is given. With the Silent setting nothing is shown.
void ShowSystemDescription(int detail, LPCWSTR title);

}  // namespace kv
