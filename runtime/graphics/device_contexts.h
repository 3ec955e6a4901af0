// Device contexts: owning them, keeping parts of their state, and going back to a saved state.
#pragma once

#include "runtime/core/win.h"

namespace kv {

// The screen's device context, given back at the end.
class ScreenContext {
 public:
  ScreenContext() : context_(GetDC(nullptr)) {}
  ~ScreenContext() {
    if (context_ != nullptr) ReleaseDC(nullptr, context_);
  }
  ScreenContext(const ScreenContext&) = delete;
  ScreenContext& operator=(const ScreenContext&) = delete;

  explicit operator bool() const { return context_ != nullptr; }
  HDC Get() const { return context_; }

 private:
  HDC context_;
};

// Gives a context its graphics mode and world transform back.
class WorldTransformScope {
 public:
  explicit WorldTransformScope(HDC context);
  ~WorldTransformScope();
  WorldTransformScope(const WorldTransformScope&) = delete;
  WorldTransformScope& operator=(const WorldTransformScope&) = delete;

  // Makes the identity the world transform meanwhile, which in the compatible mode it always is.
  // FALSE when the system refuses, and when the transform could not be given back.
  BOOL Reset() const;

 private:
  HDC context_;
  int mode_;
  XFORM transform_;
  BOOL isKnown_;
};

// Goes back to the state saved last (its clipping, position and so on), while the selected objects,
// the colours, modes, text alignment and spacing, graphics mode and world transform stay as they
// are. Nothing for a null context.
void RestoreDCKeepState(HDC context);

}  // namespace kv
