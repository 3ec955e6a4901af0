// Rotation, regions and states of device contexts.
#include "runtime/graphics/regions.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <vector>

#include "runtime/core/handles.h"
#include "runtime/graphics/device_contexts.h"
#include "runtime/graphics/points.h"
#include "runtime/graphics/shapes.h"

namespace kv {
namespace {

std::vector<LONG> Values(const RECT& r) {
  return {r.left, r.top, r.right, r.bottom};
}
std::vector<LONG> Values(const POINT& p) {
  return {p.x, p.y};
}
UniqueRegion Rectangle(int left, int top, int right, int bottom) {
  return UniqueRegion(CreateRectRgn(left, top, right, bottom));
}
RECT BoxOf(const UniqueRegion& region) {
  RECT box = {};
  GetRgnBox(region.Get(), &box);
  return box;
}

TEST(PointsTest, RoundingAndDistances) {
  const struct {
    double value;
    int rounded;
  } kRoundings[] = {{2.5, 3},
                    {-2.5, -3},
                    {0.4, 0},
                    {-0.5, -1},
                    {1e12, INT_MAX},
                    {-1e12, INT_MIN},
                    {2147483646.5, INT_MAX}};
  for (const auto& c : kRoundings) EXPECT_EQ(RoundToInt(c.value), c.rounded) << c.value;
  EXPECT_EQ(PointDistance({0, 0}, {3, 4}), 5);
  EXPECT_EQ(PointDistance({0, 0}, {0, 7}), 7);
  EXPECT_EQ(PointDistance({-2, 1}, {5, 1}), 7);
  EXPECT_EQ(PointDistance({INT_MIN, 0}, {INT_MAX, 1}), INT_MAX);
}

TEST(PointsTest, RotationAboutTheOriginAndACenter) {
  POINT point = {10, 0}, output;
  const POINT center = {10, 10};
  RotatePoint(point, 1, 0, nullptr, &output);
  EXPECT_EQ(Values(output), (std::vector<LONG>{0, -10}));
  EXPECT_EQ(point.x, 10);
  point = {20, 10};
  RotatePoint(point, 1, 0, &center);
  EXPECT_EQ(Values(point), (std::vector<LONG>{10, 0}));
  const POINT farthest = {INT_MAX, INT_MIN};
  point = {INT_MIN, INT_MAX};
  RotatePoint(point, 0, -1, &farthest);
  EXPECT_EQ(Values(point), (std::vector<LONG>{INT_MAX, INT_MIN}));

  RECT bounds;
  POINT points[5] = {};
  RotateRect({1, 2, 30, 40}, 0, 1, nullptr, &bounds, points, 4);
  EXPECT_EQ(Values(bounds), (std::vector<LONG>{1, 2, 30, 40}));
  EXPECT_EQ(Values(points[1]), (std::vector<LONG>{30, 2}));
  EXPECT_EQ(Values(points[3]), (std::vector<LONG>{1, 40}));
  EXPECT_EQ(points[4].x, 0) << "only four were asked for";
  RotateRect({10, 10, 30, 20}, 1, 0, &center, &bounds, points, 5);
  EXPECT_EQ(Values(bounds), (std::vector<LONG>{10, -10, 20, 10}));
  EXPECT_EQ(Values(points[4]), Values(points[0]));
}

TEST(RegionsTest, RotatedRectanglesLeaveTheTransformAlone) {
  const ScreenContext screen;
  SetGraphicsMode(screen.Get(), GM_ADVANCED);
  const XFORM scaled = {2, 0, 0, 2, 5, 5};
  ASSERT_TRUE(SetWorldTransform(screen.Get(), &scaled));
  const POINT center = {10, 10};
  for (HDC context : {screen.Get(), HDC()}) {
    HRGN made = nullptr;
    ASSERT_TRUE(RotatedRectRegion({10, 10, 30, 20}, 1, 0, &center, made, context));
    const UniqueRegion region(made);
    EXPECT_EQ(Values(BoxOf(region)), (std::vector<LONG>{10, -10, 20, 10}));
  }
  XFORM now;
  GetWorldTransform(screen.Get(), &now);
  EXPECT_EQ(now.eM11, 2);
  EXPECT_EQ(now.eDy, 5);
  EXPECT_EQ(GetGraphicsMode(screen.Get()), GM_ADVANCED);
}

double DistanceToSegment(double x, double y, const POINT& a, const POINT& b) {
  const double dx = b.x - a.x, dy = b.y - a.y, length = dx * dx + dy * dy;
  const double along =
      length == 0 ? 0 : std::clamp(((x - a.x) * dx + (y - a.y) * dy) / length, 0.0, 1.0);
  return std::hypot(x - a.x - along * dx, y - a.y - along * dy);
}

TEST(RegionsTest, ThickPolylinesCoverWhatIsNear) {
  const std::vector<POINT> kLines[] = {
      {{0, 0}, {100, 0}},
      {{10, 5}, {10, 5}},
      {{0, 0}, {40, 60}, {40, 60}, {90, -20}, {15, 30}, {0, 0}},
      {{5, 0}, {30, 3}, {60, 45}, {61, 45}, {62, 80}, {-10, 20}, {7, -30}}};
  for (int width : {2, 9, 20}) {
    for (const auto& line : kLines) {
      const UniqueRegion region(
          ThickPolylineRegion(line.data(), static_cast<int>(line.size()), width));
      ASSERT_TRUE(region);
      for (int y = -50; y < 100; ++y) {
        for (int x = -40; x < 130; ++x) {
          double distance = 1e9;
          for (size_t i = 0; i + 1 < line.size(); ++i) {
            distance =
                std::min(distance, DistanceToSegment(x + 0.5, y + 0.5, line[i], line[i + 1]));
          }
          // Outlines are in whole units, so that their pixels may go either way.
          const double edge = distance - width / 2;
          if (std::fabs(edge) < 1.6) continue;
          ASSERT_EQ(PtInRegion(region.Get(), x, y), edge < 0) << x << ", " << y << ", " << width;
        }
      }
    }
  }
  const UniqueRegion horizontal(ThickPolylineRegion(kLines[0].data(), 2, 10));
  EXPECT_TRUE(RectInsideRegion(horizontal.Get(), {0, -5, 100, 5}));
  EXPECT_FALSE(RectInsideRegion(horizontal.Get(), {-5, -5, 100, 5}));
  EXPECT_EQ(ThickPolylineRegion(kLines[0].data(), 2, 1), nullptr);
  EXPECT_EQ(ThickPolylineRegion(kLines[0].data(), 1, 10), nullptr);
  EXPECT_EQ(ThickPolylineRegion(nullptr, 2, 10), nullptr);
}

TEST(RegionsTest, EmptinessEqualityAndCopies) {
  const UniqueRegion empty = Rectangle(5, 5, 5, 9), other = Rectangle(0, 0, 0, 0),
                     whole = Rectangle(0, 0, 10, 10), same = Rectangle(0, 0, 10, 10);
  EXPECT_TRUE(IsRegionEmpty(nullptr));
  EXPECT_TRUE(IsRegionEmpty(empty.Get()));
  EXPECT_FALSE(IsRegionEmpty(whole.Get()));
  const struct {
    HRGN a, b;
    BOOL equal;
  } kCases[] = {{empty.Get(), other.Get(), TRUE}, {empty.Get(), nullptr, TRUE},
                {nullptr, whole.Get(), FALSE},    {whole.Get(), empty.Get(), FALSE},
                {whole.Get(), same.Get(), TRUE},  {whole.Get(), whole.Get(), TRUE},
                {nullptr, nullptr, TRUE}};
  for (const auto& c : kCases) EXPECT_EQ(RegionsEqual(c.a, c.b) != 0, c.equal != 0);

  const UniqueRegion copy(CopyRegion(whole.Get()));
  const RECT hole = {2, 2, 4, 4}, nothing = {4, 4, 4, 9};
  CombineRegionWithRect(copy.Get(), nullptr, RGN_DIFF);
  CombineRegionWithRect(copy.Get(), &nothing, RGN_AND);
  EXPECT_TRUE(RegionsEqual(copy.Get(), whole.Get())) << "neither says anything";
  CombineRegionWithRect(copy.Get(), &hole, RGN_DIFF);
  EXPECT_FALSE(RegionsEqual(copy.Get(), whole.Get()));
  EXPECT_EQ(CopyRegion(nullptr), nullptr);

  RECT rectangle = {1, 1, 1, 1};
  EXPECT_FALSE(GetRegionRect(copy.Get(), &rectangle)) << "a hole";
  EXPECT_EQ(Values(rectangle), (std::vector<LONG>{0, 0, 0, 0}));
  EXPECT_TRUE(GetRegionRect(whole.Get(), &rectangle));
  EXPECT_EQ(Values(rectangle), (std::vector<LONG>{0, 0, 10, 10}));
  EXPECT_TRUE(GetRegionRect(whole.Get(), nullptr));
  EXPECT_TRUE(RectInsideRegion(whole.Get(), {3, 3, 10, 10}));
  EXPECT_FALSE(RectInsideRegion(whole.Get(), {3, 3, 11, 10}));
  EXPECT_FALSE(RectInsideRegion(copy.Get(), {1, 1, 5, 5}));
}

class ContextTest : public testing::Test {
 protected:
  ~ContextTest() override {
    if (first_ != nullptr) SelectObject(context_, first_);
    DeleteDC(context_);
    DeleteObject(bitmap_);
  }
  void SelectFont(LONG escapement) {
    LOGFONTW font = {};
    font.lfHeight = 12;
    font.lfWidth = 8;
    font.lfEscapement = escapement;
    HFONT created = CreateFontIndirectW(&font);
    if (HGDIOBJ previous = SelectObject(context_, created); first_ == nullptr) first_ = previous;
    fonts_.push_back(created);
  }
  void TearDown() override {
    if (first_ != nullptr) SelectObject(context_, first_);
    for (HFONT font : fonts_) EXPECT_TRUE(DeleteObject(font));
  }

  HDC context_ = CreateCompatibleDC(nullptr);
  HBITMAP bitmap_ = CreateBitmap(40, 40, 1, 32, nullptr);
  HGDIOBJ first_ = nullptr;
  std::vector<HFONT> fonts_;
};

TEST_F(ContextTest, RestoringKeepsObjectsAndAttributes) {
  const HBITMAP stock = static_cast<HBITMAP>(SelectObject(context_, bitmap_));
  SetGraphicsMode(context_, GM_ADVANCED);
  const XFORM saved = {0, 1, -1, 0, 3, 4};
  SetWorldTransform(context_, &saved);
  ASSERT_NE(SaveDC(context_), 0);
  ModifyWorldTransform(context_, nullptr, MWT_IDENTITY);
  SetGraphicsMode(context_, GM_COMPATIBLE);
  IntersectClipRect(context_, 0, 0, 5, 5);
  SelectFont(0);
  const HBRUSH brush = CreateSolidBrush(RGB(1, 2, 3));
  const HPEN pen = CreatePen(PS_SOLID, 2, RGB(4, 5, 6));
  const HGDIOBJ oldBrush = SelectObject(context_, brush), oldPen = SelectObject(context_, pen);
  SetROP2(context_, R2_XORPEN);
  SetTextColor(context_, RGB(9, 8, 7));
  SetBkColor(context_, RGB(7, 8, 9));
  SetBkMode(context_, TRANSPARENT);
  SetPolyFillMode(context_, WINDING);
  SetStretchBltMode(context_, COLORONCOLOR);
  SetTextAlign(context_, TA_CENTER);
  SetTextCharacterExtra(context_, 3);

  RestoreDCKeepState(context_);

  RECT box = {};
  GetClipBox(context_, &box);
  EXPECT_EQ(Values(box), (std::vector<LONG>{0, 0, 40, 40})) << "the saved clipping";
  EXPECT_EQ(GetCurrentObject(context_, OBJ_FONT), fonts_[0]);
  EXPECT_EQ(GetCurrentObject(context_, OBJ_BRUSH), brush);
  EXPECT_EQ(GetCurrentObject(context_, OBJ_PEN), pen);
  EXPECT_EQ(GetCurrentObject(context_, OBJ_BITMAP), bitmap_);
  EXPECT_EQ(GetROP2(context_), R2_XORPEN);
  EXPECT_EQ(GetTextColor(context_), RGB(9, 8, 7));
  EXPECT_EQ(GetBkColor(context_), RGB(7, 8, 9));
  EXPECT_EQ(GetBkMode(context_), TRANSPARENT);
  EXPECT_EQ(GetPolyFillMode(context_), WINDING);
  EXPECT_EQ(GetStretchBltMode(context_), COLORONCOLOR);
  EXPECT_EQ(GetTextAlign(context_), static_cast<UINT>(TA_CENTER));
  EXPECT_EQ(GetTextCharacterExtra(context_), 3);
  XFORM now;
  GetWorldTransform(context_, &now);
  EXPECT_EQ(now.eM11, 1) << "the identity, as before";
  EXPECT_EQ(GetGraphicsMode(context_), GM_COMPATIBLE);
  EXPECT_FALSE(RestoreDC(context_, -1)) << "the saved state was used up";
  RestoreDCKeepState(nullptr);
  SelectObject(context_, oldBrush);
  SelectObject(context_, oldPen);
  DeleteObject(brush);
  DeleteObject(pen);
  SelectObject(context_, stock);
}

TEST_F(ContextTest, RoundedRectangles) {
  const CornerRadii wide = RoundRectRadii({0, 0, 800, 80}), high = RoundRectRadii({0, 0, 80, 800});
  EXPECT_EQ((std::vector<int>{wide.rx, wide.ry, wide.hx, wide.hy}),
            (std::vector<int>{16, 10, 7, 4}));
  EXPECT_EQ((std::vector<int>{high.rx, high.ry}), (std::vector<int>{10, 16}));
  const CornerRadii largest = RoundRectRadii({INT_MIN, INT_MIN, INT_MAX, INT_MAX});
  EXPECT_EQ((std::vector<int>{largest.rx, largest.ry, largest.hx, largest.hy}),
            (std::vector<int>{536'870'911, 536'870'911, 238'609'294, 238'609'294}));

  RoundRectPath(context_, {0, 0, 800, 80});
  POINT points[17];
  BYTE types[17];
  ASSERT_EQ(GetPath(context_, points, types, 17), 17);
  const LONG kExpected[17][2] = {{16, 0},   {784, 0},  {791, 0},  {800, 6}, {800, 10}, {800, 70},
                                 {800, 74}, {791, 80}, {784, 80}, {16, 80}, {9, 80},   {0, 74},
                                 {0, 70},   {0, 10},   {0, 6},    {9, 0},   {16, 0}};
  for (int i = 0; i < 17; ++i) {
    EXPECT_EQ(Values(points[i]), (std::vector<LONG>{kExpected[i][0], kExpected[i][1]})) << i;
    const int wanted = i == 0 ? PT_MOVETO : i % 4 == 1 ? PT_LINETO : PT_BEZIERTO;
    EXPECT_EQ(types[i], i == 16 ? wanted | PT_CLOSEFIGURE : wanted) << i;
  }
}

TEST_F(ContextTest, TextBoxesFollowTheAlignment) {
  SelectFont(0);
  TEXTMETRICW metrics;
  SIZE size;
  GetTextMetricsW(context_, &metrics);
  GetTextExtentPoint32W(context_, TEXT("Hello"), 5, &size);
  const LONG half = size.cx / 2;
  const struct {
    UINT alignment;
    LONG left, top;
  } kCases[] = {{TA_LEFT | TA_TOP, 100, 50},
                {TA_CENTER | TA_BASELINE, 100 - half, 50 - metrics.tmAscent},
                {TA_RIGHT | TA_BOTTOM, 100 - size.cx, 50 - size.cy}};
  for (const auto& c : kCases) {
    SetTextAlign(context_, c.alignment);
    RECT box;
    HRGN region = reinterpret_cast<HRGN>(1);
    TextBoxRect(context_, 100, 50, TEXT("Hello"), -1, box, &region);
    EXPECT_EQ(Values(box), (std::vector<LONG>{c.left, c.top, c.left + size.cx, c.top + size.cy}));
    EXPECT_EQ(region, nullptr) << "the font is not turned";
  }
  RECT cut;
  TextBoxRect(context_, INT_MIN, INT_MIN, TEXT("Hello"), -1, cut);
  EXPECT_EQ(Values(cut),
            (std::vector<LONG>{INT_MIN, INT_MIN, INT_MIN + size.cx, INT_MIN + size.cy}));
  // 90.9 degrees count as 90: the text runs upwards from (100, 50).
  SelectFont(909);
  SetTextAlign(context_, TA_LEFT | TA_TOP);
  RECT box;
  HRGN turned = nullptr;
  TextBoxRect(context_, 100, 50, TEXT("Hello"), 2, box, &turned);
  const UniqueRegion region(turned);
  ASSERT_TRUE(region);
  EXPECT_EQ(Values(BoxOf(region)),
            (std::vector<LONG>{100, 50 - (box.right - box.left), 100 + size.cy, 50}));
}

}  // namespace
}  // namespace kv
