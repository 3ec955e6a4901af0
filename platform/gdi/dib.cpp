// Bitmaps in the device-independent format: rows bottom-up, padded to 4 bytes.
#include <algorithm>
#include <cstring>

#include "platform/gdi/device_context.h"
#include "platform/kernel/api_call.h"
#include "platform/kernel/modules.h"

namespace platform {
namespace {

size_t DibStride(LONGLONG width, int bits_per_pixel) {
  return static_cast<size_t>((width * bits_per_pixel + 31) / 32 * 4);
}

bool HasMasks(int bits_per_pixel) {
  return bits_per_pixel == 16 || bits_per_pixel == 32;
}

void Describe(const Bitmap& bitmap, BITMAPINFOHEADER& header) {
  const size_t bytes = DibStride(bitmap.width(), bitmap.bits_per_pixel()) * bitmap.height();
  header = {};
  header.biSize = sizeof header;
  header.biWidth = bitmap.width();
  header.biHeight = bitmap.height();
  header.biPlanes = 1;
  header.biBitCount = static_cast<WORD>(bitmap.bits_per_pixel());
  header.biCompression = HasMasks(bitmap.bits_per_pixel()) ? BI_BITFIELDS : BI_RGB;
  header.biSizeImage = static_cast<DWORD>(bytes);
}

// Whether the header asks for the bitmap's own format, bottom-up.
bool AsksForOwnFormat(const BITMAPINFOHEADER& header, const Bitmap& bitmap) {
  return header.biBitCount == bitmap.bits_per_pixel() && header.biCompression == BI_RGB &&
         header.biPlanes == 1 && header.biWidth == bitmap.width() &&
         header.biHeight == bitmap.height();
}

void WriteColors(int bits_per_pixel, BITMAPINFO& info) {
  const std::vector<RGBQUAD> table = ColorTable(bits_per_pixel);
  std::copy(table.begin(), table.end(), info.bmiColors);
}

int CopyRows(const Bitmap& bitmap, UINT start, UINT lines, void* bits) {
  const UINT height = static_cast<UINT>(bitmap.height());
  if (start >= height) return 0;
  const UINT count = std::min(lines, height - start);
  const size_t stride = DibStride(bitmap.width(), bitmap.bits_per_pixel());
  BYTE* to = static_cast<BYTE*>(bits);
  for (UINT row = start; row < start + count; ++row, to += stride) {
    std::memcpy(to, bitmap.Row(static_cast<int>(height - 1 - row)), bitmap.stride());
    std::memset(to + bitmap.stride(), 0, stride - bitmap.stride());
  }
  return static_cast<int>(count);
}

// The answer of GetDIBits; 0 with `error`.
int ReadBits(const Bitmap& bitmap, UINT start, UINT lines, void* bits, BITMAPINFO& info,
             DWORD& error) {
  BITMAPINFOHEADER& header = info.bmiHeader;
  error = ERROR_INVALID_PARAMETER;
  if (header.biSize != sizeof header || bitmap.selections != 0) return 0;
  if (bits == nullptr && header.biBitCount == 0) {
    Describe(bitmap, header);
    return bitmap.height();
  }
  error = ERROR_CALL_NOT_IMPLEMENTED;
  if (!AsksForOwnFormat(header, bitmap)) return 0;
  error = ERROR_INVALID_PARAMETER;
  header.biSizeImage =
      static_cast<DWORD>(DibStride(bitmap.width(), bitmap.bits_per_pixel()) * bitmap.height());
  WriteColors(bitmap.bits_per_pixel(), info);
  return bits == nullptr ? bitmap.height() : CopyRows(bitmap, start, lines, bits);
}

// A packed device-independent bitmap as resources hold it.
struct PackedDib {
  BITMAPINFOHEADER header;
  std::vector<RGBQUAD> colors;
  const BYTE* rows;
  size_t stride;
};

// False for bytes that are no complete bitmap of a kind that there is.
bool Unpack(const BYTE* bytes, size_t size, PackedDib& dib) {
  if (size < sizeof dib.header) return false;
  std::memcpy(&dib.header, bytes, sizeof dib.header);
  const BITMAPINFOHEADER& header = dib.header;
  const bool known_depth = header.biBitCount == 1 || header.biBitCount == 4 ||
                           header.biBitCount == 8 || header.biBitCount == 24 ||
                           header.biBitCount == 32;
  constexpr LONG kMost = 0x7FFF;
  if (header.biSize != sizeof header || header.biCompression != BI_RGB || !known_depth ||
      header.biWidth <= 0 || header.biHeight <= 0 || header.biWidth > kMost ||
      header.biHeight > kMost) {
    return false;
  }
  const size_t most = header.biBitCount <= 8 ? size_t{1} << header.biBitCount : 0;
  const size_t colors = header.biClrUsed == 0 ? most : header.biClrUsed;
  if (colors > 256 || (header.biBitCount <= 8 && colors > most)) return false;
  dib.colors.resize(std::max(colors, most));
  dib.stride = DibStride(header.biWidth, header.biBitCount);
  const size_t table = colors * sizeof(RGBQUAD);
  if (size < sizeof header + table + dib.stride * header.biHeight) return false;
  if (table != 0) std::memcpy(dib.colors.data(), bytes + sizeof header, table);
  dib.rows = bytes + sizeof header + table;
  return true;
}

bool IsBlackAndWhite(const PackedDib& dib) {
  const auto value = [](const RGBQUAD& c) { return RGB(c.rgbRed, c.rgbGreen, c.rgbBlue); };
  return dib.header.biBitCount == 1 && value(dib.colors[0]) == RGB(0, 0, 0) &&
         value(dib.colors[1]) == RGB(255, 255, 255);
}

COLORREF ColorAt(const PackedDib& dib, const BYTE* row, int x) {
  const int depth = dib.header.biBitCount;
  const BYTE* at = row + static_cast<size_t>(x) * depth / 8;
  if (depth > 8) return RGB(at[2], at[1], at[0]);
  const int shift = 8 - depth - x * depth % 8;
  const RGBQUAD& color = dib.colors[*at >> shift & ((1 << depth) - 1)];
  return RGB(color.rgbRed, color.rgbGreen, color.rgbBlue);
}

std::shared_ptr<Bitmap> ToScreenBitmap(const PackedDib& dib) {
  const int width = dib.header.biWidth, height = dib.header.biHeight;
  auto bitmap = std::make_shared<Bitmap>(width, height, IsBlackAndWhite(dib) ? 1 : 32);
  for (int y = 0; y < height; ++y) {
    const BYTE* row = dib.rows + dib.stride * (height - 1 - y);
    for (int x = 0; x < width; ++x) bitmap->SetColor(x, y, ColorAt(dib, row, x));
  }
  return bitmap;
}

}  // namespace
}  // namespace platform

using namespace platform;

int WINAPI GetDIBits(HDC context, HBITMAP handle, UINT start, UINT lines, LPVOID bits,
                     LPBITMAPINFO info, UINT usage) {
  KV_API(GetDIBits, ERROR_INVALID_PARAMETER, 0, context, handle, start, lines, bits, info, usage);
  const auto bitmap = RequireGdiObject<Bitmap>(handle);
  if (bitmap == nullptr || RequireGdiObject<DeviceContext>(context) == nullptr) return 0;
  DWORD error = ERROR_CALL_NOT_IMPLEMENTED;
  const int rows =
      usage == DIB_RGB_COLORS ? ReadBits(*bitmap, start, lines, bits, *info, error) : 0;
  if (rows == 0) SetLastError(error);
  return rows;
}

HBITMAP WINAPI LoadBitmapW(HINSTANCE module, LPCWSTR name) {
  KV_API(LoadBitmapW, ERROR_RESOURCE_NAME_NOT_FOUND, nullptr, module, name);
  const HRSRC resource = FindResourceW(module, name, RT_BITMAP);
  if (resource == nullptr) return nullptr;
  const auto* bytes = static_cast<const BYTE*>(LoadResource(module, resource));
  PackedDib dib;
  if (bytes == nullptr || !Unpack(bytes, SizeofResource(module, resource), dib)) {
    SetLastError(ERROR_CALL_NOT_IMPLEMENTED);
    return nullptr;
  }
  return static_cast<HBITMAP>(AddGdiObject(ToScreenBitmap(dib)));
}
