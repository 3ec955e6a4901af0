#include "runtime/graphics/regions.h"

#include <cmath>
#include <iterator>
#include <utility>

#include "runtime/core/handles.h"
#include "runtime/graphics/device_contexts.h"
#include "runtime/graphics/points.h"

namespace kv {
namespace {

HRGN PathRegion(HDC context, const POINT (&outline)[5]) {
  const WorldTransformScope transform(context);
  if (!transform.Reset() || !BeginPath(context)) return nullptr;
  const BOOL isDrawn = Polygon(context, outline, static_cast<int>(std::size(outline)));
  // In every case: a path left open would swallow what the caller draws.
  return EndPath(context) && isDrawn ? PathToRegion(context) : nullptr;
}

BOOL Add(const UniqueRegion& to, const UniqueRegion& more) {
  return to && more && CombineRgn(to.Get(), to.Get(), more.Get(), RGN_OR) != RGN_ERROR;
}

// `number` * `half` / `length`, rounded as MulDiv does. The numbers are coordinates and half a
// width, so that the product fits.
LONGLONG Scale(LONGLONG number, int half, LONGLONG length) {
  const LONGLONG product = number * half;
  return (product < 0 ? product - length / 2 : product + length / 2) / length;
}

// The band of the segment, without its ends; empty when the points coincide.
UniqueRegion SegmentBody(const POINT& from, const POINT& to, int half) {
  const LONGLONG length = std::llround(Distance(from, to));
  if (length == 0) return UniqueRegion(CreateRectRgn(0, 0, 0, 0));
  const LONGLONG nx = Scale(LONGLONG{from.y} - to.y, half, length);
  const LONGLONG ny = Scale(LONGLONG{to.x} - from.x, half, length);
  const POINT corners[] = {Moved(from, nx, ny), Moved(from, -nx, -ny), Moved(to, -nx, -ny),
                           Moved(to, nx, ny)};
  return UniqueRegion(CreatePolygonRgn(corners, 4, WINDING));
}

UniqueRegion RoundEnd(const POINT& at, int half) {
  const POINT topLeft = Moved(at, -half, -half), bottomRight = Moved(at, half, half);
  return UniqueRegion(CreateEllipticRgn(topLeft.x, topLeft.y, bottomRight.x, bottomRight.y));
}

UniqueRegion SegmentRegion(const POINT& from, const POINT& to, int half) {
  UniqueRegion body = SegmentBody(from, to, half);
  if (Add(body, RoundEnd(from, half)) && Add(body, RoundEnd(to, half))) return body;
  return {};
}

// The union of many regions. Regions are joined with others of about their size first: each part of
// the outline is then walked a few times, and not once for every region that follows it.
class RegionUnion {
 public:
  // False when the system refuses.
  BOOL Take(UniqueRegion region) {
    if (!region) return FALSE;
    size_t level = 0;
    for (; joined_[level]; ++level) {
      if (!Add(region, std::exchange(joined_[level], UniqueRegion()))) return FALSE;
    }
    joined_[level] = std::move(region);
    return TRUE;
  }

  // Null when nothing was taken or the system refuses.
  HRGN Finish() {
    UniqueRegion whole;
    for (UniqueRegion& part : joined_) {
      if (!part) continue;
      if (whole && !Add(part, whole)) return nullptr;
      whole = std::move(part);
    }
    return whole.Release();
  }

 private:
  // The union of 2 to the power of its index of the regions taken; counts of 31 bits and the next.
  UniqueRegion joined_[32];
};

}  // namespace

BOOL RotatedRectRegion(const RECT& rectangle, double sine, double cosine, const POINT* center,
                       HRGN& region, HDC context) {
  POINT outline[5];
  RotateRect(rectangle, sine, cosine, center, nullptr, outline, 5);
  if (context != nullptr) {
    region = PathRegion(context, outline);
  } else {
    const ScreenContext screen;
    region = screen ? PathRegion(screen.Get(), outline) : nullptr;
  }
  return region != nullptr;
}

HRGN ThickPolylineRegion(const POINT* points, int pointCount, int width) {
  if (points == nullptr || pointCount <= 0 || width <= 1) return nullptr;
  const int half = width / 2;
  RegionUnion result;
  for (int i = 0; i < pointCount - 1; ++i) {
    if (!result.Take(SegmentRegion(points[i], points[i + 1], half))) return nullptr;
  }
  return result.Finish();
}

void CombineRegionWithRect(HRGN region, const RECT* rectangle, int mode) {
  if (rectangle == nullptr || rectangle->left >= rectangle->right ||
      rectangle->top >= rectangle->bottom) {
    return;
  }
  const UniqueRegion other(CreateRectRgnIndirect(rectangle));
  if (other) CombineRgn(region, region, other.Get(), mode);
}

HRGN CopyRegion(HRGN region) {
  if (region == nullptr) return nullptr;
  UniqueRegion copy(CreateRectRgn(0, 0, 0, 0));
  if (!copy || CombineRgn(copy.Get(), region, nullptr, RGN_COPY) == RGN_ERROR) return nullptr;
  return copy.Release();
}

BOOL IsRegionEmpty(HRGN region) {
  RECT box;
  const int kind = region == nullptr ? RGN_ERROR : GetRgnBox(region, &box);
  return kind != SIMPLEREGION && kind != COMPLEXREGION;
}

BOOL GetRegionRect(HRGN region, RECT* rectangle) {
  RECT box = {};
  const BOOL isRectangle = region != nullptr && GetRgnBox(region, &box) == SIMPLEREGION;
  if (rectangle != nullptr) *rectangle = isRectangle ? box : RECT();
  return isRectangle;
}

BOOL RegionsEqual(HRGN a, HRGN b) {
  if (a == b) return TRUE;
  if (IsRegionEmpty(a)) return IsRegionEmpty(b);
  if (IsRegionEmpty(b)) return FALSE;
  return EqualRgn(a, b);
}

BOOL RectInsideRegion(HRGN region, const RECT& rectangle) {
  const UniqueRegion whole(CreateRectRgnIndirect(&rectangle));
  const UniqueRegion inside(CreateRectRgn(0, 0, 0, 0));
  if (!whole || !inside || CombineRgn(inside.Get(), whole.Get(), region, RGN_AND) == RGN_ERROR) {
    return FALSE;
  }
  return EqualRgn(whole.Get(), inside.Get());
}

}  // namespace kv
