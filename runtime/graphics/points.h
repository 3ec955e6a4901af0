// Points and rectangles in whole device units, and their rotation. An angle is passed as its sine
// and cosine, so that a caller that turns many points computes them once; on a device, whose y
// grows downwards, a positive angle turns against the clock.
#pragma once

#include "runtime/core/win.h"

namespace kv {

// Results beyond the range of int are its nearer limit everywhere.

// The nearest whole number, halves away from zero.
int RoundToInt(double value);

// The distance of two points, and the same rounded.
double Distance(const POINT& a, const POINT& b);
int PointDistance(const POINT& a, const POINT& b);

// The point (dx, dy) away.
POINT Moved(const POINT& point, LONGLONG dx, LONGLONG dy);

// Turns a point about `center` (null: the origin) into `output` (null: in place).
void RotatePoint(POINT& point, double sine, double cosine, const POINT* center = nullptr,
                 POINT* output = nullptr);

// Turns the corners of a rectangle about `center` (null: the origin): top left, top right, bottom
// right, bottom left into `points`, the first again when `pointCount` is 5 (else it is 4), and the
// smallest rectangle around them into `bounds`. Both outputs may be null.
void RotateRect(const RECT& rectangle, double sine, double cosine, const POINT* center,
                RECT* bounds, POINT* points, int pointCount);

}  // namespace kv
