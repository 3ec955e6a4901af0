// The path of a device context: points in sixteenths of a device pixel with their types.
#pragma once

#include <windows.h>

#include <vector>

#include "platform/gdi/polygon_fill.h"

namespace platform {

struct PathPoint {
  FixedPoint point;
  BYTE type;  // PT_…
};

class Path {
 public:
  // The next line or curve begins a figure at `position`, the context's.
  void BreakFigure() { is_open_ = false; }
  void AddLine(FixedPoint position, FixedPoint to);
  // Two handles and an end point.
  void AddCurve(FixedPoint position, const FixedPoint (&to)[3]);
  void AddClosedFigure(const Figure& figure);
  void CloseFigure();

  const std::vector<PathPoint>& points() const { return points_; }
  // The figures with their curves as lines.
  std::vector<Figure> Flatten() const;

 private:
  void BeginAt(FixedPoint position);

  std::vector<PathPoint> points_;
  bool is_open_ = false;
};

}  // namespace platform
