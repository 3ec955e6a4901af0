// Copying pixels between device contexts.
#include "platform/gdi/device_context.h"
#include "platform/kernel/api_call.h"
#include "platform/kernel/result.h"

namespace platform {
namespace {

struct Area {
  int x, y, width, height;
};

using Context = std::shared_ptr<DeviceContext>;

// The colour of a pixel on its way from a monochrome bitmap is the target's text or background
// colour, and one on its way into a monochrome bitmap is white where it is the source's background.
void CopyPixel(DeviceContext& to, int x, int y, DeviceContext& from, int from_x, int from_y) {
  Bitmap& target = *to.surface();
  const Bitmap& source = *from.surface();
  if (target.bits_per_pixel() == source.bits_per_pixel()) {
    target.SetValue(x, y, source.Value(from_x, from_y));
  } else if (source.bits_per_pixel() == 1) {
    const bool is_set = source.Value(from_x, from_y) != 0;
    target.SetColor(x, y, is_set ? to.state().background_color : to.state().text_color);
  } else {
    const COLORREF color = source.Color(from_x, from_y);
    if (target.bits_per_pixel() == 1) {
      target.SetValue(x, y, color == from.state().background_color);
    } else {
      target.SetColor(x, y, color);
    }
  }
}

// Copies the pixels of the source that `wanted` names into the target's area, stretched to it.
template <class Wanted>
void CopyArea(DeviceContext& to, const Area& area, DeviceContext& from, const Area& source,
              Wanted wanted) {
  for (int row = 0; row < area.height; ++row) {
    const int y = area.y + row;
    const int from_y = source.y + static_cast<int>(LONGLONG{row} * source.height / area.height);
    for (int column = 0; column < area.width; ++column) {
      const int x = area.x + column;
      const int from_x = source.x + static_cast<int>(LONGLONG{column} * source.width / area.width);
      if (!to.Shows(x, y) || !from.surface()->Contains(from_x, from_y)) continue;
      if (wanted(from.surface()->Color(from_x, from_y))) {
        CopyPixel(to, x, y, from, from_x, from_y);
      }
    }
  }
}

// Whether pixels can go from one context to the other, and whether there is anything to copy.
DWORD CheckContexts(const Context& to, const Context& from) {
  if (to == nullptr || from == nullptr) return ERROR_INVALID_HANDLE;
  // Within one bitmap the areas may lie over each other.
  const bool same = to->surface() != nullptr && to->surface() == from->surface();
  if (same || !to->state().transform.IsIdentity() || !from->state().transform.IsIdentity()) {
    return ERROR_CALL_NOT_IMPLEMENTED;
  }
  return ERROR_SUCCESS;
}
bool HaveSurfaces(const Context& to, const Context& from) {
  return to->surface() != nullptr && from->surface() != nullptr;
}

DWORD CopyOpaque(HDC to_handle, const Area& area, HDC from_handle, int x, int y) {
  const auto to = GdiObjectOf<DeviceContext>(to_handle);
  const auto from = GdiObjectOf<DeviceContext>(from_handle);
  const DWORD error = CheckContexts(to, from);
  if (error != ERROR_SUCCESS) return error;
  // Such a size mirrors.
  if (area.width < 0 || area.height < 0) return ERROR_CALL_NOT_IMPLEMENTED;
  if (HaveSurfaces(to, from)) {
    CopyArea(*to, area, *from, {x, y, area.width, area.height}, [](COLORREF) { return true; });
  }
  return ERROR_SUCCESS;
}

DWORD CopyTransparent(HDC to_handle, const Area& area, HDC from_handle, const Area& source,
                      COLORREF transparent) {
  const auto to = GdiObjectOf<DeviceContext>(to_handle);
  const auto from = GdiObjectOf<DeviceContext>(from_handle);
  const DWORD error = CheckContexts(to, from);
  if (error != ERROR_SUCCESS) return error;
  if (area.width < 0 || area.height < 0 || source.width < 0 || source.height < 0) {
    return ERROR_INVALID_PARAMETER;
  }
  if (!HaveSurfaces(to, from)) return ERROR_SUCCESS;
  const Bitmap& bitmap = *from->surface();
  if (source.x < 0 || source.y < 0 || source.x > bitmap.width() - source.width ||
      source.y > bitmap.height() - source.height) {
    return ERROR_INVALID_PARAMETER;
  }
  CopyArea(*to, area, *from, source,
           [=](COLORREF color) { return color != (transparent & 0xFFFFFF); });
  return ERROR_SUCCESS;
}

}  // namespace
}  // namespace platform

using namespace platform;

COLORREF WINAPI GetPixel(HDC handle, int x, int y) {
  KV_API(GetPixel, ERROR_INVALID_HANDLE, CLR_INVALID, handle, x, y);
  const auto context = RequireGdiObject<DeviceContext>(handle);
  if (context == nullptr) return CLR_INVALID;
  const Transform& transform = context->state().transform;
  if (!transform.IsIdentity()) {
    SetLastError(ERROR_CALL_NOT_IMPLEMENTED);
    return CLR_INVALID;
  }
  return context->Shows(x, y) ? context->surface()->Color(x, y) : CLR_INVALID;
}

BOOL WINAPI BitBlt(HDC target, int x, int y, int width, int height, HDC source, int source_x,
                   int source_y, DWORD operation) {
  KV_API(BitBlt, ERROR_INVALID_HANDLE, FALSE, target, x, y, width, height, source, source_x,
         source_y, operation);
  if (operation != SRCCOPY) return Finish(ERROR_CALL_NOT_IMPLEMENTED);
  return Finish(CopyOpaque(target, {x, y, width, height}, source, source_x, source_y));
}

BOOL WINAPI TransparentBlt(HDC target, int x, int y, int width, int height, HDC source,
                           int source_x, int source_y, int source_width, int source_height,
                           UINT transparent) {
  KV_API(TransparentBlt, ERROR_INVALID_PARAMETER, FALSE, target, x, y, width, height, source,
         source_x, source_y, source_width, source_height, transparent);
  return Finish(CopyTransparent(target, {x, y, width, height}, source,
                                {source_x, source_y, source_width, source_height}, transparent));
}
