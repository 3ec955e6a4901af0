// Regions as objects with handles.
#pragma once

#include "platform/gdi/gdi_object.h"
#include "platform/gdi/region.h"

namespace platform {

struct RegionObject : GdiObject {
  Region region;
};

HRGN NewRegion(Region region);

}  // namespace platform
