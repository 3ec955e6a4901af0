// Regions and paths against the plain definition of what they cover.
#include <cmath>
#include <functional>
#include <random>

#include "tests/support/machine_test.h"

namespace {

class GdiRegionsTest : public kv::test::MachineTest {
 protected:
  static constexpr int kSide = 48;

  // Compares with `inside` on a grid that is larger than the shapes.
  static void ExpectPixels(HRGN region, const std::function<bool(int, int)>& inside) {
    ASSERT_NE(region, nullptr);
    for (int y = -4; y < kSide + 4; ++y) {
      for (int x = -4; x < kSide + 4; ++x) {
        ASSERT_EQ(PtInRegion(region, x, y) != 0, inside(x, y)) << x << ", " << y;
      }
    }
  }

  std::mt19937 random_{7};
  int Coordinate() { return static_cast<int>(random_() % kSide); }
};

// How often the polygon goes round the upper left corner of a pixel; edges count on their left and
// upper side. Whole numbers only.
int Winding(const std::vector<POINT>& polygon, int x, int y, bool alternate) {
  int winding = 0, crossings = 0;
  for (size_t i = 0; i < polygon.size(); ++i) {
    const POINT a = polygon[i], b = polygon[(i + 1) % polygon.size()];
    if ((a.y <= y) == (b.y <= y)) continue;
    // The edge crosses the row at or left of x.
    const int side = (b.x - a.x) * (y - a.y) - (x - a.x) * (b.y - a.y);
    if (b.y > a.y ? side > 0 : side < 0) continue;
    winding += b.y > a.y ? 1 : -1;
    ++crossings;
  }
  return alternate ? crossings % 2 : winding;
}

TEST_F(GdiRegionsTest, PolygonsInBothFillModes) {
  for (int round = 0; round < 60; ++round) {
    std::vector<POINT> polygon(2 + random_() % 9);
    for (POINT& point : polygon) point = {Coordinate(), Coordinate()};
    for (int mode : {ALTERNATE, WINDING}) {
      const HRGN region = CreatePolygonRgn(polygon.data(), static_cast<int>(polygon.size()), mode);
      ExpectPixels(region,
                   [&](int x, int y) { return Winding(polygon, x, y, mode == ALTERNATE) != 0; });
      DeleteObject(region);
    }
  }
}

TEST_F(GdiRegionsTest, Ellipses) {
  for (const RECT r : {RECT{0, 0, 10, 10}, RECT{3, 5, 4, 9}, RECT{40, 30, 1, 1}, RECT{2, 2, 47, 19},
                       RECT{0, 0, 2, 48}, RECT{7, 7, 7, 30}}) {
    const double rx = std::abs(r.right - r.left) / 2.0, ry = std::abs(r.bottom - r.top) / 2.0;
    const HRGN region = CreateEllipticRgn(r.left, r.top, r.right, r.bottom);
    ExpectPixels(region, [&](int x, int y) {
      const double dx = x + 0.5 - (r.left + r.right) / 2.0, dy = y + 0.5 - (r.top + r.bottom) / 2.0;
      return dx * dx * ry * ry + dy * dy * rx * rx <= rx * rx * ry * ry && rx > 0 && ry > 0;
    });
    DeleteObject(region);
  }
}

// The same pixels reached in other ways are equal, and the number of rectangles is right.
TEST_F(GdiRegionsTest, CombinationsAndEquality) {
  for (int round = 0; round < 40; ++round) {
    HRGN parts[2];
    for (HRGN& part : parts) {
      part = CreateRectRgn(0, 0, 0, 0);
      for (int i = 0; i < 6; ++i) {
        const HRGN more = CreateRectRgn(Coordinate(), Coordinate(), Coordinate(), Coordinate());
        CombineRgn(part, part, more, i % 3 == 2 ? RGN_XOR : RGN_OR);
        DeleteObject(more);
      }
    }
    const HRGN made = CreateRectRgn(0, 0, 0, 0), again = CreateRectRgn(0, 0, 0, 0);
    const auto in = [&](int which, int x, int y) { return PtInRegion(parts[which], x, y) != 0; };
    for (int mode : {RGN_AND, RGN_OR, RGN_XOR, RGN_DIFF}) {
      CombineRgn(made, parts[0], parts[1], mode);
      ExpectPixels(made, [&](int x, int y) {
        const bool a = in(0, x, y), b = in(1, x, y);
        return mode == RGN_AND   ? a && b
               : mode == RGN_OR  ? a || b
               : mode == RGN_XOR ? a != b
                                 : a && !b;
      });
    }
    // (a or b) without (a and b) is a xor b.
    CombineRgn(made, parts[0], parts[1], RGN_OR);
    CombineRgn(again, parts[0], parts[1], RGN_AND);
    CombineRgn(made, made, again, RGN_DIFF);
    CombineRgn(again, parts[0], parts[1], RGN_XOR);
    EXPECT_TRUE(EqualRgn(made, again));
    EXPECT_EQ(CombineRgn(made, made, again, RGN_XOR), NULLREGION);
    for (HRGN region : {parts[0], parts[1], made, again}) DeleteObject(region);
  }
  const HRGN left = CreateRectRgn(0, 0, 5, 9), right = CreateRectRgn(9, 9, 5, 0);
  EXPECT_EQ(CombineRgn(left, left, right, RGN_OR), SIMPLEREGION) << "one rectangle of two";
  EXPECT_EQ(CombineRgn(left, left, nullptr, RGN_OR), RGN_ERROR);
  DeleteObject(left);
  DeleteObject(right);
  EXPECT_EQ(CreateRectRgn(0, 0, 0x4000000, 1), nullptr);
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_PARAMETER));
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

}  // namespace
