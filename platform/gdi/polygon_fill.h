// Which pixels polygons cover.
#pragma once

#include <vector>

#include "platform/gdi/region.h"

namespace platform {

// A point in sixteenths of a pixel; whole pixels are region coordinates.
struct FixedPoint {
  int x, y;
  bool operator==(const FixedPoint&) const = default;
};
inline constexpr int kSubpixels = 16;

using Figure = std::vector<FixedPoint>;

// The pixels whose upper left corners lie in the closed figures together, by `fill_mode` (ALTERNATE
// or WINDING), or on their left or upper edges.
Region FillFigures(const std::vector<Figure>& figures, int fill_mode);

}  // namespace platform
