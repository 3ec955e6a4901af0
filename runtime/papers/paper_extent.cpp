#include "runtime/papers/paper_extent.h"

#include <algorithm>

#include "runtime/core/messages.h"
#include "runtime/papers/paper_table.h"
#include "runtime/text/text.h"

namespace kv {
namespace {

constexpr LONG kLargestCoordinate = 32767;
// 32767 pixels at 1 dpi in millimetres; divided by dpi it gives millimetres and the other way
// round.
constexpr int kLargestSideAtOneDpi = 832281;

// The sides of the paper, and how many of their unit there are in an inch and in a millimetre.
struct PaperSides {
  int width;
  int height;
  int perInch;
  int perMillimetre;
};

PaperSides SidesOf(const DEVMODEW& dev) {
  if (dev.dmPaperSize >= DMPAPER_USER) return {dev.dmPaperWidth, dev.dmPaperLength, 254, 10};
  const CStandardPapers papers;
  const PaperEntry* paper = papers.FindPaperById(static_cast<WORD>(dev.dmPaperSize));
  if (paper == nullptr) paper = papers.GetDefaultPaper();
  return {static_cast<int>(paper->width), static_cast<int>(paper->height), 25400, 1000};
}

PaperSides TurnedSidesOf(const DEVMODEW& dev) {
  PaperSides sides = SidesOf(dev);
  const bool lies = dev.dmOrientation == DMORIENT_PORTRAIT && sides.width > sides.height;
  const bool stands = dev.dmOrientation == DMORIENT_LANDSCAPE && sides.width < sides.height;
  if (lies || stands) std::swap(sides.width, sides.height);
  return sides;
}

int MarginOf(const ProductSettings& settings, PaperSide side) {
  switch (side) {
    case PaperSide::kLeft:
      return settings.leftMargin;
    case PaperSide::kTop:
      return settings.topMargin;
    case PaperSide::kRight:
      return settings.rightMargin;
    default:
      return settings.bottomMargin;
  }
}

}  // namespace

void GetPaperExtent(const ProductDevMode& devMode, int dpi, SIZE* pixels, SIZE* millimetres) {
  const PaperSides sides = TurnedSidesOf(devMode.dev);
  if (pixels != nullptr) {
    pixels->cx = MulDiv(sides.width, dpi, sides.perInch);
    pixels->cy = MulDiv(sides.height, dpi, sides.perInch);
  }
  if (millimetres != nullptr) {
    millimetres->cx = sides.width / sides.perMillimetre;
    millimetres->cy = sides.height / sides.perMillimetre;
  }
}

void GetPaperExtentAtOwnResolution(const ProductDevMode& devMode, SIZE* pixels, SIZE* millimetres) {
  GetPaperExtent(devMode, devMode.settings.resolution, pixels, millimetres);
}

int GetMarginMillimetres(const ProductDevMode& devMode, PaperSide side) {
  return MulDiv(MarginOf(devMode.settings, side), 254, 10000);
}

int GetMarginPixels(const ProductDevMode& devMode, PaperSide side) {
  return MulDiv(MarginOf(devMode.settings, side), devMode.settings.resolution, 1000);
}

void GetPaperRect(const ProductDevMode& devMode, RECT& rectangle) {
  SIZE paper;
  GetPaperExtentAtOwnResolution(devMode, &paper, nullptr);
  rectangle = {0, 0, paper.cx, paper.cy};
}

void GetPrintableRect(const ProductDevMode& devMode, RECT& rectangle) {
  SIZE paper;
  GetPaperExtentAtOwnResolution(devMode, &paper, nullptr);
  rectangle.left = GetMarginPixels(devMode, PaperSide::kLeft);
  rectangle.top = GetMarginPixels(devMode, PaperSide::kTop);
  rectangle.right = paper.cx - GetMarginPixels(devMode, PaperSide::kRight);
  rectangle.bottom = paper.cy - GetMarginPixels(devMode, PaperSide::kBottom);
}

BOOL CheckPaperFits(const ProductDevMode& devMode) {
  SIZE pixels, millimetres;
  GetPaperExtentAtOwnResolution(devMode, &pixels, &millimetres);
  if (std::max(pixels.cx, pixels.cy) <= kLargestCoordinate) return TRUE;
  WCHAR name[CCHFORMNAME + 1] = {};
  std::copy(std::begin(devMode.dev.dmFormName), std::end(devMode.dev.dmFormName), name);
  // A side of that many pixels is at least a millimetre long at any resolution.
  const int larger = static_cast<int>(std::max(millimetres.cx, millimetres.cy));
  const int resolution = devMode.settings.resolution;
  ShowErrorF(TEXT("Paper size \"%s\" is too big.\n\nmax resolution for this paper size = %d dpi\n")
                 TEXT("max paper dimension at current resolution (%d dpi) = %d mm"),
             static_cast<LPCWSTR>(name), kLargestSideAtOneDpi / larger, resolution,
             kLargestSideAtOneDpi / resolution);
  return FALSE;
}

}  // namespace kv
