// Bitmaps that no memory can hold.
#include <climits>

#include "runtime/graphics/bitmap_rotation.h"
#include "tests/support/machine_test.h"

namespace kv::test {
namespace {

using BitmapFailuresTest = MachineTest;

TEST_F(BitmapFailuresTest, BitmapsTooLargeForAnyMemory) {
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
