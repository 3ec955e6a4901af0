// Device contexts and bitmaps.
#include <cstring>
#include <vector>

#include "platform/control/pe_writer.h"
#include "tests/support/machine_test.h"

namespace {

class GdiTest : public kv::test::MachineTest {
 protected:
  static BITMAPINFOHEADER Header(int width, int height, int depth) {
    BITMAPINFOHEADER header = {};
    header.biSize = sizeof header;
    header.biWidth = width;
    header.biHeight = height;
    header.biPlanes = 1;
    header.biBitCount = static_cast<WORD>(depth);
    return header;
  }
};

TEST_F(GdiTest, ContextsAreGivenBackToWhereTheyCameFrom) {
  const HWND window = CreateWindowExW(0, TEXT("Static"), TEXT("w"), WS_POPUP, 0, 0, 9, 9, nullptr,
                                      nullptr, nullptr, nullptr);
  const HDC screen = GetDC(nullptr), of_window = GetDC(window), memory = CreateCompatibleDC(screen);
  EXPECT_EQ(GetDC(reinterpret_cast<HWND>(0x1234)), nullptr);
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_WINDOW_HANDLE));
  platform::SetFact(platform::facts::kScreenDpi, "120");
  EXPECT_EQ(GetDeviceCaps(memory, LOGPIXELSY), 120);
  EXPECT_EQ(ReleaseDC(nullptr, of_window), 0);
  EXPECT_EQ(ReleaseDC(window, memory), 0);
  EXPECT_FALSE(DeleteDC(screen));
  EXPECT_FALSE(DeleteObject(memory));
  EXPECT_EQ(ReleaseDC(window, of_window), 1);
  EXPECT_EQ(ReleaseDC(window, of_window), 0) << "once only";
  EXPECT_EQ(ReleaseDC(nullptr, screen), 1);
  EXPECT_TRUE(DeleteDC(memory));
  EXPECT_EQ(GetROP2(memory), 0);
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_HANDLE));
  DestroyWindow(window);
}

TEST_F(GdiTest, SelectedObjectsStayUntilNoStateHoldsThem) {
  const HDC first = CreateCompatibleDC(nullptr), second = CreateCompatibleDC(nullptr);
  const HBITMAP bitmap = CreateBitmap(8, 8, 1, 32, nullptr);
  const HGDIOBJ stock = SelectObject(first, bitmap);
  ASSERT_NE(stock, nullptr);
  EXPECT_EQ(SelectObject(second, bitmap), nullptr) << "one context only";
  EXPECT_EQ(SaveDC(first), 1);
  EXPECT_EQ(SaveDC(first), 2);
  EXPECT_EQ(SelectObject(first, stock), bitmap);
  EXPECT_FALSE(DeleteObject(bitmap)) << "saved states hold it";
  EXPECT_FALSE(RestoreDC(first, 3));
  EXPECT_FALSE(RestoreDC(first, 0));
  EXPECT_TRUE(RestoreDC(first, 1)) << "the later state is gone with it";
  EXPECT_EQ(GetCurrentObject(first, OBJ_BITMAP), bitmap);
  EXPECT_FALSE(RestoreDC(first, -1));
  DeleteDC(first);
  EXPECT_EQ(SelectObject(second, bitmap), stock) << "free again";
  DeleteDC(second);
  EXPECT_TRUE(DeleteObject(bitmap));
  EXPECT_FALSE(DeleteObject(bitmap));
  EXPECT_TRUE(DeleteObject(GetStockObject(WHITE_BRUSH)));
  EXPECT_NE(GetStockObject(WHITE_BRUSH), nullptr);
  EXPECT_EQ(SelectObject(second, bitmap), nullptr) << "deleted";
}

TEST_F(GdiTest, BitmapResourcesBecomeBitmapsOfTheScreen) {
  // 3 by 2 pixels of 4 bits, two colours given, bottom row first.
  BITMAPINFOHEADER header = Header(3, 2, 4);
  header.biClrUsed = 2;
  std::vector<BYTE> dib(sizeof header);
  memcpy(dib.data(), &header, sizeof header);
  for (BYTE byte : {0x10, 0x20, 0x30, 0, 0xFF, 0xFF, 0xFF, 0, 0x01, 0x00, 0, 0, 0x10, 0x10, 0, 0}) {
    dib.push_back(byte);
  }
  std::vector<BYTE> cut(dib.begin(), dib.end() - 1);
  platform::PeWriter()
      .AddResource(2, 1, 0x0409, dib)
      .AddResource(2, 2, 0x0409, cut)
      .WriteTo(directory() / "drive_c/b.dll");
  const HMODULE library = LoadLibraryW(TEXT("C:\\b.dll"));
  const HBITMAP bitmap = LoadBitmapW(library, MAKEINTRESOURCEW(1));
  ASSERT_NE(bitmap, nullptr);
  BITMAP description;
  EXPECT_EQ(GetObjectW(bitmap, sizeof description, &description),
            static_cast<int>(sizeof description));
  EXPECT_EQ(description.bmWidth, 3);
  EXPECT_EQ(description.bmHeight, 2);
  EXPECT_EQ(description.bmBitsPixel, 32);
  const HDC context = CreateCompatibleDC(nullptr);
  const HGDIOBJ stock = SelectObject(context, bitmap);
  const COLORREF dark = RGB(0x30, 0x20, 0x10), white = RGB(255, 255, 255);
  const COLORREF expected[2][3] = {{white, dark, white}, {dark, white, dark}};
  for (int y = 0; y < 2; ++y) {
    for (int x = 0; x < 3; ++x) EXPECT_EQ(GetPixel(context, x, y), expected[y][x]);
  }
  SelectObject(context, stock);
  DeleteDC(context);
  DeleteObject(bitmap);
  EXPECT_EQ(LoadBitmapW(library, MAKEINTRESOURCEW(2)), nullptr) << "not complete";
  EXPECT_EQ(LoadBitmapW(library, MAKEINTRESOURCEW(3)), nullptr);
  FreeLibrary(library);
}

TEST_F(GdiTest, FontsHaveTheStatedMetrics) {
  const HDC screen = GetDC(nullptr);
  const struct {
    LONG height, width, cell, ascent, external, character;
  } kCases[] = {{-11, 0, 13, 11, 1, 5},
                {12, 8, 12, 10, 1, 8},
                {0, 0, 16, 14, 1, 6},
                {-160, 0, 190, 159, 12, 76}};
  for (const auto& c : kCases) {
    LOGFONTW font = {};
    font.lfHeight = c.height;
    font.lfWidth = c.width;
    const HFONT created = CreateFontIndirectW(&font);
    const HGDIOBJ previous = SelectObject(screen, created);
    TEXTMETRICW metrics;
    ASSERT_TRUE(GetTextMetricsW(screen, &metrics));
    EXPECT_EQ(metrics.tmHeight, c.cell);
    EXPECT_EQ(metrics.tmAscent, c.ascent);
    EXPECT_EQ(metrics.tmExternalLeading, c.external);
    SetTextCharacterExtra(screen, 2);
    SIZE size;
    ASSERT_TRUE(GetTextExtentPoint32W(screen, TEXT("abc"), 3, &size));
    EXPECT_EQ(size.cx, 3 * (c.character + 2));
    EXPECT_EQ(size.cy, c.cell);
    SelectObject(screen, previous);
    DeleteObject(created);
  }
  ReleaseDC(nullptr, screen);
}

TEST_F(GdiTest, WorldTransformsNeedTheAdvancedMode) {
  const HDC context = CreateCompatibleDC(nullptr);
  const XFORM move = {1, 0, 0, 1, 10, 20}, twice = {2, 0, 0, 2, 0, 0}, flat = {1, 2, 2, 4, 0, 0};
  EXPECT_FALSE(SetWorldTransform(context, &move));
  SetGraphicsMode(context, GM_ADVANCED);
  EXPECT_TRUE(SetWorldTransform(context, &move));
  EXPECT_EQ(SetGraphicsMode(context, GM_COMPATIBLE), 0) << "not with a transform";
  EXPECT_FALSE(SetWorldTransform(context, &flat));
  const struct {
    DWORD mode;
    FLOAT dx;
  } kCases[] = {{MWT_LEFTMULTIPLY, 10}, {MWT_RIGHTMULTIPLY, 20}};
  for (const auto& c : kCases) {
    SetWorldTransform(context, &move);
    EXPECT_TRUE(ModifyWorldTransform(context, &twice, c.mode));
    XFORM now;
    GetWorldTransform(context, &now);
    EXPECT_EQ(now.eM11, 2);
    EXPECT_EQ(now.eDx, c.dx);
  }
  EXPECT_TRUE(ModifyWorldTransform(context, nullptr, MWT_IDENTITY));
  EXPECT_EQ(SetGraphicsMode(context, GM_COMPATIBLE), GM_ADVANCED);
  DeleteDC(context);
}

TEST_F(GdiTest, BitsAreReadInChunksFromTheBottom) {
  const HDC context = CreateCompatibleDC(nullptr);
  // Three rows of nine pixels.
  const BYTE rows[] = {0x80, 0x80, 0xFF, 0x00, 0x01, 0x80};
  const HBITMAP bitmap = CreateBitmap(9, 3, 1, 1, rows);
  struct {
    BITMAPINFOHEADER header;
    RGBQUAD colors[256];
  } info = {};
  auto* format = reinterpret_cast<BITMAPINFO*>(&info);
  info.header.biSize = sizeof info.header;
  ASSERT_NE(GetDIBits(context, bitmap, 0, 3, nullptr, format, DIB_RGB_COLORS), 0);
  EXPECT_EQ(info.header.biBitCount, 1);
  EXPECT_EQ(info.header.biSizeImage, 12u);
  EXPECT_EQ(info.colors[1].rgbRed, 0) << "no colours without bits and depth";
  BYTE bits[12] = {};
  EXPECT_EQ(GetDIBits(context, bitmap, 1, 9, bits, format, DIB_RGB_COLORS), 2);
  EXPECT_EQ(info.colors[1].rgbRed, 0xFF);
  EXPECT_EQ(bits[0], 0xFF);
  EXPECT_EQ(bits[4], 0x80);
  EXPECT_EQ(bits[5], 0x80);
  EXPECT_EQ(GetDIBits(context, bitmap, 3, 1, bits, format, DIB_RGB_COLORS), 0);
  const HGDIOBJ stock = SelectObject(context, bitmap);
  EXPECT_EQ(GetDIBits(context, bitmap, 0, 1, bits, format, DIB_RGB_COLORS), 0) << "selected";
  SelectObject(context, stock);
  info.header.biBitCount = 8;
  EXPECT_EQ(GetDIBits(context, bitmap, 0, 1, bits, format, DIB_RGB_COLORS), 0);
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_CALL_NOT_IMPLEMENTED));
  DeleteObject(bitmap);
  DeleteDC(context);
}

TEST_F(GdiTest, PixelsAreCopiedBetweenDepthsWithinTheClipping) {
  for (int depth : {1, 4, 8, 16, 24, 32}) {
    const HDC target = CreateCompatibleDC(nullptr), source = CreateCompatibleDC(nullptr);
    const DWORD pixels[] = {0xFF0000, 0xFFFFFF, 0x000000, 0x0000FF};
    const HBITMAP from = CreateBitmap(2, 2, 1, 32, pixels),
                  to = CreateBitmap(4, 4, 1, depth, nullptr);
    const HGDIOBJ old_from = SelectObject(source, from), old_to = SelectObject(target, to);
    IntersectClipRect(target, 0, 0, 4, 3);
    EXPECT_TRUE(TransparentBlt(target, 0, 0, 4, 4, source, 0, 0, 2, 2, RGB(255, 0, 0)));
    EXPECT_EQ(GetPixel(target, 0, 0), RGB(0, 0, 0)) << "red is transparent";
    EXPECT_EQ(GetPixel(target, 3, 1), RGB(255, 255, 255));
    EXPECT_EQ(GetPixel(target, 3, 2), depth == 1 ? RGB(0, 0, 0) : RGB(0, 0, 255)) << depth;
    EXPECT_EQ(GetPixel(target, 3, 3), CLR_INVALID) << "clipped";
    EXPECT_TRUE(BitBlt(target, 1, 1, 9, 9, source, 0, 0, SRCCOPY));
    EXPECT_EQ(GetPixel(target, 1, 1), depth == 1 ? RGB(0, 0, 0) : RGB(255, 0, 0)) << depth;
    EXPECT_FALSE(TransparentBlt(target, 0, 0, 4, 4, source, 1, 1, 2, 2, 0)) << "beyond the source";
    EXPECT_FALSE(BitBlt(target, 1, 1, -1, 1, source, 0, 0, SRCCOPY)) << "mirrored";
    EXPECT_FALSE(BitBlt(target, 1, 1, 2, 2, target, 0, 0, SRCCOPY)) << "over itself";
    SelectObject(source, old_from);
    SelectObject(target, old_to);
    for (HDC context : {target, source}) DeleteDC(context);
    for (HBITMAP bitmap : {from, to}) DeleteObject(bitmap);
  }
}

}  // namespace
