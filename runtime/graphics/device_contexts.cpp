#include "runtime/graphics/device_contexts.h"

#include <iterator>

namespace kv {

WorldTransformScope::WorldTransformScope(HDC context)
    : context_(context), mode_(GetGraphicsMode(context)), transform_() {
  isKnown_ = GetWorldTransform(context, &transform_);
}

// The compatible mode can be entered only with the identity as transform.
WorldTransformScope::~WorldTransformScope() {
  if (isKnown_) ModifyWorldTransform(context_, nullptr, MWT_IDENTITY);
  if (mode_ != 0) SetGraphicsMode(context_, mode_);
  if (isKnown_) SetWorldTransform(context_, &transform_);
}

BOOL WorldTransformScope::Reset() const {
  return isKnown_ &&
         (ModifyWorldTransform(context_, nullptr, MWT_IDENTITY) || mode_ == GM_COMPATIBLE);
}

void RestoreDCKeepState(HDC context) {
  if (context == nullptr) return;
  constexpr UINT kKinds[] = {OBJ_BITMAP, OBJ_BRUSH, OBJ_PEN, OBJ_FONT};
  HGDIOBJ objects[std::size(kKinds)];
  for (size_t i = 0; i < std::size(kKinds); ++i) objects[i] = GetCurrentObject(context, kKinds[i]);
  const int rop2 = GetROP2(context);
  const COLORREF textColor = GetTextColor(context);
  const COLORREF backgroundColor = GetBkColor(context);
  const int backgroundMode = GetBkMode(context);
  const int fillMode = GetPolyFillMode(context);
  const int stretchMode = GetStretchBltMode(context);
  const UINT textAlignment = GetTextAlign(context);
  const int characterExtra = GetTextCharacterExtra(context);
  const WorldTransformScope transform(context);

  RestoreDC(context, -1);

  for (HGDIOBJ object : objects) {
    if (object != nullptr) SelectObject(context, object);
  }
  SetROP2(context, rop2);
  SetTextColor(context, textColor);
  SetBkColor(context, backgroundColor);
  SetBkMode(context, backgroundMode);
  SetPolyFillMode(context, fillMode);
  SetStretchBltMode(context, stretchMode);
  SetTextAlign(context, textAlignment);
  SetTextCharacterExtra(context, characterExtra);
}

}  // namespace kv
