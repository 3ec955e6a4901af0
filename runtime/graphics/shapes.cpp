#include "runtime/graphics/shapes.h"

#include <algorithm>
#include <cmath>

#include "runtime/graphics/points.h"
#include "runtime/graphics/regions.h"
#include "runtime/text/wide_text.h"

namespace kv {
namespace {

constexpr double kRadiansPerDegree = 0.017453292519943295;

// All bits of a multi-bit alignment: TA_CENTER contains TA_RIGHT, TA_BASELINE contains TA_BOTTOM.
BOOL IsAligned(UINT alignment, UINT wanted) {
  return (alignment & wanted) == wanted;
}

POINT AlignedCorner(const POINT& at, const SIZE& size, LONG ascent, UINT alignment) {
  LONGLONG dx = 0, dy = 0;
  if (IsAligned(alignment, TA_CENTER)) {
    dx = -(size.cx / 2);
  } else if (IsAligned(alignment, TA_RIGHT)) {
    dx = -size.cx;
  }
  if (IsAligned(alignment, TA_BASELINE)) {
    dy = -ascent;
  } else if (IsAligned(alignment, TA_BOTTOM)) {
    dy = -size.cy;
  }
  return Moved(at, dx, dy);
}

// Null when the context's font is not turned.
HRGN TurnedRegion(HDC context, const RECT& rectangle, const POINT& about) {
  LOGFONTW font = {};
  const HGDIOBJ current = GetCurrentObject(context, OBJ_FONT);
  if (GetObjectW(current, sizeof font, &font) == 0 || font.lfEscapement == 0) return nullptr;
  const LONG degrees = font.lfEscapement / 10;
  const double angle = degrees * kRadiansPerDegree;
  HRGN region = nullptr;
  RotatedRectRegion(rectangle, std::sin(angle), std::cos(angle), &about, region, context);
  return region;
}

}  // namespace

CornerRadii RoundRectRadii(const RECT& rectangle) {
  const LONGLONG width = LONGLONG{rectangle.right} - rectangle.left;
  const LONGLONG height = LONGLONG{rectangle.bottom} - rectangle.top;
  // An eighth of any of them fits.
  const int rx = static_cast<int>(std::min(width / 8, height / 8 + 6));
  const int ry = static_cast<int>(std::min<LONGLONG>(height / 8, rx + 6));
  return {rx, ry, MulDiv(rx, 4, 9), MulDiv(ry, 4, 9)};
}

void RoundRectPath(HDC context, const RECT& rectangle) {
  const auto [rx, ry, hx, hy] = RoundRectRadii(rectangle);
  const auto [l, t, r, b] = rectangle;
  const POINT topLeft = {l, t}, topRight = {r, t}, bottomRight = {r, b}, bottomLeft = {l, b};
  const struct {
    POINT side;
    POINT corner[3];
  } kParts[] = {
      {Moved(topRight, -rx, 0),
       {Moved(topRight, hx - rx, 0), Moved(topRight, 0, ry - hy), Moved(topRight, 0, ry)}},
      {Moved(bottomRight, 0, -ry),
       {Moved(bottomRight, 0, hy - ry), Moved(bottomRight, hx - rx, 0),
        Moved(bottomRight, -rx, 0)}},
      {Moved(bottomLeft, rx, 0),
       {Moved(bottomLeft, rx - hx, 0), Moved(bottomLeft, 0, hy - ry), Moved(bottomLeft, 0, -ry)}},
      {Moved(topLeft, 0, ry),
       {Moved(topLeft, 0, ry - hy), Moved(topLeft, rx - hx, 0), Moved(topLeft, rx, 0)}},
  };
  const POINT start = Moved(topLeft, rx, 0);
  BeginPath(context);
  MoveToEx(context, start.x, start.y, nullptr);
  for (const auto& part : kParts) {
    LineTo(context, part.side.x, part.side.y);
    PolyBezierTo(context, part.corner, 3);
  }
  CloseFigure(context);
  EndPath(context);
}

void TextBoxRect(HDC context, int x, int y, LPCWSTR text, int length, RECT& rectangle,
                 HRGN* region) {
  rectangle = {};
  if (region != nullptr) *region = nullptr;
  if (length < 0) length = static_cast<int>(View(text).size());
  SIZE size;
  TEXTMETRICW metrics;
  if (!GetTextExtentPoint32W(context, text, length, &size) || !GetTextMetricsW(context, &metrics)) {
    return;
  }
  const POINT at = {x, y};
  const POINT corner = AlignedCorner(at, size, metrics.tmAscent, GetTextAlign(context));
  const POINT opposite = Moved(corner, size.cx, size.cy);
  rectangle = {corner.x, corner.y, opposite.x, opposite.y};
  if (region != nullptr) *region = TurnedRegion(context, rectangle, at);
}

}  // namespace kv
