// Brushes and pens. Nothing draws with them yet; they are selected and kept.
#pragma once

#include "platform/gdi/gdi_object.h"

namespace platform {

struct Brush : GdiObject {
  explicit Brush(COLORREF brush_color) : color(brush_color) {}
  const COLORREF color;
};

struct Pen : GdiObject {
  Pen(int pen_width, COLORREF pen_color) : width(pen_width), color(pen_color) {}
  const int width;
  const COLORREF color;
};

}  // namespace platform
