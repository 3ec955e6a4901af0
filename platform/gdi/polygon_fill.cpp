#include "platform/gdi/polygon_fill.h"

#include <algorithm>

namespace platform {
namespace {

LONGLONG FloorDivide(LONGLONG value, LONGLONG by) {
  const LONGLONG quotient = value / by;
  return quotient - (value % by < 0);
}
LONGLONG CeilDivide(LONGLONG value, LONGLONG by) {
  return -FloorDivide(-value, by);
}

// An edge that crosses the rows from `top` to `bottom` - 1. On its present row it is crossed
// `shortfall` / `unit` of a pixel left of `column`, which is the first pixel right of it. Whole
// numbers carry it from row to row without error.
struct Edge {
  int top, bottom;
  int direction;  // 1 down, -1 up
  LONGLONG column, shortfall, unit;
  LONGLONG column_step, shortfall_step;

  void NextRow() {
    column += column_step;
    shortfall -= shortfall_step;
    if (shortfall < 0) {
      ++column;
      shortfall += unit;
    }
  }
};

// False for an edge that crosses no row.
bool MakeEdge(FixedPoint from, FixedPoint to, Edge& edge) {
  edge.direction = 1;
  if (from.y > to.y) {
    std::swap(from, to);
    edge.direction = -1;
  }
  edge.top = static_cast<int>(CeilDivide(from.y, kSubpixels));
  edge.bottom = static_cast<int>(CeilDivide(to.y, kSubpixels));
  if (edge.top >= edge.bottom) return false;
  const LONGLONG width = LONGLONG{to.x} - from.x, height = LONGLONG{to.y} - from.y;
  const LONGLONG crossing = from.x * height + (LONGLONG{edge.top} * kSubpixels - from.y) * width;
  edge.unit = kSubpixels * height;
  edge.column = CeilDivide(crossing, edge.unit);
  edge.shortfall = edge.column * edge.unit - crossing;
  edge.column_step = FloorDivide(width, height);
  edge.shortfall_step = kSubpixels * (width - edge.column_step * height);
  return true;
}

std::vector<Edge> EdgesOf(const std::vector<Figure>& figures) {
  std::vector<Edge> edges;
  for (const Figure& figure : figures) {
    for (size_t i = 0; i < figure.size(); ++i) {
      Edge edge;
      if (MakeEdge(figure[i], figure[(i + 1) % figure.size()], edge)) edges.push_back(edge);
    }
  }
  std::stable_sort(edges.begin(), edges.end(),
                   [](const Edge& a, const Edge& b) { return a.top < b.top; });
  return edges;
}

// Edges hardly change places from one row to the next.
void SortByColumn(std::vector<Edge>& edges) {
  for (size_t i = 1; i < edges.size(); ++i) {
    if (edges[i - 1].column <= edges[i].column) continue;
    const Edge moved = edges[i];
    size_t at = i;
    for (; at > 0 && edges[at - 1].column > moved.column; --at) edges[at] = edges[at - 1];
    edges[at] = moved;
  }
}

void SpansBetween(const std::vector<Edge>& edges, int fill_mode, std::vector<Span>& spans) {
  spans.clear();
  int winding = 0;
  for (size_t i = 0; i + 1 < edges.size(); ++i) {
    winding += fill_mode == WINDING ? edges[i].direction : winding == 0 ? 1 : -1;
    const int left = static_cast<int>(edges[i].column);
    const int right = static_cast<int>(edges[i + 1].column);
    if (winding == 0 || left == right) continue;
    if (!spans.empty() && spans.back().right == left) {
      spans.back().right = right;
    } else {
      spans.push_back({left, right});
    }
  }
}

}  // namespace

Region FillFigures(const std::vector<Figure>& figures, int fill_mode) {
  const std::vector<Edge> edges = EdgesOf(figures);
  Region region;
  std::vector<Edge> active;
  std::vector<Span> spans;
  size_t next = 0;
  for (int row = edges.empty() ? 0 : edges.front().top; next < edges.size() || !active.empty();) {
    if (active.empty()) row = edges[next].top;
    for (; next < edges.size() && edges[next].top == row; ++next) active.push_back(edges[next]);
    SortByColumn(active);
    SpansBetween(active, fill_mode, spans);
    region.AddBand(row, row + 1, spans);
    ++row;
    std::erase_if(active, [=](const Edge& edge) { return edge.bottom == row; });
    for (Edge& edge : active) edge.NextRow();
  }
  return region;
}

}  // namespace platform
