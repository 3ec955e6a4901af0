// Bitmaps with see-through pixels.
#pragma once

#include "runtime/core/win.h"

namespace kv {

// Draws a bitmap with its left top corner at (x, y), but for the pixels of the colour
// `transparent`; on systems that cannot leave pixels out, all of it. FALSE when it could not be
// drawn.
BOOL DrawTransparent(HDC target, int x, int y, HBITMAP bitmap, COLORREF transparent);

}  // namespace kv
