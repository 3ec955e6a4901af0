#include "runtime/graphics/shapes.h"

#include <algorithm>
#include <cmath>

#include "runtime/graphics/regions.h"
#include "runtime/text/wide_text.h"

namespace kv {
namespace {

constexpr double kRadiansPerDegree = 0.017453292519943295;

// All bits of a multi-bit alignment: TA_CENTER contains TA_RIGHT, TA_BASELINE contains TA_BOTTOM.
BOOL IsAligned(UINT alignment, UINT wanted) {
  return (alignment & wanted) == wanted;
}

POINT AlignedCorner(POINT at, const SIZE& size, LONG ascent, UINT alignment) {
  if (IsAligned(alignment, TA_CENTER)) {
    at.x -= size.cx / 2;
  } else if (IsAligned(alignment, TA_RIGHT)) {
    at.x -= size.cx;
  }
  if (IsAligned(alignment, TA_BASELINE)) {
    at.y -= ascent;
  } else if (IsAligned(alignment, TA_BOTTOM)) {
    at.y -= size.cy;
  }
  return at;
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
  const int width = rectangle.right - rectangle.left, height = rectangle.bottom - rectangle.top;
  const int rx = std::min(width / 8, height / 8 + 6);
  const int ry = std::min(height / 8, rx + 6);
  return {rx, ry, MulDiv(rx, 4, 9), MulDiv(ry, 4, 9)};
}

void RoundRectPath(HDC context, const RECT& rectangle) {
  const auto [rx, ry, hx, hy] = RoundRectRadii(rectangle);
  const auto [l, t, r, b] = rectangle;
  const struct {
    POINT side;
    POINT corner[3];
  } kParts[] = {
      {{r - rx, t}, {{r - rx + hx, t}, {r, t + ry - hy}, {r, t + ry}}},
      {{r, b - ry}, {{r, b - ry + hy}, {r - rx + hx, b}, {r - rx, b}}},
      {{l + rx, b}, {{l + rx - hx, b}, {l, b - ry + hy}, {l, b - ry}}},
      {{l, t + ry}, {{l, t + ry - hy}, {l + rx - hx, t}, {l + rx, t}}},
  };
  BeginPath(context);
  MoveToEx(context, l + rx, t, nullptr);
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
  rectangle = {corner.x, corner.y, corner.x + size.cx, corner.y + size.cy};
  if (region != nullptr) *region = TurnedRegion(context, rectangle, at);
}

}  // namespace kv
