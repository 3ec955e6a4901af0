#include "runtime/graphics/bitmap_rotation.h"

#include <algorithm>
#include <limits>
#include <new>
#include <utility>

#include "runtime/graphics/turn_bits.h"

namespace kv {
namespace {

constexpr ULONGLONG kChunkBytes = 32768;

BITMAPINFO* InfoOf(BitmapHeader& header) {
  return reinterpret_cast<BITMAPINFO*>(&header);
}

// New rows; null when memory runs out or cannot hold them.
std::unique_ptr<BYTE[]> NewRows(int width, int height, int bitsPerPixel) {
  if (width <= 0 || height <= 0) return nullptr;
  const ULONGLONG stride = DibStride(width, bitsPerPixel);
  constexpr ULONGLONG kMost = std::numeric_limits<ptrdiff_t>::max();
  if (stride > kMost / static_cast<ULONGLONG>(height)) return nullptr;
  return std::unique_ptr<BYTE[]>(new (std::nothrow) BYTE[static_cast<size_t>(stride * height)]);
}

BOOL ReadHeader(HDC context, HBITMAP bitmap, BitmapHeader& header) {
  BITMAP description;
  if (GetObjectW(bitmap, sizeof description, &description) == 0) return FALSE;
  header = {};
  header.info.biSize = sizeof header.info;
  if (GetDIBits(context, bitmap, 0, description.bmHeight, nullptr, InfoOf(header),
                DIB_RGB_COLORS) == 0) {
    return FALSE;
  }
  header.info.biCompression = BI_RGB;
  header.info.biSizeImage = 0;
  // Pictures that only a printer understands have no pixels of their own.
  return header.info.biBitCount != 0;
}

BOOL ReadRows(HDC context, HBITMAP bitmap, BitmapHeader& header, BYTE* rows) {
  const ULONGLONG stride = DibStride(header.info.biWidth, header.info.biBitCount);
  const int chunk = static_cast<int>(kChunkBytes / stride);
  if (chunk == 0) return FALSE;
  for (int row = 0, count; row < header.info.biHeight; row += count) {
    count = std::min<int>(chunk, header.info.biHeight - row);
    if (GetDIBits(context, bitmap, row, count, rows + static_cast<size_t>(row * stride),
                  InfoOf(header), DIB_RGB_COLORS) != count) {
      return FALSE;
    }
  }
  return TRUE;
}

// The bitmap as it is; null when a step fails.
TurnedBitmap ReadBitmap(HDC context, HBITMAP bitmap) {
  TurnedBitmap read;
  read.header.reset(new (std::nothrow) BitmapHeader);
  if (read.header == nullptr || !ReadHeader(context, bitmap, *read.header)) return {};
  const BITMAPINFOHEADER& info = read.header->info;
  read.bits = NewRows(info.biWidth, info.biHeight, info.biBitCount);
  if (read.bits == nullptr || !ReadRows(context, bitmap, *read.header, read.bits.get())) return {};
  // The system has entered the size of what it gave.
  read.header->info.biSizeImage = 0;
  return read;
}

}  // namespace

BOOL RotateBitmapQuarter(HDC context, HBITMAP bitmap, TurnedBitmap& turned) {
  turned = {};
  TurnedBitmap source = ReadBitmap(context, bitmap);
  if (source.bits == nullptr) return FALSE;
  BITMAPINFOHEADER& info = source.header->info;
  std::unique_ptr<BYTE[]> target = NewRows(info.biHeight, info.biWidth, info.biBitCount);
  if (target == nullptr || !TurnBitsQuarter(source.bits.get(), target.get(), info.biWidth,
                                            info.biHeight, info.biBitCount)) {
    return FALSE;
  }
  std::swap(info.biWidth, info.biHeight);
  turned = {std::move(target), std::move(source.header)};
  return TRUE;
}

BOOL RotateBitmapHalf(HDC context, HBITMAP bitmap, TurnedBitmap& turned) {
  turned = {};
  TurnedBitmap source = ReadBitmap(context, bitmap);
  if (source.bits == nullptr) return FALSE;
  const BITMAPINFOHEADER& info = source.header->info;
  if (!TurnBitsHalf(source.bits.get(), info.biWidth, info.biHeight, info.biBitCount)) return FALSE;
  turned = std::move(source);
  return TRUE;
}

}  // namespace kv
