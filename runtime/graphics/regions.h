// Regions for hit tests and invalidation. Corners that would pass the range of int lie at its
// nearer limit; the system refuses regions that are larger than it can hold. A region that a
// function returns belongs to the caller, who deletes it with DeleteObject. Null stands for the
// empty region where a region is an argument.
#pragma once

#include "runtime/core/win.h"

namespace kv {

// The region that a rectangle covers after a turn about `center` (null: the origin), made with
// `context` (null: the screen's), whose path is lost and whose other state stays. FALSE without a
// region when the system refuses a step.
BOOL RotatedRectRegion(const RECT& rectangle, double sine, double cosine, const POINT* center,
                       HRGN& region, HDC context = nullptr);

// The region that a line through the points covers when it is drawn `width` units wide with round
// ends. Null without points, for a single one, for a width of 1 or less, and when the system
// refuses a step. A segment whose points coincide is the disc around them.
HRGN ThickPolylineRegion(const POINT* points, int pointCount, int width);

// Combines a region with a rectangle in place (RGN_AND …); nothing for a null or empty rectangle.
void CombineRegionWithRect(HRGN region, const RECT* rectangle, int mode);

// A new region equal to the given one; null for null and on failure.
HRGN CopyRegion(HRGN region);

// Non-zero unless the region covers something.
BOOL IsRegionEmpty(HRGN region);

// Non-zero when the region is one rectangle, which `rectangle` (may be null) receives; it receives
// zeros otherwise.
BOOL GetRegionRect(HRGN region, RECT* rectangle);

// Non-zero when both cover the same, empty ones and null included.
BOOL RegionsEqual(HRGN a, HRGN b);

// Non-zero when the whole rectangle lies in the region.
BOOL RectInsideRegion(HRGN region, const RECT& rectangle);

}  // namespace kv
