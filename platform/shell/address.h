// Addresses of the Internet as the shell tells them from paths.
#pragma once

#include "platform/kernel/text.h"

namespace platform {

// Characters.
inline constexpr size_t kLongestAddress = 2083;

// Whether a protocol of at least two characters stands before a colon: "http:", "mailto:". A drive
// has one letter.
bool IsAddress(WideView text);

}  // namespace platform
