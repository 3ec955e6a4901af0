#include "runtime/graphics/points.h"

#include <algorithm>
#include <climits>
#include <cmath>

namespace kv {

int RoundToInt(double value) {
  const double rounded = value > 0 ? value + 0.5 : value - 0.5;
  if (rounded >= INT_MAX) return INT_MAX;
  if (rounded <= INT_MIN) return INT_MIN;
  return static_cast<int>(rounded);
}

double Distance(const POINT& a, const POINT& b) {
  const double dx = std::fabs(static_cast<double>(b.x) - a.x);
  const double dy = std::fabs(static_cast<double>(b.y) - a.y);
  if (dx == 0) return dy;
  if (dy == 0) return dx;
  return std::sqrt(dx * dx + dy * dy);
}

int PointDistance(const POINT& a, const POINT& b) {
  return RoundToInt(Distance(a, b));
}

POINT Moved(const POINT& point, LONGLONG dx, LONGLONG dy) {
  const auto clamp = [](LONGLONG value) {
    return static_cast<int>(std::clamp<LONGLONG>(value, INT_MIN, INT_MAX));
  };
  return {clamp(point.x + dx), clamp(point.y + dy)};
}

void RotatePoint(POINT& point, double sine, double cosine, const POINT* center, POINT* output) {
  const POINT middle = center == nullptr ? POINT() : *center;
  const double x = static_cast<double>(point.x) - middle.x;
  const double y = static_cast<double>(point.y) - middle.y;
  POINT& turned = output == nullptr ? point : *output;
  turned = Moved(middle, RoundToInt(x * cosine + y * sine), RoundToInt(-x * sine + y * cosine));
}

void RotateRect(const RECT& rectangle, double sine, double cosine, const POINT* center,
                RECT* bounds, POINT* points, int pointCount) {
  POINT corners[] = {{rectangle.left, rectangle.top},
                     {rectangle.right, rectangle.top},
                     {rectangle.right, rectangle.bottom},
                     {rectangle.left, rectangle.bottom}};
  for (POINT& corner : corners) RotatePoint(corner, sine, cosine, center);
  if (bounds != nullptr) {
    const auto [left, right] =
        std::minmax({corners[0].x, corners[1].x, corners[2].x, corners[3].x});
    const auto [top, bottom] =
        std::minmax({corners[0].y, corners[1].y, corners[2].y, corners[3].y});
    *bounds = {left, top, right, bottom};
  }
  if (points == nullptr) return;
  std::copy_n(corners, 4, points);
  if (pointCount == 5) points[4] = corners[0];
}

}  // namespace kv
