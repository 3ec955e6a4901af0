#include "platform/gdi/path.h"

#include <algorithm>
#include <cmath>

namespace platform {
namespace {

// How far a chord may be from its curve, in sixteenths of a pixel.
constexpr double kTolerance = kSubpixels / 8.0;

// How far the middle of three points is from lying halfway between the others, twice.
double Bend(FixedPoint a, FixedPoint b, FixedPoint c) {
  return std::hypot(a.x - 2.0 * b.x + c.x, a.y - 2.0 * b.y + c.y);
}

// n equal steps of the parameter keep the chords within 3/4 of the greatest bend / n².
int StepsFor(FixedPoint start, const FixedPoint (&to)[3]) {
  const double bend = std::max(Bend(start, to[0], to[1]), Bend(to[0], to[1], to[2]));
  return std::max(1, static_cast<int>(std::ceil(std::sqrt(0.75 * bend / kTolerance))));
}

double CurveAt(double t, double a, double b, double c, double d) {
  const double u = 1 - t;
  return u * u * u * a + 3 * u * u * t * b + 3 * u * t * t * c + t * t * t * d;
}

void AddChords(Figure& figure, const FixedPoint (&to)[3]) {
  const FixedPoint start = figure.back();
  const int steps = StepsFor(start, to);
  for (int i = 1; i < steps; ++i) {
    const double t = static_cast<double>(i) / steps;
    figure.push_back(
        {static_cast<int>(std::lround(CurveAt(t, start.x, to[0].x, to[1].x, to[2].x))),
         static_cast<int>(std::lround(CurveAt(t, start.y, to[0].y, to[1].y, to[2].y)))});
  }
  figure.push_back(to[2]);
}

}  // namespace

void Path::BeginAt(FixedPoint position) {
  if (!is_open_) points_.push_back({position, PT_MOVETO});
  is_open_ = true;
}

void Path::AddLine(FixedPoint position, FixedPoint to) {
  BeginAt(position);
  points_.push_back({to, PT_LINETO});
}

void Path::AddCurve(FixedPoint position, const FixedPoint (&to)[3]) {
  BeginAt(position);
  for (const FixedPoint& point : to) points_.push_back({point, PT_BEZIERTO});
}

void Path::AddClosedFigure(const Figure& figure) {
  is_open_ = false;
  for (size_t i = 1; i < figure.size(); ++i) AddLine(figure[0], figure[i]);
  CloseFigure();
}

void Path::CloseFigure() {
  if (!is_open_) return;
  points_.back().type |= PT_CLOSEFIGURE;
  is_open_ = false;
}

std::vector<Figure> Path::Flatten() const {
  std::vector<Figure> figures;
  for (size_t i = 0; i < points_.size(); ++i) {
    const BYTE type = points_[i].type & ~PT_CLOSEFIGURE;
    if (type == PT_MOVETO) {
      figures.push_back({points_[i].point});
    } else if (type == PT_LINETO) {
      figures.back().push_back(points_[i].point);
    } else {
      AddChords(figures.back(), {points_[i].point, points_[i + 1].point, points_[i + 2].point});
      i += 2;
    }
  }
  return figures;
}

}  // namespace platform
