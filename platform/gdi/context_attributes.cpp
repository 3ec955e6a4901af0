// What a device context's state holds, read and set one by one.
#include <utility>

#include "platform/gdi/device_context.h"
#include "platform/kernel/api_call.h"
#include "platform/kernel/result.h"

namespace platform {
namespace {

template <class T>
T Get(HDC handle, T ContextState::*field, T failure) {
  const auto context = RequireGdiObject<DeviceContext>(handle);
  return context == nullptr ? failure : context->state().*field;
}

// Sets a value that `is_valid`; returns the previous one.
template <class T>
T Set(HDC handle, T ContextState::*field, T value, bool is_valid, T failure) {
  const auto context = RequireGdiObject<DeviceContext>(handle);
  if (context == nullptr) return failure;
  if (!is_valid) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return failure;
  }
  return std::exchange(context->state().*field, value);
}

bool IsBetween(int value, int first, int last) {
  return value >= first && value <= last;
}

DWORD SetTransform(HDC handle, const Transform& transform) {
  const auto context = GdiObjectOf<DeviceContext>(handle);
  if (context == nullptr) return ERROR_INVALID_HANDLE;
  if (context->state().graphics_mode != GM_ADVANCED) return ERROR_CAN_NOT_COMPLETE;
  if (!transform.IsInvertible()) return ERROR_INVALID_PARAMETER;
  context->state().transform = transform;
  return ERROR_SUCCESS;
}

DWORD ModifyTransform(HDC handle, const XFORM* change, DWORD mode) {
  if (mode == MWT_IDENTITY) return SetTransform(handle, Transform());
  const auto context = GdiObjectOf<DeviceContext>(handle);
  if (context == nullptr) return ERROR_INVALID_HANDLE;
  if (change == nullptr || (mode != MWT_LEFTMULTIPLY && mode != MWT_RIGHTMULTIPLY)) {
    return ERROR_INVALID_PARAMETER;
  }
  const Transform& present = context->state().transform;
  const Transform other = Transform::From(*change);
  return SetTransform(handle, mode == MWT_LEFTMULTIPLY ? other.Then(present) : present.Then(other));
}

constexpr int kNoExtra = static_cast<int>(0x80000000);
constexpr UINT kAlignmentBits = TA_CENTER | TA_BASELINE;

}  // namespace
}  // namespace platform

using namespace platform;

int WINAPI GetROP2(HDC context) {
  KV_API_NOFAIL(GetROP2, 0, context);
  return Get(context, &ContextState::rop2, 0);
}

int WINAPI SetROP2(HDC context, int mode) {
  KV_API(SetROP2, ERROR_INVALID_PARAMETER, 0, context, mode);
  return Set(context, &ContextState::rop2, mode, IsBetween(mode, R2_BLACK, R2_LAST), 0);
}

COLORREF WINAPI GetTextColor(HDC context) {
  KV_API_NOFAIL(GetTextColor, CLR_INVALID, context);
  return Get<COLORREF>(context, &ContextState::text_color, CLR_INVALID);
}

COLORREF WINAPI SetTextColor(HDC context, COLORREF color) {
  KV_API(SetTextColor, ERROR_INVALID_PARAMETER, CLR_INVALID, context, color);
  return Set<COLORREF>(context, &ContextState::text_color, color, true, CLR_INVALID);
}

COLORREF WINAPI GetBkColor(HDC context) {
  KV_API_NOFAIL(GetBkColor, CLR_INVALID, context);
  return Get<COLORREF>(context, &ContextState::background_color, CLR_INVALID);
}

COLORREF WINAPI SetBkColor(HDC context, COLORREF color) {
  KV_API(SetBkColor, ERROR_INVALID_PARAMETER, CLR_INVALID, context, color);
  return Set<COLORREF>(context, &ContextState::background_color, color, true, CLR_INVALID);
}

int WINAPI GetBkMode(HDC context) {
  KV_API_NOFAIL(GetBkMode, 0, context);
  return Get(context, &ContextState::background_mode, 0);
}

int WINAPI SetBkMode(HDC context, int mode) {
  KV_API(SetBkMode, ERROR_INVALID_PARAMETER, 0, context, mode);
  return Set(context, &ContextState::background_mode, mode, IsBetween(mode, TRANSPARENT, OPAQUE),
             0);
}

int WINAPI GetPolyFillMode(HDC context) {
  KV_API_NOFAIL(GetPolyFillMode, 0, context);
  return Get(context, &ContextState::fill_mode, 0);
}

int WINAPI SetPolyFillMode(HDC context, int mode) {
  KV_API(SetPolyFillMode, ERROR_INVALID_PARAMETER, 0, context, mode);
  return Set(context, &ContextState::fill_mode, mode, IsBetween(mode, ALTERNATE, WINDING), 0);
}

int WINAPI GetStretchBltMode(HDC context) {
  KV_API_NOFAIL(GetStretchBltMode, 0, context);
  return Get(context, &ContextState::stretch_mode, 0);
}

int WINAPI SetStretchBltMode(HDC context, int mode) {
  KV_API(SetStretchBltMode, ERROR_INVALID_PARAMETER, 0, context, mode);
  return Set(context, &ContextState::stretch_mode, mode, IsBetween(mode, BLACKONWHITE, HALFTONE),
             0);
}

UINT WINAPI GetTextAlign(HDC context) {
  KV_API_NOFAIL(GetTextAlign, GDI_ERROR, context);
  return Get<UINT>(context, &ContextState::text_alignment, GDI_ERROR);
}

UINT WINAPI SetTextAlign(HDC context, UINT alignment) {
  KV_API(SetTextAlign, ERROR_INVALID_PARAMETER, GDI_ERROR, context, alignment);
  return Set<UINT>(context, &ContextState::text_alignment, alignment,
                   (alignment & ~kAlignmentBits) == 0, GDI_ERROR);
}

int WINAPI GetTextCharacterExtra(HDC context) {
  KV_API_NOFAIL(GetTextCharacterExtra, kNoExtra, context);
  return Get(context, &ContextState::character_extra, kNoExtra);
}

int WINAPI SetTextCharacterExtra(HDC context, int extra) {
  KV_API(SetTextCharacterExtra, ERROR_INVALID_PARAMETER, kNoExtra, context, extra);
  return Set(context, &ContextState::character_extra, extra, true, kNoExtra);
}

int WINAPI GetGraphicsMode(HDC context) {
  KV_API_NOFAIL(GetGraphicsMode, 0, context);
  return Get(context, &ContextState::graphics_mode, 0);
}

int WINAPI SetGraphicsMode(HDC handle, int mode) {
  KV_API(SetGraphicsMode, ERROR_INVALID_PARAMETER, 0, handle, mode);
  const auto context = GdiObjectOf<DeviceContext>(handle);
  const bool can_leave = context != nullptr && context->state().transform.IsIdentity();
  return Set(handle, &ContextState::graphics_mode, mode,
             mode == GM_ADVANCED || (mode == GM_COMPATIBLE && can_leave), 0);
}

BOOL WINAPI GetWorldTransform(HDC handle, LPXFORM transform) {
  KV_API(GetWorldTransform, ERROR_INVALID_HANDLE, FALSE, handle, transform);
  const auto context = RequireGdiObject<DeviceContext>(handle);
  if (context == nullptr) return FALSE;
  *transform = context->state().transform.ToXform();
  return TRUE;
}

BOOL WINAPI SetWorldTransform(HDC context, const XFORM* transform) {
  KV_API(SetWorldTransform, ERROR_INVALID_PARAMETER, FALSE, context, transform);
  return Finish(SetTransform(context, Transform::From(*transform)));
}

BOOL WINAPI ModifyWorldTransform(HDC context, const XFORM* transform, DWORD mode) {
  KV_API(ModifyWorldTransform, ERROR_INVALID_PARAMETER, FALSE, context, transform, mode);
  return Finish(ModifyTransform(context, transform, mode));
}
