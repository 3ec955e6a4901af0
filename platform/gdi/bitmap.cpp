#include "platform/gdi/bitmap.h"

#include <algorithm>
#include <climits>
#include <cstring>

#include "platform/gdi/stock_objects.h"
#include "platform/kernel/api_call.h"

namespace platform {
namespace {

// The colours that every display has: the first half of the 20 at the start of a table of 256, the
// other half at its end. Blue, green, red.
constexpr RGBQUAD kSystemColors[] = {
    {0x00, 0x00, 0x00, 0}, {0x00, 0x00, 0x80, 0}, {0x00, 0x80, 0x00, 0}, {0x00, 0x80, 0x80, 0},
    {0x80, 0x00, 0x00, 0}, {0x80, 0x00, 0x80, 0}, {0x80, 0x80, 0x00, 0}, {0xC0, 0xC0, 0xC0, 0},
    {0xC0, 0xDC, 0xC0, 0}, {0xF0, 0xCA, 0xA6, 0}, {0xF0, 0xFB, 0xFF, 0}, {0xA4, 0xA0, 0xA0, 0},
    {0x80, 0x80, 0x80, 0}, {0x00, 0x00, 0xFF, 0}, {0x00, 0xFF, 0x00, 0}, {0x00, 0xFF, 0xFF, 0},
    {0xFF, 0x00, 0x00, 0}, {0xFF, 0x00, 0xFF, 0}, {0xFF, 0xFF, 0x00, 0}, {0xFF, 0xFF, 0xFF, 0}};
constexpr size_t kHalf = std::size(kSystemColors) / 2;
// Displays of 16 colours lack the two in the middle of each half.
constexpr size_t kSmallHalf = 8;

const std::vector<RGBQUAD>& SharedTable(int bits_per_pixel) {
  static const auto* one = new std::vector<RGBQUAD>(ColorTable(1));
  static const auto* four = new std::vector<RGBQUAD>(ColorTable(4));
  static const auto* eight = new std::vector<RGBQUAD>(ColorTable(8));
  return bits_per_pixel == 1 ? *one : bits_per_pixel == 4 ? *four : *eight;
}

int Distance(const RGBQUAD& a, COLORREF b) {
  const int red = a.rgbRed - GetRValue(b), green = a.rgbGreen - GetGValue(b),
            blue = a.rgbBlue - GetBValue(b);
  return red * red + green * green + blue * blue;
}

DWORD NearestIndex(int bits_per_pixel, COLORREF color) {
  const auto& table = SharedTable(bits_per_pixel);
  const auto nearest = std::min_element(
      table.begin(), table.end(),
      [=](const RGBQUAD& a, const RGBQUAD& b) { return Distance(a, color) < Distance(b, color); });
  return static_cast<DWORD>(nearest - table.begin());
}

BYTE WidenedFiveBits(DWORD value) {
  value &= 0x1F;
  return static_cast<BYTE>(value << 3 | value >> 2);
}

// NT's rule for depths between those that displays have.
int StoredDepth(UINT wanted) {
  for (int depth : {1, 4, 8, 16, 24, 32}) {
    if (wanted <= static_cast<UINT>(depth)) return wanted == 0 ? 0 : depth;
  }
  return 0;
}

// The stock bitmap of one pixel when a side is 0.
HBITMAP NewBitmap(int width, int height, UINT bits_per_pixel, const void* bits) {
  if (width == 0 || height == 0) return StockBitmap();
  const int depth = StoredDepth(bits_per_pixel);
  if (width < 0 || height < 0 || depth == 0) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return nullptr;
  }
  if (static_cast<LONGLONG>(width) * depth / 8 > INT_MAX / height - 4) {
    SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return nullptr;
  }
  auto bitmap = std::make_shared<Bitmap>(width, height, depth);
  if (bits != nullptr) std::memcpy(bitmap->Row(0), bits, bitmap->size());
  return static_cast<HBITMAP>(AddGdiObject(std::move(bitmap)));
}

}  // namespace

std::vector<RGBQUAD> ColorTable(int bits_per_pixel) {
  if (bits_per_pixel > 8) return {};
  std::vector<RGBQUAD> table(size_t{1} << bits_per_pixel);
  const size_t half = bits_per_pixel == 1 ? 1 : bits_per_pixel == 4 ? kSmallHalf : kHalf;
  std::copy_n(std::begin(kSystemColors), half, table.begin());
  std::copy_n(std::end(kSystemColors) - half, half, table.end() - half);
  return table;
}

Bitmap::Bitmap(int width, int height, int bits_per_pixel)
    : width_(width),
      height_(height),
      bits_per_pixel_(bits_per_pixel),
      stride_((static_cast<size_t>(width) * bits_per_pixel + 15) / 16 * 2),
      pixels_(stride_ * height) {}

int Bitmap::Describe(void* buffer, int size) const {
  BITMAP description = {};
  description.bmWidth = width_;
  description.bmHeight = height_;
  description.bmWidthBytes = static_cast<LONG>(stride_);
  description.bmPlanes = 1;
  description.bmBitsPixel = static_cast<WORD>(bits_per_pixel_);
  return CopyDescription(&description, sizeof description, buffer, size);
}

DWORD Bitmap::Value(int x, int y) const {
  const size_t bit = static_cast<size_t>(x) * bits_per_pixel_;
  const BYTE* at = Row(y) + bit / 8;
  if (bits_per_pixel_ < 8) {
    const int shift = 8 - bits_per_pixel_ - static_cast<int>(bit % 8);
    return *at >> shift & ((1u << bits_per_pixel_) - 1);
  }
  DWORD value = 0;
  for (int i = bits_per_pixel_ / 8; i-- > 0;) value = value << 8 | at[i];
  return value;
}

void Bitmap::SetValue(int x, int y, DWORD value) {
  const size_t bit = static_cast<size_t>(x) * bits_per_pixel_;
  BYTE* at = Row(y) + bit / 8;
  if (bits_per_pixel_ < 8) {
    const int shift = 8 - bits_per_pixel_ - static_cast<int>(bit % 8);
    const DWORD mask = (1u << bits_per_pixel_) - 1;
    *at = static_cast<BYTE>((*at & ~(mask << shift)) | (value & mask) << shift);
    return;
  }
  for (int i = 0; i < bits_per_pixel_ / 8; ++i, value >>= 8) at[i] = static_cast<BYTE>(value);
}

COLORREF Bitmap::Color(int x, int y) const {
  const DWORD value = Value(x, y);
  if (bits_per_pixel_ <= 8) {
    const RGBQUAD color = SharedTable(bits_per_pixel_)[value];
    return RGB(color.rgbRed, color.rgbGreen, color.rgbBlue);
  }
  if (bits_per_pixel_ == 16) {
    return RGB(WidenedFiveBits(value >> 10), WidenedFiveBits(value >> 5), WidenedFiveBits(value));
  }
  return RGB(value >> 16, value >> 8, value);
}

void Bitmap::SetColor(int x, int y, COLORREF color) {
  const DWORD red = GetRValue(color), green = GetGValue(color), blue = GetBValue(color);
  if (bits_per_pixel_ <= 8) {
    SetValue(x, y, NearestIndex(bits_per_pixel_, color));
  } else if (bits_per_pixel_ == 16) {
    SetValue(x, y, red >> 3 << 10 | green >> 3 << 5 | blue >> 3);
  } else {
    SetValue(x, y, red << 16 | green << 8 | blue);
  }
}

}  // namespace platform

using namespace platform;

HBITMAP WINAPI CreateBitmap(int width, int height, UINT planes, UINT bits_per_pixel,
                            const VOID* bits) {
  KV_API(CreateBitmap, ERROR_NOT_ENOUGH_MEMORY, nullptr, width, height, planes, bits_per_pixel,
         bits);
  if (planes != 1) {
    SetLastError(ERROR_CALL_NOT_IMPLEMENTED);
    return nullptr;
  }
  return NewBitmap(width, height, bits_per_pixel, bits);
}
