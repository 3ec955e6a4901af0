// Paths and clipping of device contexts.
#include <cmath>

#include "platform/gdi/device_context.h"
#include "platform/gdi/region_object.h"
#include "platform/kernel/api_call.h"
#include "platform/kernel/result.h"

namespace platform {
namespace {

// False when the point lies outside the device's coordinates.
bool ToDevice(const Transform& transform, const POINT& point, FixedPoint& device) {
  const double x = transform.X(point.x, point.y), y = transform.Y(point.x, point.y);
  if (!(std::fabs(x) < kMostCoordinate && std::fabs(y) < kMostCoordinate)) return false;
  device = {static_cast<int>(std::lround(x * kSubpixels)),
            static_cast<int>(std::lround(y * kSubpixels))};
  return true;
}

POINT ToLogical(const Transform& transform, const FixedPoint& device) {
  const double x = static_cast<double>(device.x) / kSubpixels - transform.dx;
  const double y = static_cast<double>(device.y) / kSubpixels - transform.dy;
  const double determinant = transform.m11 * transform.m22 - transform.m12 * transform.m21;
  return {static_cast<LONG>(std::lround((x * transform.m22 - y * transform.m21) / determinant)),
          static_cast<LONG>(std::lround((y * transform.m11 - x * transform.m12) / determinant))};
}

// The open path's context, or the error that there is none.
DWORD ContextWithOpenPath(HDC handle, DWORD otherwise, std::shared_ptr<DeviceContext>& context) {
  context = GdiObjectOf<DeviceContext>(handle);
  if (context == nullptr) return ERROR_INVALID_HANDLE;
  return context->open_path.has_value() ? ERROR_SUCCESS : otherwise;
}

DWORD AddLineTo(HDC handle, const POINT& to) {
  std::shared_ptr<DeviceContext> context;
  const DWORD error = ContextWithOpenPath(handle, ERROR_CALL_NOT_IMPLEMENTED, context);
  if (error != ERROR_SUCCESS) return error;
  ContextState& state = context->state();
  FixedPoint from, end;
  if (!ToDevice(state.transform, state.position, from) || !ToDevice(state.transform, to, end)) {
    return ERROR_INVALID_PARAMETER;
  }
  context->open_path->AddLine(from, end);
  state.position = to;
  return ERROR_SUCCESS;
}

DWORD AddCurvesTo(HDC handle, const POINT* points, DWORD count) {
  std::shared_ptr<DeviceContext> context;
  const DWORD error = ContextWithOpenPath(handle, ERROR_CALL_NOT_IMPLEMENTED, context);
  if (error != ERROR_SUCCESS) return error;
  if (points == nullptr || count == 0 || count % 3 != 0) return ERROR_INVALID_PARAMETER;
  ContextState& state = context->state();
  for (DWORD i = 0; i < count; i += 3) {
    FixedPoint from, to[3];
    bool fits = ToDevice(state.transform, state.position, from);
    for (int k = 0; k < 3; ++k) fits = fits && ToDevice(state.transform, points[i + k], to[k]);
    if (!fits) return ERROR_INVALID_PARAMETER;
    context->open_path->AddCurve(from, to);
    state.position = points[i + 2];
  }
  return ERROR_SUCCESS;
}

DWORD AddPolygon(HDC handle, const POINT* points, int count) {
  std::shared_ptr<DeviceContext> context;
  const DWORD error = ContextWithOpenPath(handle, ERROR_CALL_NOT_IMPLEMENTED, context);
  if (error != ERROR_SUCCESS) return error;
  if (points == nullptr || count < 2) return ERROR_INVALID_PARAMETER;
  Figure figure(count);
  for (int i = 0; i < count; ++i) {
    if (!ToDevice(context->state().transform, points[i], figure[i])) return ERROR_INVALID_PARAMETER;
  }
  context->open_path->AddClosedFigure(figure);
  return ERROR_SUCCESS;
}

// The finished path's context; null with the last error set when there is none.
std::shared_ptr<DeviceContext> RequirePath(HDC handle) {
  auto context = RequireGdiObject<DeviceContext>(handle);
  if (context == nullptr || context->path.has_value()) return context;
  SetLastError(ERROR_CAN_NOT_COMPLETE);
  return nullptr;
}

int WritePath(const DeviceContext& context, const Transform& transform, POINT* points, BYTE* types,
              int size) {
  const std::vector<PathPoint>& path = context.path->points();
  const int count = static_cast<int>(path.size());
  if (size == 0) return count;
  if (size < count) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return -1;
  }
  for (int i = 0; i < count; ++i) {
    points[i] = ToLogical(transform, path[i].point);
    types[i] = path[i].type;
  }
  return count;
}

// What can be drawn into.
Region Visible(DeviceContext& context) {
  const Bitmap* surface = context.surface();
  const Region whole(surface == nullptr
                         ? RECT{0, 0, context.Capability(HORZRES), context.Capability(VERTRES)}
                         : RECT{0, 0, surface->width(), surface->height()});
  const auto& clip = context.state().clip;
  return clip == nullptr ? whole : Region::Combine(whole, *clip, RGN_AND);
}

}  // namespace
}  // namespace platform

using namespace platform;

BOOL WINAPI BeginPath(HDC handle) {
  KV_API(BeginPath, ERROR_INVALID_HANDLE, FALSE, handle);
  const auto context = RequireGdiObject<DeviceContext>(handle);
  if (context == nullptr) return FALSE;
  context->open_path.emplace();
  context->path.reset();
  return TRUE;
}

BOOL WINAPI EndPath(HDC handle) {
  KV_API(EndPath, ERROR_CAN_NOT_COMPLETE, FALSE, handle);
  std::shared_ptr<DeviceContext> context;
  const DWORD error = ContextWithOpenPath(handle, ERROR_CAN_NOT_COMPLETE, context);
  if (error != ERROR_SUCCESS) return Finish(error);
  context->path = std::move(context->open_path);
  context->open_path.reset();
  return TRUE;
}

BOOL WINAPI MoveToEx(HDC handle, int x, int y, LPPOINT previous) {
  KV_API(MoveToEx, ERROR_INVALID_HANDLE, FALSE, handle, x, y, previous);
  const auto context = RequireGdiObject<DeviceContext>(handle);
  if (context == nullptr) return FALSE;
  if (previous != nullptr) *previous = context->state().position;
  context->state().position = {x, y};
  if (context->open_path.has_value()) context->open_path->BreakFigure();
  return TRUE;
}

BOOL WINAPI LineTo(HDC context, int x, int y) {
  KV_API(LineTo, ERROR_INVALID_HANDLE, FALSE, context, x, y);
  return Finish(AddLineTo(context, {x, y}));
}

BOOL WINAPI PolyBezierTo(HDC context, const POINT* points, DWORD count) {
  KV_API(PolyBezierTo, ERROR_INVALID_HANDLE, FALSE, context, points, count);
  return Finish(AddCurvesTo(context, points, count));
}

BOOL WINAPI Polygon(HDC context, const POINT* points, int count) {
  KV_API(Polygon, ERROR_INVALID_HANDLE, FALSE, context, points, count);
  return Finish(AddPolygon(context, points, count));
}

BOOL WINAPI CloseFigure(HDC handle) {
  KV_API(CloseFigure, ERROR_CAN_NOT_COMPLETE, FALSE, handle);
  std::shared_ptr<DeviceContext> context;
  const DWORD error = ContextWithOpenPath(handle, ERROR_CAN_NOT_COMPLETE, context);
  if (error != ERROR_SUCCESS) return Finish(error);
  context->open_path->CloseFigure();
  return TRUE;
}

int WINAPI GetPath(HDC handle, LPPOINT points, LPBYTE types, int size) {
  KV_API(GetPath, ERROR_CAN_NOT_COMPLETE, -1, handle, points, types, size);
  const auto context = RequirePath(handle);
  if (context == nullptr) return -1;
  return WritePath(*context, context->state().transform, points, types, size);
}

HRGN WINAPI PathToRegion(HDC handle) {
  KV_API(PathToRegion, ERROR_CAN_NOT_COMPLETE, nullptr, handle);
  const auto context = RequirePath(handle);
  if (context == nullptr) return nullptr;
  const std::vector<Figure> figures = context->path->Flatten();
  context->path.reset();
  return NewRegion(FillFigures(figures, context->state().fill_mode));
}

int WINAPI IntersectClipRect(HDC handle, int left, int top, int right, int bottom) {
  KV_API(IntersectClipRect, ERROR_INVALID_HANDLE, RGN_ERROR, handle, left, top, right, bottom);
  const auto context = RequireGdiObject<DeviceContext>(handle);
  if (context == nullptr) return RGN_ERROR;
  ContextState& state = context->state();
  if (!state.transform.IsIdentity()) {
    SetLastError(ERROR_CALL_NOT_IMPLEMENTED);
    return RGN_ERROR;
  }
  const Region rectangle(RECT{left, top, right, bottom});
  state.clip = std::make_shared<Region>(
      state.clip == nullptr ? rectangle : Region::Combine(*state.clip, rectangle, RGN_AND));
  return state.clip->Complexity();
}

int WINAPI GetClipBox(HDC handle, LPRECT rectangle) {
  KV_API(GetClipBox, ERROR_INVALID_HANDLE, RGN_ERROR, handle, rectangle);
  const auto context = RequireGdiObject<DeviceContext>(handle);
  if (context == nullptr) return RGN_ERROR;
  if (!context->state().transform.IsIdentity()) {
    SetLastError(ERROR_CALL_NOT_IMPLEMENTED);
    return RGN_ERROR;
  }
  const Region visible = Visible(*context);
  *rectangle = visible.Bounds();
  return visible.Complexity();
}
