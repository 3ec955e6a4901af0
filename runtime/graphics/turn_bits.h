// Turning the rows of device-independent bitmaps. A row is DibStride bytes long; pixels narrower
// than a byte lie in the high bits first. Depths are 1, 2, 4, 8, 16, 24 and 32 bits per pixel.
#pragma once

#include "runtime/core/win.h"

namespace kv {

// Bytes of a row of `width` pixels, a multiple of 4.
constexpr ULONGLONG DibStride(int width, int bitsPerPixel) {
  return ((static_cast<ULONGLONG>(width) * bitsPerPixel + 31) & ~ULONGLONG{31}) / 8;
}

// A quarter turn of `height` rows of `width` pixels into `width` rows of `height` pixels: pixel y
// of target row x is pixel x of source row height - 1 - y, rows counted in memory order. What fills
// up the target's rows becomes 0. FALSE for another depth, with nothing written.
BOOL TurnBitsQuarter(const BYTE* source, BYTE* target, int width, int height, int bitsPerPixel);

// A half turn in place: the rows change their order, whole, and the pixels of each row theirs; what
// fills up a row goes with it. FALSE for another depth and when memory runs out, with nothing
// changed.
BOOL TurnBitsHalf(BYTE* bits, int width, int height, int bitsPerPixel);

}  // namespace kv
