// Brushes and pens. Nothing is drawn with them; they are selected and kept.
#pragma once

#include "platform/gdi/gdi_object.h"

namespace platform {

struct Brush : GdiObject {};
struct Pen : GdiObject {};

}  // namespace platform
