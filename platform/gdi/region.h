// Sets of pixels: bands of rows from the top down, each with its spans from left to right. Bands
// are as high and spans as wide as they can be, so that equal sets have equal representations.
#pragma once

#include <windows.h>

#include <span>
#include <vector>

namespace platform {

// Pixels left to right - 1 of a row.
struct Span {
  int left, right;
  bool operator==(const Span&) const = default;
};

class Region {
 public:
  Region() = default;
  // The corners may be given either way round.
  explicit Region(const RECT& rectangle);
  // The pixels whose centres lie in the ellipse that the rectangle bounds; at most kMostOfEllipse
  // wide and high.
  static Region Ellipse(const RECT& rectangle);
  static constexpr int kMostOfEllipse = 0x7FFF;

  // Mode: RGN_AND, RGN_OR, RGN_XOR or RGN_DIFF.
  static Region Combine(const Region& a, const Region& b, int mode);

  // Adds the rows from `top` to `bottom` - 1, which lie below all others. The spans are sorted, not
  // empty, and do not touch each other.
  void AddBand(int top, int bottom, std::span<const Span> spans);

  bool IsEmpty() const { return bands_.empty(); }
  // NULLREGION, SIMPLEREGION or COMPLEXREGION.
  int Complexity() const;
  RECT Bounds() const;
  bool Contains(int x, int y) const;
  bool operator==(const Region&) const = default;

 private:
  struct Band {
    int top, bottom;
    size_t first, end;  // in spans_
    bool operator==(const Band&) const = default;
  };
  std::span<const Span> SpansOf(const Band& band) const {
    return std::span(spans_).subspan(band.first, band.end - band.first);
  }

  std::vector<Band> bands_;
  std::vector<Span> spans_;
};

// Coordinates of regions have 27 bits.
inline constexpr int kMostCoordinate = 0x3FFFFFF;
inline bool IsRegionCoordinate(LONGLONG value) {
  return value >= -kMostCoordinate - 1 && value <= kMostCoordinate;
}

}  // namespace platform
