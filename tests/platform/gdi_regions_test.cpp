// Ellipses and paths against the plain definition of what they cover; the edge pixels of other
// systems differ.
#include <cmath>

#include "tests/support/machine_test.h"

namespace {

class GdiRegionsTest : public kv::test::MachineTest {
 protected:
  static constexpr int kSide = 48;
};

TEST_F(GdiRegionsTest, Ellipses) {
  for (const RECT r : {RECT{0, 0, 10, 10}, RECT{3, 5, 4, 9}, RECT{40, 30, 1, 1}, RECT{2, 2, 47, 19},
                       RECT{0, 0, 2, 48}, RECT{7, 7, 7, 30}}) {
    const double rx = std::abs(r.right - r.left) / 2.0, ry = std::abs(r.bottom - r.top) / 2.0;
    const HRGN region = CreateEllipticRgn(r.left, r.top, r.right, r.bottom);
    ASSERT_NE(region, nullptr);
    for (int i = 0; i < kSide * kSide; ++i) {
      const int x = i % kSide, y = i / kSide;
      const double dx = x + 0.5 - (r.left + r.right) / 2.0, dy = y + 0.5 - (r.top + r.bottom) / 2.0;
      const bool inside =
          dx * dx * ry * ry + dy * dy * rx * rx <= rx * rx * ry * ry && rx > 0 && ry > 0;
      ASSERT_EQ(PtInRegion(region, x, y) != 0, inside) << x << ", " << y;
    }
    DeleteObject(region);
  }
}

// A circle of four curves is within a part of a pixel of the real one, also under a transform.
TEST_F(GdiRegionsTest, PathsOfCurves) {
  const HDC context = CreateCompatibleDC(nullptr);
  SetGraphicsMode(context, GM_ADVANCED);
  const XFORM half = {0.5f, 0, 0, 0.5f, 4, 4};
  SetWorldTransform(context, &half);
  const POINT curves[] = {{80, 62}, {62, 80}, {40, 80}, {18, 80}, {0, 62},  {0, 40},
                          {0, 18},  {18, 0},  {40, 0},  {62, 0},  {80, 18}, {80, 40}};
  EXPECT_FALSE(LineTo(context, 1, 1)) << "nothing draws outside a path";
  EXPECT_EQ(PathToRegion(context), nullptr);
  ASSERT_TRUE(BeginPath(context));
  MoveToEx(context, 80, 40, nullptr);
  ASSERT_TRUE(PolyBezierTo(context, curves, 12));
  ASSERT_TRUE(EndPath(context));
  POINT points[13];
  BYTE types[13];
  EXPECT_EQ(GetPath(context, points, types, 12), -1);
  ASSERT_EQ(GetPath(context, points, types, 13), 13);
  EXPECT_EQ(points[3].x, 40) << "back in the context's coordinates";
  const HRGN region = PathToRegion(context);
  ASSERT_NE(region, nullptr);
  for (int y = 0; y < kSide; ++y) {
    for (int x = 0; x < kSide; ++x) {
      const double outside = std::hypot(x - 24, y - 24) - 20;
      if (std::fabs(outside) > 0.3) {
        ASSERT_EQ(PtInRegion(region, x, y), outside < 0) << x << ", " << y;
      }
    }
  }
  EXPECT_EQ(PathToRegion(context), nullptr) << "the path was used up";
  DeleteObject(region);
  DeleteDC(context);
}

TEST_F(GdiRegionsTest, CoordinatesAreLimited) {
  EXPECT_EQ(CreateRectRgn(0, 0, 0x4000000, 1), nullptr);
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_PARAMETER));
}

}  // namespace
