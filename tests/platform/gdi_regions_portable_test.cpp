// Regions and paths against the plain definition of what they cover.
#include <gtest/gtest.h>
#include <windows.h>

#include <cmath>
#include <functional>
#include <random>
#include <vector>

namespace {

class GdiRegionsPortableTest : public testing::Test {
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

TEST_F(GdiRegionsPortableTest, PolygonsInBothFillModes) {
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

// The same pixels reached in other ways are equal, and the number of rectangles is right.
TEST_F(GdiRegionsPortableTest, CombinationsAndEquality) {
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
}

}  // namespace
