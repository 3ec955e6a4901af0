// What the graphics helpers do when the system refuses a call or memory runs out.
#include <climits>

#include "runtime/core/handles.h"
#include "runtime/graphics/bitmap_rotation.h"
#include "runtime/graphics/device_contexts.h"
#include "runtime/graphics/regions.h"
#include "runtime/graphics/shapes.h"
#include "tests/support/machine_test.h"
#include "tests/support/sweep.h"

namespace kv::test {
namespace {

class GraphicsFailuresTest : public MachineTest {
 protected:
  static bool WasHit() { return platform::InjectedFailures() != 0 || AllocationFailed(); }
};

TEST_F(GraphicsFailuresTest, RegionsAreMadeWholeOrNotAtAll) {
  const POINT line[] = {{0, 0}, {40, 60}, {40, 60}, {90, -20}, {15, 30}};
  const UniqueRegion whole(ThickPolylineRegion(line, 5, 8));
  SweepFailures([&] {
    const UniqueRegion region(ThickPolylineRegion(line, 5, 8));
    EXPECT_EQ(region.Get() == nullptr, WasHit());
    if (region) {
      const platform::OutsideTest outside;
      EXPECT_TRUE(EqualRgn(region.Get(), whole.Get()));
    }
  });
  SweepFailures([&] {
    const UniqueRegion copy(CopyRegion(whole.Get()));
    EXPECT_EQ(copy.Get() == nullptr, WasHit());
  });
  SweepFailures([&] {
    const bool inside = RectInsideRegion(whole.Get(), {1, 1, 2, 2}) != 0;
    EXPECT_NE(inside, WasHit());
  });
}

// A refused step may leave the context neither in another coordinate system nor with an open path.
TEST_F(GraphicsFailuresTest, TheContextKeepsItsTransform) {
  const ScreenContext screen;
  SetGraphicsMode(screen.Get(), GM_ADVANCED);
  const XFORM scaled = {2, 0, 0, 2, 5, 5};
  SweepFailures([&] {
    {
      const platform::OutsideTest outside;
      SetWorldTransform(screen.Get(), &scaled);
    }
    HRGN made = nullptr;
    const BOOL succeeded = RotatedRectRegion({0, 0, 10, 20}, 0, 1, nullptr, made, screen.Get());
    const UniqueRegion region(made);
    EXPECT_EQ(succeeded, made != nullptr);
    RECT box = {};
    const platform::OutsideTest outside;
    if (succeeded) {
      GetRgnBox(made, &box);
      EXPECT_EQ(box.right, 10);
    }
    EXPECT_TRUE(!EndPath(screen.Get()) || platform::LastInjectedFunction() == "EndPath");
    XFORM now = {};
    GetWorldTransform(screen.Get(), &now);
    const bool refusedAtTheEnd = platform::LastInjectedFunction() == "SetWorldTransform" ||
                                 platform::LastInjectedFunction() == "GetWorldTransform";
    EXPECT_TRUE(now.eM11 == 2 || refusedAtTheEnd) << platform::LastInjectedFunction();
  });
}

TEST_F(GraphicsFailuresTest, BitmapsAreTurnedOrNotAtAll) {
  const HDC context = CreateCompatibleDC(nullptr);
  const HBITMAP bitmap = CreateBitmap(400, 300, 1, 4, nullptr);
  for (const auto rotate : {RotateBitmapQuarter, RotateBitmapHalf}) {
    SweepFailures([&] {
      TurnedBitmap turned;
      const BOOL succeeded = rotate(context, bitmap, turned);
      EXPECT_NE(succeeded != 0, WasHit());
      EXPECT_EQ(turned.bits != nullptr, succeeded != 0);
      EXPECT_EQ(turned.header != nullptr, succeeded != 0);
    });
  }
  DeleteObject(bitmap);
  DeleteDC(context);
}

TEST_F(GraphicsFailuresTest, BitmapsTooLargeForAnyMemory) {
  const HDC context = CreateCompatibleDC(nullptr);
  const HBITMAP bitmap = CreateBitmap(1, 1, 1, 1, nullptr);
  platform::Replace(
      "GetDIBits", +[](HDC, HBITMAP, UINT, UINT, LPVOID, LPBITMAPINFO info, UINT) {
        info->bmiHeader.biWidth = INT_MAX;
        info->bmiHeader.biHeight = INT_MAX;
        info->bmiHeader.biBitCount = 32;
        return 1;
      });
  TurnedBitmap turned;
  EXPECT_FALSE(RotateBitmapQuarter(context, bitmap, turned));
  EXPECT_FALSE(RotateBitmapHalf(context, bitmap, turned));
  EXPECT_EQ(turned.header, nullptr);
  DeleteObject(bitmap);
  DeleteDC(context);
}

}  // namespace
}  // namespace kv::test
