// Bitmaps and regions beyond what the system can hold.
#include <climits>

#include "runtime/graphics/bitmap_rotation.h"
#include "runtime/graphics/regions.h"
#include "tests/support/machine_test.h"

namespace kv::test {
namespace {

using GraphicsFailuresTest = MachineTest;

TEST_F(GraphicsFailuresTest, BitmapsTooLargeForAnyMemoryOrWithoutPixels) {
  const HDC context = CreateCompatibleDC(nullptr);
  const HBITMAP bitmap = CreateBitmap(1, 1, 1, 1, nullptr);
  static BITMAPINFOHEADER header;
  platform::Replace(
      "GetDIBits", +[](HDC, HBITMAP, UINT, UINT, LPVOID, LPBITMAPINFO info, UINT) {
        info->bmiHeader = header;
        return 1;
      });
  for (const BITMAPINFOHEADER& told :
       {BITMAPINFOHEADER{40, INT_MAX, INT_MAX, 1, 32, 0, 0, 0, 0, 0, 0},
        {40, 8, 8, 1, 0, 4, 0, 0, 0, 0, 0}}) {
    header = told;
    TurnedBitmap turned;
    EXPECT_FALSE(RotateBitmapQuarter(context, bitmap, turned));
    EXPECT_FALSE(RotateBitmapHalf(context, bitmap, turned));
    EXPECT_EQ(turned.header, nullptr);
  }
  DeleteObject(bitmap);
  DeleteDC(context);
}

TEST_F(GraphicsFailuresTest, LinesTooFarForARegion) {
  const POINT line[] = {{INT_MIN, INT_MAX}, {INT_MAX, INT_MIN}};
  EXPECT_EQ(ThickPolylineRegion(line, 2, INT_MAX), nullptr);
}

}  // namespace
}  // namespace kv::test
