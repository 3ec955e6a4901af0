// Comparing two files by name.
#pragma once

#include "runtime/core/win.h"

namespace kv {

// Whether the bytes are compared, or the times of the last change.
enum class CompareContents : bool { kNo, kYes };

// 1 when the files have the same size and the same bytes (or time of the last change), 0 when they
// differ, -1 when one is missing, not a regular file, or, when the bytes are asked for, cannot be
// mapped (an empty one, one of 4 GB or more, or two for which the address space has no room).
// Nothing is reported.
int CompareFiles(LPCWSTR a, LPCWSTR b, CompareContents contents);

// TRUE when both are regular files and `a` was changed later than `b`, in whole seconds since 1970
// as signed 32-bit numbers, which end in 2038.
BOOL IsNewer(LPCWSTR a, LPCWSTR b);

}  // namespace kv
