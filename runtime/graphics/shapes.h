// Rounded rectangles and the rectangles of texts. Coordinates that would pass the range of int are
// its nearer limit.
#pragma once

#include "runtime/core/win.h"

namespace kv {

struct CornerRadii {
  int rx, ry;  // of the corners' ellipses
  int hx, hy;  // from a corner curve's ends to its Bezier handles
};

// The corners of the library's rounded rectangles, which flatten for long rectangles.
CornerRadii RoundRectRadii(const RECT& rectangle);

// Makes the rounded rectangle the context's path.
void RoundRectPath(HDC context, const RECT& rectangle);

// The rectangle that a text covers when it is drawn at (x, y) with the context's font and text
// alignment. `length` counts UTF-16 units, -1 takes the whole text. With `region` and a font that
// is turned (lfEscapement), the region of the turned rectangle as well, which the caller deletes;
// null otherwise. The outputs are zero when the context cannot be asked.
void TextBoxRect(HDC context, int x, int y, LPCWSTR text, int length, RECT& rectangle,
                 HRGN* region = nullptr);

}  // namespace kv
