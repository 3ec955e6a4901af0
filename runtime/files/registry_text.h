// Texts of the registry that are of no use in part: paths and commands.
#pragma once

#include "runtime/registry/reg_key.h"

namespace kv {

// As RegKey::ReadString, but a text whose expansion does not fit with its terminator is not there
// either. The buffer of `capacity` characters is empty, with the result FALSE, when there is none.
BOOL ReadWholeString(const RegKey& key, LPCWSTR name, LPWSTR text, int capacity, Expand expand);

}  // namespace kv
