// The 32- and 64-bit views of the registry of an x64 machine.
#pragma once

#include <windows.h>

#include <vector>

#include "platform/kernel/text.h"

namespace platform {

// The names of the keys on the way, from "MACHINE" or "USER" on.
using RegistryPath = std::vector<WideString>;

// Whether a call with this access mask works in the 32-bit view: by its KEY_WOW64 flags, or by the
// word size of this process. Always false on an x86 machine, which has one view.
bool UsesView32(REGSAM access);

// Where the key really lies: HKLM\SOFTWARE is redirected to its WOW6432Node in the 32-bit view,
// below SOFTWARE\Classes only a few sub-keys are, and what both views share is one key by either
// name.
RegistryPath ApplyView(const RegistryPath& path, bool view32);

}  // namespace platform
