// SPDX-License-Identifier: Apache-2.0
#include "host/road/mapping.h"

#include <algorithm>
#include <cmath>

namespace quorvel::host {
namespace {

// Blocks of this side keep a turned block's part of the source in the caches.
constexpr unsigned kBlockSide = 128;
// A record's positions end at 32768 pixels, and a window of more samples than this would not stay in any cache.
constexpr double kMostExtent = 16000, kMostWindow = 1 << 22;
// Places further away than this are not computed with; no picture is that large.
constexpr double kFarAway = 1e7;
constexpr int kSpare = 2;  // samples around the positions that the resampling methods read: one before, two behind

double cross(double ax, double ay, double bx, double by) { return ax * by - ay * bx; }

// The sum of the products of a 3 x 3 determinant, with their signs or all positive.
double products(const std::array<double, 9>& m, bool positive) {
  constexpr int kTerms[6][3] = {{0, 4, 8}, {1, 5, 6}, {2, 3, 7}, {2, 4, 6}, {1, 3, 8}, {0, 5, 7}};
  double sum = 0;
  for (int t = 0; t < 6; ++t) {
    const auto at = [&](int k) { return m[static_cast<std::size_t>(kTerms[t][k])]; };
    const double product = at(0) * at(1) * at(2);
    sum += positive ? std::abs(product) : t < 3 ? product : -product;
  }
  return sum;
}

double depth(const std::array<double, 9>& m, Place p) { return m[6] * p.x + m[7] * p.y + m[8]; }

Place centre(Size size) { return {size.width / 2.0, size.height / 2.0}; }

// Along one axis: what the positions of a block span.
struct Extent {
  double low, high;

  double length() const { return high - low; }
  // In the source's samples, of which the first and last own half a pixel more.
  bool inside(double slack, unsigned size) const { return low >= slack - 0.5 && high < size - 0.5 - slack; }
  bool outside(double slack, unsigned size) const { return high < -0.5 - slack || low >= size - 0.5 + slack; }
};

class Cutter {
 public:
  Cutter(const Mapping& mapping, Size source, const std::function<void(const WarpBlock&)>& block,
         const std::function<void(unsigned, unsigned, unsigned, unsigned)>& outside)
      : mapping_(mapping), source_(source), block_(block), outside_(outside) {}

  void cut(unsigned x, unsigned y, unsigned width, unsigned height) const {
    const unsigned right = x + width - 1, lower = y + height - 1;
    const std::array corners = {position(x, y), position(right, y), position(x, lower), position(right, lower)};
    const auto seen = std::count_if(corners.begin(), corners.end(), [](const auto& c) { return c.has_value(); });
    if (seen == 0) return outside_(x, y, width, height);
    if (seen < 4) return split(x, y, width, height);
    const Extent ex = extent(corners, &Place::x), ey = extent(corners, &Place::y);
    // Between its corners a block may bulge, so what is far off is told by a margin of a quarter of the extent.
    if (ex.outside(ex.length() / 4, source_.width) || ey.outside(ey.length() / 4, source_.height)) {
      return outside_(x, y, width, height);
    }
    if (ex.length() > kMostExtent || ey.length() > kMostExtent || ex.length() * ey.length() > kMostWindow) {
      return split(x, y, width, height);
    }
    WarpBlock b{x, y, width, height, 0, 0, 0, 0, {}, false};
    b.originX = static_cast<int>(std::floor(ex.low)) - kSpare;
    b.originY = static_cast<int>(std::floor(ey.low)) - kSpare;
    b.windowWidth = static_cast<unsigned>(static_cast<int>(std::floor(ex.high)) + 2 * kSpare - b.originX);
    b.windowHeight = static_cast<unsigned>(static_cast<int>(std::floor(ey.high)) + 2 * kSpare - b.originY);
    if (!follow(corners, b)) return split(x, y, width, height);
    b.inside = ex.inside(4 * kWarpTolerance, source_.width) && ey.inside(4 * kWarpTolerance, source_.height);
    block_(b);
  }

 private:
  // Where the centre of an output pixel lies among the source's samples.
  std::optional<Place> position(unsigned x, unsigned y) const {
    const auto place = mapping_({x + 0.5, y + 0.5});
    if (!place || !(std::abs(place->x) < kFarAway && std::abs(place->y) < kFarAway)) return std::nullopt;
    return Place{place->x - 0.5, place->y - 0.5};
  }

  static Extent extent(const std::array<std::optional<Place>, 4>& corners, double Place::*axis) {
    Extent e = {(*corners[0]).*axis, (*corners[0]).*axis};
    for (const auto& c : corners) e = {std::min(e.low, (*c).*axis), std::max(e.high, (*c).*axis)};
    return e;
  }

  void split(unsigned x, unsigned y, unsigned width, unsigned height) const {
    if (width == 1 && height == 1) return outside_(x, y, 1, 1);
    const unsigned left = (width + 1) / 2, upper = (height + 1) / 2;
    cut(x, y, left, upper);
    if (width > 1) cut(x + left, y, width - left, upper);
    if (height > 1) cut(x, y + upper, left, height - upper);
    if (width > 1 && height > 1) cut(x + left, y + upper, width - left, height - upper);
  }

  // One coordinate of the four corners from the block's origin on, so that the steps, which the library truncates,
  // come out rounded: a step of a pixel must not end just below it.
  static std::array<double, 4> alongAxis(const std::array<double, 4>& p, int origin, double across, double down) {
    const auto rounding = [](double difference, double pixels) {
      return difference + std::copysign(pixels / (2 * 65536), difference);
    };
    const double first = p[0] - origin, row = rounding(p[1] - p[0], across), column = rounding(p[2] - p[0], down);
    return {first, first + row, first + column,
            first + column + row + rounding(p[3] - p[2] - p[1] + p[0], across * down)};
  }

  // Makes the block's record; false where it deviates too much. The start is then moved by whole sixteenths so that
  // the resampler's positions, which it truncates, are off by nothing on average: else every picture would creep.
  bool follow(const std::array<std::optional<Place>, 4>& corners, WarpBlock& b) const {
    const auto& [p0, p1, p2, p3] = corners;
    const double across = std::max(b.width, 2u) - 1, down = std::max(b.height, 2u) - 1;
    const auto x = alongAxis({p0->x, p1->x, p2->x, p3->x}, b.originX, across, down);
    const auto y = alongAxis({p0->y, p1->y, p2->y, p3->y}, b.originY, across, down);
    const Geo4Rect rect = {x[0], y[0], x[1], y[1], x[2], y[2], x[3], y[3]};
    calcGeo(&rect, b.width, b.height, 1 / across, 1 / down, &b.coef);

    // Nine each way, among them the ends and the middle, where the greatest deviations are.
    const unsigned columns = std::min(b.width, 9u), rows = std::min(b.height, 9u);
    const GeoCoef4& c = b.coef;
    double sumX = 0, sumY = 0;
    for (unsigned probe = 0; probe < columns * rows; ++probe) {
      const unsigned i = probe % columns * (b.width - 1) / std::max(columns - 1, 1u);
      const unsigned j = probe / columns * (b.height - 1) / std::max(rows - 1, 1u);
      const auto place = position(b.x + i, b.y + j);
      if (!place) return false;
      const std::int64_t stepsX = std::int64_t{j} * c.dxRow + i * (c.dxColumn + std::int64_t{j} * c.ddx);
      const std::int64_t stepsY = std::int64_t{j} * c.dyRow + i * (c.dyColumn + std::int64_t{j} * c.ddy);
      const double offX = place->x - p0->x - static_cast<double>(stepsX) / 65536;
      const double offY = place->y - p0->y - static_cast<double>(stepsY) / 65536;
      if (!(std::abs(offX) < kWarpTolerance && std::abs(offY) < kWarpTolerance)) return false;
      sumX += 16 * (place->x - b.originX) - static_cast<double>((c.x * std::int64_t{4096} + stepsX) >> 12);
      sumY += 16 * (place->y - b.originY) - static_cast<double>((c.y * std::int64_t{4096} + stepsY) >> 12);
    }
    b.coef.x += static_cast<int>(std::lround(sumX / (columns * rows)));
    b.coef.y += static_cast<int>(std::lround(sumY / (columns * rows)));
    return true;
  }

  const Mapping& mapping_;
  const Size source_;
  const std::function<void(const WarpBlock&)>& block_;
  const std::function<void(unsigned, unsigned, unsigned, unsigned)>& outside_;
};

}  // namespace

Mapping quadMapping(const std::array<double, 8>& c, Size output) {
  return [=](Place p) -> std::optional<Place> {
    const double s = p.x / output.width, t = p.y / output.height;
    const auto between = [=](double upperLeft, double upperRight, double lowerLeft, double lowerRight) {
      return (1 - t) * ((1 - s) * upperLeft + s * upperRight) + t * ((1 - s) * lowerLeft + s * lowerRight);
    };
    return Place{between(c[0], c[2], c[4], c[6]), between(c[1], c[3], c[5], c[7])};
  };
}

bool isDegenerate(const std::array<double, 8>& c) {
  double area = 0, square = 0;
  for (std::size_t a = 0; a < 8; a += 2) {
    const std::size_t b = (a + 2) % 8, d = (a + 4) % 8;
    area = std::max(area, std::abs(cross(c[b] - c[a], c[b + 1] - c[a + 1], c[d] - c[a], c[d + 1] - c[a + 1])));
    square = std::max(square, std::hypot(c[d] - c[a], c[d + 1] - c[a + 1]));
  }
  return !(area > 1e-9 * square * square);
}

Mapping projectiveMapping(const std::array<double, 9>& m, Size output) {
  const double side = depth(m, centre(output));
  return [=](Place p) -> std::optional<Place> {
    const double d = depth(m, p);
    if (!(d * side > 0)) return std::nullopt;
    return Place{(m[0] * p.x + m[1] * p.y + m[2]) / d, (m[3] * p.x + m[4] * p.y + m[5]) / d};
  };
}

bool isDegenerate(const std::array<double, 9>& m, Size output) {
  return !(std::abs(products(m, false)) > 1e-12 * products(m, true)) || depth(m, centre(output)) == 0;
}

Mapping polynomialMapping(int order, std::vector<double> coefficients) {
  return [order, k = std::move(coefficients)](Place p) -> std::optional<Place> {
    const double x = p.x, y = p.y;
    const std::array terms = {1.0, x, y, x * x, x * y, y * y, x * x * x, x * x * y, x * y * y, y * y * y};
    const std::size_t count = polynomialTerms(order);
    Place sum = {0, 0};
    for (std::size_t t = 0; t < count; ++t) {
      sum.x += k[t] * terms[t];
      sum.y += k[count + t] * terms[t];
    }
    return sum;
  };
}

void cutIntoBlocks(const Mapping& mapping, Size output, Size source, const std::function<void(const WarpBlock&)>& block,
                   const std::function<void(unsigned, unsigned, unsigned, unsigned)>& outside) {
  const Cutter cutter(mapping, source, block, outside);
  for (unsigned y = 0; y < output.height; y += kBlockSide) {
    for (unsigned x = 0; x < output.width; x += kBlockSide) {
      cutter.cut(x, y, std::min(kBlockSide, output.width - x), std::min(kBlockSide, output.height - y));
    }
  }
}

}  // namespace quorvel::host
