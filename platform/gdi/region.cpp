#include "platform/gdi/region.h"

#include <algorithm>
#include <climits>
#include <cmath>

namespace platform {
namespace {

// Whether a pixel is in the combination, by whether it is in a and in b.
bool IsIn(int mode, bool in_a, bool in_b) {
  switch (mode) {
    case RGN_AND:
      return in_a && in_b;
    case RGN_OR:
      return in_a || in_b;
    case RGN_XOR:
      return in_a != in_b;
    default:
      return in_a && !in_b;
  }
}

// The edge of a row's spans where the pixels from `index` (two for each span) on begin.
int EdgeAt(std::span<const Span> spans, size_t index) {
  if (index >= spans.size() * 2) return INT_MAX;
  return index % 2 == 0 ? spans[index / 2].left : spans[index / 2].right;
}

void CombineRow(std::span<const Span> a, std::span<const Span> b, int mode,
                std::vector<Span>& result) {
  result.clear();
  bool inside = false;
  int left = 0;
  for (size_t i = 0, j = 0; i < a.size() * 2 || j < b.size() * 2;) {
    const int next_a = EdgeAt(a, i), next_b = EdgeAt(b, j);
    const int x = std::min(next_a, next_b);
    if (next_a == x) ++i;
    if (next_b == x) ++j;
    const bool now_inside = IsIn(mode, i % 2 != 0, j % 2 != 0);
    if (now_inside == inside) continue;
    if (inside) result.push_back({left, x});
    left = x;
    inside = now_inside;
  }
}

LONGLONG SquareRoot(LONGLONG value) {
  auto root = static_cast<LONGLONG>(std::sqrt(static_cast<double>(value)));
  while (root * root > value) --root;
  while ((root + 1) * (root + 1) <= value) ++root;
  return root;
}

int FloorOfHalf(LONGLONG value) {
  return static_cast<int>(value >> 1);
}

RECT Sorted(const RECT& r) {
  return {std::min(r.left, r.right), std::min(r.top, r.bottom), std::max(r.left, r.right),
          std::max(r.top, r.bottom)};
}

}  // namespace

Region::Region(const RECT& rectangle) {
  const RECT r = Sorted(rectangle);
  const Span row = {r.left, r.right};
  if (r.left < r.right && r.top < r.bottom) AddBand(r.top, r.bottom, {&row, 1});
}

// In doubled coordinates, where centres are whole numbers u and v from the middle, a pixel belongs
// to the ellipse when u² h² + v² w² <= w² h².
Region Region::Ellipse(const RECT& rectangle) {
  const RECT r = Sorted(rectangle);
  const LONGLONG width = r.right - r.left, height = r.bottom - r.top;
  const LONGLONG middle = LONGLONG{r.left} + r.right - 1;
  Region ellipse;
  for (int y = r.top; y < r.bottom; ++y) {
    const LONGLONG v = 2 * LONGLONG{y} + 1 - r.top - r.bottom;
    const LONGLONG most = SquareRoot(width * width * (height * height - v * v) / (height * height));
    const Span row = {FloorOfHalf(middle - most + 1), FloorOfHalf(middle + most) + 1};
    if (row.left < row.right) ellipse.AddBand(y, y + 1, {&row, 1});
  }
  return ellipse;
}

Region Region::Combine(const Region& a, const Region& b, int mode) {
  Region result;
  result.bands_.reserve(a.bands_.size() + b.bands_.size());
  result.spans_.reserve(a.spans_.size() + b.spans_.size());
  std::vector<Span> row;
  size_t i = 0, j = 0;
  const auto top_of = [](const std::vector<Band>& bands, size_t at) {
    return at < bands.size() ? bands[at].top : INT_MAX;
  };
  int y = std::min(top_of(a.bands_, 0), top_of(b.bands_, 0));
  while (i < a.bands_.size() || j < b.bands_.size()) {
    const bool in_a = top_of(a.bands_, i) <= y, in_b = top_of(b.bands_, j) <= y;
    const int bottom = std::min(in_a ? a.bands_[i].bottom : top_of(a.bands_, i),
                                in_b ? b.bands_[j].bottom : top_of(b.bands_, j));
    const auto row_a = in_a ? a.SpansOf(a.bands_[i]) : std::span<const Span>();
    const auto row_b = in_b ? b.SpansOf(b.bands_[j]) : std::span<const Span>();
    CombineRow(row_a, row_b, mode, row);
    result.AddBand(y, bottom, row);
    if (in_a && a.bands_[i].bottom == bottom) ++i;
    if (in_b && b.bands_[j].bottom == bottom) ++j;
    y = bottom;
  }
  return result;
}

void Region::AddBand(int top, int bottom, std::span<const Span> spans) {
  if (spans.empty()) return;
  if (!bands_.empty() && bands_.back().bottom == top &&
      std::ranges::equal(SpansOf(bands_.back()), spans)) {
    bands_.back().bottom = bottom;
    return;
  }
  const size_t first = spans_.size();
  spans_.insert(spans_.end(), spans.begin(), spans.end());
  bands_.push_back({top, bottom, first, spans_.size()});
}

int Region::Complexity() const {
  if (IsEmpty()) return NULLREGION;
  return spans_.size() == 1 ? SIMPLEREGION : COMPLEXREGION;
}

RECT Region::Bounds() const {
  if (IsEmpty()) return {};
  RECT bounds = {INT_MAX, bands_.front().top, INT_MIN, bands_.back().bottom};
  for (const Band& band : bands_) {
    bounds.left = std::min(bounds.left, spans_[band.first].left);
    bounds.right = std::max(bounds.right, spans_[band.end - 1].right);
  }
  return bounds;
}

bool Region::Contains(int x, int y) const {
  const auto band = std::upper_bound(bands_.begin(), bands_.end(), y,
                                     [](int row, const Band& b) { return row < b.bottom; });
  if (band == bands_.end() || band->top > y) return false;
  const auto spans = SpansOf(*band);
  const auto span = std::upper_bound(spans.begin(), spans.end(), x,
                                     [](int column, const Span& s) { return column < s.right; });
  return span != spans.end() && span->left <= x;
}

}  // namespace platform
