// Regions, bitmaps and device contexts when calls and allocations fail.
#include "runtime/core/handles.h"
#include "runtime/graphics/bitmap_rotation.h"
#include "runtime/graphics/device_contexts.h"
#include "runtime/graphics/regions.h"
#include "runtime/graphics/shapes.h"
#include "runtime/graphics/turn_bits.h"
#include "tests/support/sweep.h"

namespace kv::test {
namespace {

constexpr POINT kLine[] = {{0, 0}, {40, 60}, {40, 60}, {90, -20}, {15, 30}};

using Rotation = decltype(&RotateBitmapQuarter);

void Rotate(Attempt& attempt, Rotation rotate) {
  const HDC context = CreateCompatibleDC(nullptr);
  const HBITMAP bitmap = CreateBitmap(400, 300, 1, 4, nullptr);
  TurnedBitmap turned;
  const BOOL done = attempt.Call([&] { return rotate(context, bitmap, turned); });
  attempt.Expect(done, turned.bits != nullptr && turned.header != nullptr,
                 turned.bits == nullptr && turned.header == nullptr);
  EXPECT_EQ(done, !attempt.hit());
  DeleteObject(bitmap);
  DeleteDC(context);
}

SWEEP_AREA(Graphics, RuntimeTest);

SCENARIO(Graphics, ThickPolyline) {
  const UniqueRegion whole(ThickPolylineRegion(kLine, 5, 8));
  const UniqueRegion region(attempt.Call([] { return ThickPolylineRegion(kLine, 5, 8); }));
  attempt.Expect(static_cast<bool>(region), EqualRgn(region.Get(), whole.Get()));
  EXPECT_EQ(static_cast<bool>(region), !attempt.hit());
}

SCENARIO(Graphics, RegionOperations) {
  const UniqueRegion whole(CreateRectRgn(0, 0, 10, 10));
  UniqueRegion copy;
  bool inside = false, empty = true, equal = false, is_rectangle = false;
  RECT box = {};
  attempt.Call([&] {
    copy.Reset(CopyRegion(whole.Get()));
    inside = RectInsideRegion(whole.Get(), {1, 1, 2, 2});
    empty = IsRegionEmpty(whole.Get());
    equal = RegionsEqual(whole.Get(), copy.Get());
    is_rectangle = GetRegionRect(whole.Get(), &box);
  });
  attempt.Expect(static_cast<bool>(copy), EqualRgn(copy.Get(), whole.Get()));
  EXPECT_TRUE(attempt.hit() || (inside && !empty && equal && is_rectangle));
  EXPECT_EQ(is_rectangle, box.right == 10);
}

SCENARIO(Graphics, CombineRegionWithRect) {
  const UniqueRegion region(CreateRectRgn(0, 0, 10, 10));
  const RECT more = {10, 0, 20, 10};
  attempt.Call([&] { CombineRegionWithRect(region.Get(), &more, RGN_OR); });
  RECT box = {};
  GetRgnBox(region.Get(), &box);
  attempt.Expect(box.right == 20, true, box.right == 10);
}

SCENARIO(Graphics, RotatedRectRegion) {
  // A refused step may leave the context neither in another coordinate system nor with an
  // open path.
  const ScreenContext screen;
  SetGraphicsMode(screen.Get(), GM_ADVANCED);
  const XFORM scaled = {2, 0, 0, 2, 5, 5};
  SetWorldTransform(screen.Get(), &scaled);
  HRGN made = nullptr;
  const BOOL done = attempt.Call([&] {
    return RotatedRectRegion({0, 0, 10, 20}, 0, 1, nullptr, made, screen.Get());
  });
  const UniqueRegion region(made);
  RECT box = {};
  if (made != nullptr) GetRgnBox(made, &box);
  attempt.Expect(done, box.right == 10, made == nullptr);
  EXPECT_TRUE(!EndPath(screen.Get()) || attempt.failed().starts_with("EndPath"));
  XFORM now = {};
  GetWorldTransform(screen.Get(), &now);
  EXPECT_TRUE(now.eM11 == 2 || attempt.failed().starts_with("SetWorldTransform") ||
              attempt.failed().starts_with("GetWorldTransform"));
}

SCENARIO(Graphics, RotatedOnTheScreen) {
  HRGN made = nullptr;
  const BOOL done = attempt.Call([&] {
    return RotatedRectRegion({0, 0, 9, 9}, 0, 1, nullptr, made);
  });
  const UniqueRegion region(made);
  attempt.Expect(done, made != nullptr, made == nullptr);
}

SCENARIO(Graphics, QuarterTurn) {
  Rotate(attempt, &RotateBitmapQuarter);
}

SCENARIO(Graphics, HalfTurn) {
  Rotate(attempt, &RotateBitmapHalf);
}

SCENARIO(Graphics, Bits) {
  BYTE bits[8] = {1, 2, 3, 4, 5, 6, 7, 8}, quarter[8] = {};
  BOOL turned = FALSE;
  const BOOL done = attempt.Call([&] {
    turned = TurnBitsQuarter(bits, quarter, 1, 2, 32);
    return TurnBitsHalf(bits, 1, 2, 32);
  });
  EXPECT_TRUE(turned && quarter[0] == 5);
  attempt.Expect(done, bits[0] == 5 && bits[4] == 1, bits[0] == 1 && bits[4] == 5);
}

SCENARIO(Graphics, RestoreDCKeepState) {
  const HDC context = CreateCompatibleDC(nullptr);
  SetTextColor(context, 1);
  SaveDC(context);
  SetTextColor(context, 2);
  IntersectClipRect(context, 0, 0, 0, 0);
  attempt.Call([&] { RestoreDCKeepState(context); });
  attempt.Expect(GetTextColor(context) == 2, true);
  DeleteDC(context);
}

SCENARIO(Graphics, WorldTransformScope) {
  const ScreenContext screen;
  SetGraphicsMode(screen.Get(), GM_ADVANCED);
  const XFORM scaled = {2, 0, 0, 2, 5, 5};
  SetWorldTransform(screen.Get(), &scaled);
  const BOOL reset = attempt.Call([&] {
    const WorldTransformScope scope(screen.Get());
    return scope.Reset();
  });
  XFORM now = {};
  GetWorldTransform(screen.Get(), &now);
  const bool may_differ = attempt.failed().starts_with("SetWorldTransform");
  attempt.Expect(reset, now.eM11 == 2 || may_differ, now.eM11 == 2);
}

SCENARIO(Graphics, Shapes) {
  const ScreenContext screen;
  RECT box = {};
  HRGN region = nullptr;
  attempt.Call([&] {
    RoundRectPath(screen.Get(), {0, 0, 100, 50});
    TextBoxRect(screen.Get(), 3, 4, TEXT("text"), -1, box, &region);
  });
  EXPECT_EQ(region, nullptr) << "of a font that is not turned";
  EXPECT_TRUE(box.left == 3 || (attempt.hit() && box.right == 0));
}

}  // namespace
}  // namespace kv::test
