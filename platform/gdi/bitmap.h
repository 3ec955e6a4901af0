// Device-dependent bitmaps: rows from the top down, padded to 2 bytes, the leftmost pixel in the
// high bits of a byte.
#pragma once

#include <vector>

#include "platform/gdi/gdi_object.h"

namespace platform {

class DeviceContext;

class Bitmap : public GdiObject {
 public:
  // All pixels 0. 1, 4, 8, 16, 24 or 32 bits per pixel.
  Bitmap(int width, int height, int bits_per_pixel);

  int Describe(void* buffer, int size) const override;

  int width() const { return width_; }
  int height() const { return height_; }
  int bits_per_pixel() const { return bits_per_pixel_; }
  // Bytes of a row.
  size_t stride() const { return stride_; }
  size_t size() const { return pixels_.size(); }
  BYTE* Row(int y) { return pixels_.data() + static_cast<size_t>(y) * stride_; }
  const BYTE* Row(int y) const { return pixels_.data() + static_cast<size_t>(y) * stride_; }
  bool Contains(int x, int y) const { return x >= 0 && y >= 0 && x < width_ && y < height_; }

  // The value of a pixel inside the bitmap, as it is stored.
  DWORD Value(int x, int y) const;
  void SetValue(int x, int y, DWORD value);
  // The same as colours; a bitmap of few colours takes the nearest one that it has.
  COLORREF Color(int x, int y) const;
  void SetColor(int x, int y, COLORREF color);

  // The context that it is selected into.
  std::atomic<const DeviceContext*> owner = nullptr;

 private:
  int width_;
  int height_;
  int bits_per_pixel_;
  size_t stride_;
  std::vector<BYTE> pixels_;
};

// The colours of bitmaps of 1, 4 and 8 bits per pixel, 2 to the power of `bits_per_pixel` of them;
// none for deeper ones.
std::vector<RGBQUAD> ColorTable(int bits_per_pixel);

}  // namespace platform
