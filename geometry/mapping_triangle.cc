// SPDX-License-Identifier: Apache-2.0
// Triangles, row by row. Each row meets two edges; where it does is rounded up to a sample exactly, in integers, and in
// the same way from both sides of an edge, so that neighbours share no sample.
#include <algorithm>
#include <cstring>
#include <utility>

#include "geometry/rounding.h"
#include "quorvel/mapping.h"

namespace {

using quorvel::ceiling;
using Point = TPoInt<std::int32_t>;

constexpr std::int64_t kPixel = 16;  // units of a corner's coordinates in a pixel
constexpr std::int32_t kMost = 1 << 27;

// The first sample on or right of the edge from a up to b in the row at height y. All of it stays below 2^62.
std::int64_t crossing(const Point& a, const Point& b, std::int64_t y) {
  const std::int64_t rise = std::int64_t{b.y} - a.y;
  return ceiling(a.x * rise + (std::int64_t{b.x} - a.x) * (y - a.y), kPixel * rise);
}

// Calls span(row, first, end) for the samples of every row; returns how many there are.
template <typename Span>
int forSpans(unsigned width, unsigned height, const Point* corners, Span&& span) {
  Point p[3] = {corners[0], corners[1], corners[2]};
  for (const Point& c : p) {
    if (c.x < -kMost || c.x > kMost || c.y < -kMost || c.y > kMost) return -1;
  }
  std::sort(p, p + 3, [](const Point& a, const Point& b) { return a.y != b.y ? a.y < b.y : a.x < b.x; });
  int count = 0;
  const std::int64_t end = std::min<std::int64_t>(height, ceiling(p[2].y, kPixel));
  for (std::int64_t row = std::max<std::int64_t>(0, ceiling(p[0].y, kPixel)); row < end; ++row) {
    const std::int64_t y = row * kPixel;
    const bool upper = y < p[1].y;
    auto [left, right] = std::minmax({crossing(p[0], p[2], y), crossing(p[upper ? 0 : 1], p[upper ? 1 : 2], y)});
    left = std::max<std::int64_t>(left, 0);
    right = std::min<std::int64_t>(right, width);
    if (left >= right) continue;
    span(static_cast<std::size_t>(row), static_cast<std::size_t>(left), static_cast<std::size_t>(right));
    count += static_cast<int>(right - left);
  }
  return count;
}

}  // namespace

int fillTriangle(std::uint8_t* raster, unsigned pitch, unsigned width, unsigned height, const Point* corners,
                 std::uint8_t value) {
  return forSpans(width, height, corners, [=](std::size_t row, std::size_t first, std::size_t end) {
    std::memset(raster + row * pitch + first, value, end - first);
  });
}

int fillTriangleZ(float* raster, unsigned pitch, unsigned width, unsigned height, const Point* corners,
                  const float* z) {
  const auto side = [corners](int i) {
    return std::pair(static_cast<double>(std::int64_t{corners[i].x} - corners[0].x),
                     static_cast<double>(std::int64_t{corners[i].y} - corners[0].y));
  };
  const auto [x1, y1] = side(1);
  const auto [x2, y2] = side(2);
  const double area = x1 * y2 - x2 * y1, z1 = static_cast<double>(z[1]) - z[0], z2 = static_cast<double>(z[2]) - z[0];
  // Of a triangle without area they are not numbers, but it has no samples either.
  const double slopeX = (z1 * y2 - z2 * y1) / area, slopeY = (z2 * x1 - z1 * x2) / area;
  const auto height16 = [=](std::size_t x, std::size_t y) {
    return z[0] + slopeX * (static_cast<double>(x * kPixel) - corners[0].x) +
           slopeY * (static_cast<double>(y * kPixel) - corners[0].y);
  };
  return forSpans(width, height, corners, [=](std::size_t row, std::size_t first, std::size_t end) {
    for (std::size_t x = first; x < end; ++x) raster[row * pitch + x] = static_cast<float>(height16(x, row));
  });
}
