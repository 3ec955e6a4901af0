#include "runtime/ui/transparent_bitmap.h"

#include "runtime/core/find_proc.h"
#include "runtime/core/startup_context.h"

namespace kv {
namespace {

using TransparentBltFunction = BOOL(WINAPI*)(HDC, int, int, int, int, HDC, int, int, int, int,
                                             UINT);

// Null where the system lacks it.
TransparentBltFunction FindTransparentBlt() {
  return FindProc<TransparentBltFunction>(startupContext.msimg32.LoadOnce(TEXT("msimg32.dll")),
                                          "TransparentBlt");
}

// A memory device context with a bitmap in it.
class BitmapContext {
 public:
  BitmapContext(HDC like, HBITMAP bitmap) : context_(CreateCompatibleDC(like)) {
    if (context_ != nullptr) old_ = SelectObject(context_, bitmap);
  }
  ~BitmapContext() {
    if (old_ != nullptr) SelectObject(context_, old_);
    if (context_ != nullptr) DeleteDC(context_);
  }
  BitmapContext(const BitmapContext&) = delete;
  BitmapContext& operator=(const BitmapContext&) = delete;

  explicit operator bool() const { return old_ != nullptr; }
  HDC Get() const { return context_; }

 private:
  HDC context_;
  HGDIOBJ old_ = nullptr;
};

}  // namespace

BOOL DrawTransparent(HDC target, int x, int y, HBITMAP bitmap, COLORREF transparent) {
  BITMAP size = {};
  if (bitmap == nullptr || GetObjectW(bitmap, sizeof(size), &size) == 0) return FALSE;
  const BitmapContext source(target, bitmap);
  if (!source) return FALSE;
  const int width = static_cast<int>(size.bmWidth), height = static_cast<int>(size.bmHeight);
  if (const auto draw = FindTransparentBlt()) {
    return draw(target, x, y, width, height, source.Get(), 0, 0, width, height, transparent);
  }
  return BitBlt(target, x, y, width, height, source.Get(), 0, 0, SRCCOPY);
}

}  // namespace kv
