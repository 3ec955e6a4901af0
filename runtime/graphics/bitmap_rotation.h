// Bitmaps turned by a quarter or a half turn, as device-independent bits.
#pragma once

#include <memory>

#include "runtime/core/win.h"

namespace kv {

// A BITMAPINFO with room for the colours of every depth.
struct BitmapHeader {
  BITMAPINFOHEADER info;
  RGBQUAD colors[256];
};
static_assert(sizeof(BitmapHeader) == 1064);

// Bottom-up rows, each padded to 4 bytes, uncompressed, with the header that describes them. Both
// are null when there is no bitmap.
struct TurnedBitmap {
  std::unique_ptr<BYTE[]> bits;
  std::unique_ptr<BitmapHeader> header;
};

// The bits of a bitmap of 1, 4, 8, 16, 24 or 32 bits per pixel, which is not selected into a
// context, turned; `context` gives the colours. The quarter turn brings the picture's left edge to
// the bottom, the half turn puts it upside down. At most 32768 bytes are fetched from the system at
// a time, in whole rows. FALSE, with a null result, when the system refuses, memory runs out or a
// row is longer.
BOOL RotateBitmapQuarter(HDC context, HBITMAP bitmap, TurnedBitmap& turned);
BOOL RotateBitmapHalf(HDC context, HBITMAP bitmap, TurnedBitmap& turned);

}  // namespace kv
