// Regions as the system offers them.
#include "platform/gdi/polygon_fill.h"
#include "platform/gdi/region_object.h"
#include "platform/kernel/api_call.h"
#include "platform/kernel/result.h"

namespace platform {

HRGN NewRegion(Region region) {
  auto object = std::make_shared<RegionObject>();
  object->region = std::move(region);
  return static_cast<HRGN>(AddGdiObject(std::move(object)));
}

namespace {

HRGN Refuse(DWORD error) {
  SetLastError(error);
  return nullptr;
}

bool AreRegionCoordinates(const RECT& r) {
  return IsRegionCoordinate(r.left) && IsRegionCoordinate(r.top) && IsRegionCoordinate(r.right) &&
         IsRegionCoordinate(r.bottom);
}

HRGN RectangleRegion(const RECT& rectangle) {
  if (!AreRegionCoordinates(rectangle)) return Refuse(ERROR_INVALID_PARAMETER);
  return NewRegion(Region(rectangle));
}

HRGN EllipseRegion(const RECT& r) {
  if (!AreRegionCoordinates(r)) return Refuse(ERROR_INVALID_PARAMETER);
  if (std::abs(r.right - r.left) > Region::kMostOfEllipse ||
      std::abs(r.bottom - r.top) > Region::kMostOfEllipse) {
    return Refuse(ERROR_CALL_NOT_IMPLEMENTED);
  }
  return NewRegion(Region::Ellipse(r));
}

HRGN PolygonRegion(const POINT* points, int count, int fill_mode) {
  if (points == nullptr || count < 2 || (fill_mode != ALTERNATE && fill_mode != WINDING)) {
    return Refuse(ERROR_INVALID_PARAMETER);
  }
  Figure figure;
  for (int i = 0; i < count; ++i) {
    if (!IsRegionCoordinate(points[i].x) || !IsRegionCoordinate(points[i].y)) {
      return Refuse(ERROR_INVALID_PARAMETER);
    }
    figure.push_back({points[i].x * kSubpixels, points[i].y * kSubpixels});
  }
  return NewRegion(FillFigures({figure}, fill_mode));
}

int Combine(HRGN target_handle, HRGN a_handle, HRGN b_handle, int mode) {
  const auto target = RequireGdiObject<RegionObject>(target_handle);
  const auto a = RequireGdiObject<RegionObject>(a_handle);
  const auto b = mode == RGN_COPY ? a : RequireGdiObject<RegionObject>(b_handle);
  if (target == nullptr || a == nullptr || b == nullptr) return RGN_ERROR;
  if (mode < RGN_AND || mode > RGN_COPY) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return RGN_ERROR;
  }
  target->region = mode == RGN_COPY ? a->region : Region::Combine(a->region, b->region, mode);
  return target->region.Complexity();
}

}  // namespace
}  // namespace platform

using namespace platform;

HRGN WINAPI CreateRectRgn(int left, int top, int right, int bottom) {
  KV_API(CreateRectRgn, ERROR_NOT_ENOUGH_MEMORY, nullptr, left, top, right, bottom);
  return RectangleRegion({left, top, right, bottom});
}

HRGN WINAPI CreateRectRgnIndirect(const RECT* rectangle) {
  KV_API(CreateRectRgnIndirect, ERROR_NOT_ENOUGH_MEMORY, nullptr, rectangle);
  return RectangleRegion(*rectangle);
}

HRGN WINAPI CreateEllipticRgn(int left, int top, int right, int bottom) {
  KV_API(CreateEllipticRgn, ERROR_NOT_ENOUGH_MEMORY, nullptr, left, top, right, bottom);
  return EllipseRegion({left, top, right, bottom});
}

HRGN WINAPI CreatePolygonRgn(const POINT* points, int count, int fill_mode) {
  KV_API(CreatePolygonRgn, ERROR_NOT_ENOUGH_MEMORY, nullptr, points, count, fill_mode);
  return PolygonRegion(points, count, fill_mode);
}

int WINAPI CombineRgn(HRGN target, HRGN a, HRGN b, int mode) {
  KV_API(CombineRgn, ERROR_NOT_ENOUGH_MEMORY, RGN_ERROR, target, a, b, mode);
  return Combine(target, a, b, mode);
}

BOOL WINAPI EqualRgn(HRGN a_handle, HRGN b_handle) {
  KV_API(EqualRgn, ERROR_INVALID_HANDLE, FALSE, a_handle, b_handle);
  const auto a = RequireGdiObject<RegionObject>(a_handle);
  const auto b = RequireGdiObject<RegionObject>(b_handle);
  return a != nullptr && b != nullptr && a->region == b->region;
}

int WINAPI GetRgnBox(HRGN handle, LPRECT rectangle) {
  KV_API(GetRgnBox, ERROR_INVALID_HANDLE, RGN_ERROR, handle, rectangle);
  const auto object = RequireGdiObject<RegionObject>(handle);
  if (object == nullptr) return RGN_ERROR;
  *rectangle = object->region.Bounds();
  return object->region.Complexity();
}

BOOL WINAPI PtInRegion(HRGN handle, int x, int y) {
  KV_API_NOFAIL(PtInRegion, FALSE, handle, x, y);
  const auto object = RequireGdiObject<RegionObject>(handle);
  return object != nullptr && object->region.Contains(x, y);
}
