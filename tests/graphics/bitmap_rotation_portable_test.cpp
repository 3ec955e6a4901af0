// Turned bitmaps, pixel by pixel.
#include "runtime/graphics/bitmap_rotation.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <random>
#include <utility>
#include <vector>

#include "runtime/graphics/turn_bits.h"

namespace kv {
namespace {

constexpr int kDepths[] = {1, 2, 4, 8, 16, 24, 32};

using Bits = std::vector<BYTE>;

DWORD PixelAt(const BYTE* bits, int width, int depth, int x, int row) {
  const BYTE* at = bits + DibStride(width, depth) * row + static_cast<size_t>(x) * depth / 8;
  if (depth < 8) return *at >> (8 - depth - x * depth % 8) & ((1 << depth) - 1);
  DWORD pixel = 0;
  memcpy(&pixel, at, depth / 8);
  return pixel;
}

Bits RandomBits(int width, int height, int depth) {
  std::mt19937 random(width * 1000 + height * 10 + depth);
  Bits bits(static_cast<size_t>(DibStride(width, depth)) * height);
  for (BYTE& byte : bits) byte = static_cast<BYTE>(random());
  return bits;
}

// Whether the target is the source turned, by quarter (to `height` by `width`, its rows filled up
// with zeros) or half. Of large bitmaps one column in `step` will do.
void ExpectQuarter(const BYTE* source, const BYTE* target, int width, int height, int depth,
                   int step = 1) {
  for (int x = 0; x < width; x += step) {
    for (int y = 0; y < height; ++y) {
      ASSERT_EQ(PixelAt(target, height, depth, y, x),
                PixelAt(source, width, depth, x, height - 1 - y))
          << width << " by " << height << ", depth " << depth << " at " << x << ", " << y;
    }
    const int room = static_cast<int>(DibStride(height, depth)) * 8 / depth;
    for (int y = height; y < room; ++y) {
      ASSERT_EQ(PixelAt(target, height, depth, y, x), 0u) << "depth " << depth;
    }
  }
}
void ExpectHalf(const BYTE* source, const BYTE* target, int width, int height, int depth) {
  for (int x = 0; x < width; ++x) {
    for (int y = 0; y < height; ++y) {
      ASSERT_EQ(PixelAt(target, width, depth, x, y),
                PixelAt(source, width, depth, width - 1 - x, height - 1 - y))
          << width << " by " << height << ", depth " << depth << " at " << x << ", " << y;
    }
  }
}

struct Size {
  int width, height;
};
// Around the sizes of registers and tiles; the last ones are wide and high.
constexpr Size kSizes[] = {{1, 1},   {2, 1},   {1, 3},     {3, 2},    {9, 5},    {15, 17},
                           {16, 16}, {31, 33}, {64, 64},   {65, 127}, {129, 63}, {255, 257},
                           {301, 7}, {5, 270}, {128, 256}, {1025, 3}};

TEST(TurnBitsTest, EveryDepthAndManySizes) {
  for (int depth : kDepths) {
    for (const auto [width, height] : kSizes) {
      const Bits source = RandomBits(width, height, depth);
      // Guards behind the end show what writes too far.
      const auto size = static_cast<size_t>(DibStride(height, depth)) * width;
      Bits quarter(size + 64, 0xA5);
      ASSERT_TRUE(TurnBitsQuarter(source.data(), quarter.data(), width, height, depth));
      ExpectQuarter(source.data(), quarter.data(), width, height, depth);
      EXPECT_EQ(std::count(quarter.begin() + size, quarter.end(), 0xA5), 64);

      Bits half = source;
      half.resize(source.size() + 64, 0xA5);
      ASSERT_TRUE(TurnBitsHalf(half.data(), width, height, depth));
      ExpectHalf(source.data(), half.data(), width, height, depth);
      EXPECT_EQ(std::count(half.begin() + source.size(), half.end(), 0xA5), 64);

      ASSERT_TRUE(TurnBitsHalf(half.data(), width, height, depth));
      half.resize(source.size());
      ASSERT_EQ(half, source) << "two half turns, what fills up the rows included";
      if (HasFatalFailure()) return;
    }
  }
  BYTE bits[4] = {1, 2, 3, 4};
  EXPECT_FALSE(TurnBitsHalf(bits, 1, 1, 3));
  EXPECT_FALSE(TurnBitsQuarter(bits, bits, 1, 1, 3));
}

// Large targets are written past the cache, from the first whole line on; rows of other distances
// are not.
TEST(TurnBitsTest, LargeBitmapsWhereverTheyLie) {
  const struct {
    int depth, width, height;
    std::vector<size_t> offsets;
  } kLarge[] = {{4, 1040, 8192, {5}},  {8, 2100, 2048, {0, 5, 63}}, {8, 2100, 2000, {5}},
                {16, 1040, 2048, {6}}, {24, 1400, 1024, {3}},       {32, 1040, 1024, {0, 4}}};
  for (const auto& [depth, width, height, offsets] : kLarge) {
    const Bits source = RandomBits(width, height, depth);
    const auto size = static_cast<size_t>(DibStride(height, depth)) * width;
    for (const size_t offset : offsets) {
      Bits target(size + 128, 0xA5);
      ASSERT_TRUE(TurnBitsQuarter(source.data(), target.data() + offset, width, height, depth));
      ExpectQuarter(source.data(), target.data() + offset, width, height, depth, 17);
      EXPECT_EQ(std::count(target.begin(), target.begin() + offset, 0xA5), offset);
      EXPECT_EQ(std::count(target.begin() + offset + size, target.end(), 0xA5), 128 - offset);
      if (HasFatalFailure()) return;
    }
  }
}

// A bitmap of the system and a context to ask it with.
class BitmapRotationTest : public testing::Test {
 protected:
  void Make(int width, int height, int depth) {
    Drop();
    const size_t rowBytes = (static_cast<size_t>(width) * depth + 15) / 16 * 2;
    Bits rows(rowBytes * height);
    std::mt19937 random(depth);
    for (BYTE& byte : rows) byte = static_cast<BYTE>(random());
    bitmap_ = CreateBitmap(width, height, 1, depth, rows.data());
    ASSERT_NE(bitmap_, nullptr);
  }
  void Drop() {
    if (bitmap_ != nullptr) DeleteObject(std::exchange(bitmap_, nullptr));
  }
  ~BitmapRotationTest() override {
    Drop();
    DeleteDC(context_);
  }
  // All rows at once.
  Bits Read(int width, int height, int depth) {
    BitmapHeader header = {};
    header.info = {};
    header.info.biSize = sizeof header.info;
    header.info.biWidth = width;
    header.info.biHeight = height;
    header.info.biPlanes = 1;
    header.info.biBitCount = static_cast<WORD>(depth);
    Bits bits(static_cast<size_t>(DibStride(width, depth)) * height);
    EXPECT_EQ(GetDIBits(context_, bitmap_, 0, height, bits.data(),
                        reinterpret_cast<BITMAPINFO*>(&header), DIB_RGB_COLORS),
              height);
    return bits;
  }

  HDC context_ = CreateCompatibleDC(nullptr);
  HBITMAP bitmap_ = nullptr;
  TurnedBitmap turned_;
};

TEST_F(BitmapRotationTest, TurnsBitmapsOfTheSystem) {
  for (int depth : {1, 4, 8, 16, 24, 32}) {
    // The second one is read in several chunks, the last of them short.
    for (const auto [width, height] : {Size{3, 2}, Size{601, 301}}) {
      Make(width, height, depth);
      const Bits source = Read(width, height, depth);
      ASSERT_TRUE(RotateBitmapQuarter(context_, bitmap_, turned_));
      ExpectQuarter(source.data(), turned_.bits.get(), width, height, depth);
      EXPECT_EQ(turned_.header->info.biWidth, height);
      EXPECT_EQ(turned_.header->info.biHeight, width);
      EXPECT_EQ(turned_.header->info.biBitCount, depth);
      ASSERT_TRUE(RotateBitmapHalf(context_, bitmap_, turned_));
      ExpectHalf(source.data(), turned_.bits.get(), width, height, depth);
      EXPECT_EQ(turned_.header->info.biWidth, width);
      EXPECT_EQ(turned_.header->info.biCompression, static_cast<DWORD>(BI_RGB));
      if (HasFatalFailure()) return;
    }
  }
  Make(2, 2, 1);
  ASSERT_TRUE(RotateBitmapHalf(context_, bitmap_, turned_));
  EXPECT_EQ(turned_.header->colors[1].rgbGreen, 0xFF) << "the colours come along";
}

TEST_F(BitmapRotationTest, RowsLongerThanAChunkAndOtherObjectsGiveNothing) {
  for (const auto& [width, works] : {std::pair{8192, TRUE}, std::pair{8193, FALSE}}) {
    Make(width, 2, 32);
    EXPECT_EQ(RotateBitmapHalf(context_, bitmap_, turned_), works) << width;
    EXPECT_EQ(turned_.bits != nullptr, works);
    EXPECT_EQ(turned_.header != nullptr, works);
    EXPECT_EQ(RotateBitmapQuarter(context_, bitmap_, turned_), works) << width;
    EXPECT_EQ(turned_.bits != nullptr, works);
  }
  EXPECT_FALSE(RotateBitmapHalf(context_, nullptr, turned_));
}

}  // namespace
}  // namespace kv
