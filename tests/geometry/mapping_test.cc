// SPDX-License-Identifier: Apache-2.0
#include "tests/support/reference/mapping.h"

#include <array>
#include <bit>
#include <climits>
#include <cmath>
#include <limits>
#include <random>

#include "tests/support/prove.h"

namespace quorvel::test {
namespace {

using reference::positionOf;
using Point = TPoInt<std::int32_t>;

using Fields = std::array<int, 11>;
using Corners = std::array<double, 8>;

constexpr double kNan = std::numeric_limits<double>::quiet_NaN(), kInfinite = std::numeric_limits<double>::infinity();

// The record by one of the three routines, of a block of n x m pixels.
template <typename Rect, typename Real>
GeoCoef4 coefficients(int (*routine)(const Rect*, unsigned, unsigned, Real, Real, GeoCoef4*), const Corners& corners,
                      unsigned n, unsigned m, double s, double t) {
  std::array<Real, 8> values;
  std::transform(corners.begin(), corners.end(), values.begin(), [](double v) { return static_cast<Real>(v); });
  const auto rect = std::bit_cast<Rect>(values);
  GeoCoef4 coef;
  EXPECT_EQ(routine(&rect, n, m, static_cast<Real>(s), static_cast<Real>(t), &coef), 0);
  return coef;
}

TEST(Coefficients, HandComputedValuesPinTruncationWrapAndLimits) {
  const struct {
    Corners corners;
    unsigned n;
    double s;
    Fields exact;
    int centredX, centredY;
  } cases[] = {
      {{0, 0, 8, 0, 0, 8, 8, 8}, 8, 0.125, {0, 0, 8, 8, 65536, 0, 0, 65536, 0, 0, 32767}, 0, 0},
      {{0, 0, 16, 0, 0, 8, 16, 8}, 8, 0.125, {0, 0, 8, 8, 131072, 0, 0, 65536, 0, 0, 32767}, 8, 0},
      {{8, 0, 8, 8, 0, 0, 0, 8}, 8, 0.125, {128, 0, 8, 8, 0, 65536, -65536, 0, 0, 0, 16}, 112, 0},
      // Negative values, which go towards zero but floor on their way to the centre.
      {{-0.99, -1.07, 0, -2, 1, 0, 3, 9},
       3,
       1,
       {-15, -17, 3, 8, 64880, -60948, 130416, 70123, 66191, 650772, -51},
       0,
       -24},
      // The wraps of 2^32 and of 2^31, and what has no integer at all.
      {{268435456.25, -134217728, 268435456.25, kNan, kInfinite, 65536, 0, 0},
       1,
       1,
       {4, INT_MIN, 1, 8},
       -4,
       INT_MAX - 7},
      {{0, 0, 0, 1e-300, 0, 0, 0, 0}, 8, 1, {0, 0, 8, 8, 0, 0, 0, 0, 0, 0, 32767}, -8, -8},
      {{0, 0, 0, -1e-300, 0, 0, 0, 0}, 8, 1, {0, 0, 8, 8, 0, 0, 0, 0, 0, 0, 32768}, -8, -8},
      {{0, 0, 0, -1, 0, 0, 0, 0}, 2048, 1, {0, 0, 2048, 8, 0, -65536, 0, 0, 0, 65536, -32768}, -8, -16},
      {{0, 0, 0, -1, 0, 0, 0, 0}, UINT_MAX, 1, {0, 0, -1, 8, 0, -65536, 0, 0, 0, 65536, 32768}, -8, -16},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(&c - cases);
    const GeoCoef4 exact = coefficients(calcGeo, c.corners, c.n, 8, c.s, c.s);
    EXPECT_EQ(std::bit_cast<Fields>(exact), c.exact);
    GeoCoef4 centred = coefficients(calcGeo2, c.corners, c.n, 8, c.s, c.s);
    EXPECT_EQ(std::pair(centred.x, centred.y), std::pair(c.centredX, c.centredY));
    centred.x = exact.x, centred.y = exact.y;
    EXPECT_EQ(std::bit_cast<Fields>(centred), c.exact);
    if (&c - cases < 3) {  // what floats hold, too
      EXPECT_EQ(std::bit_cast<Fields>(coefficients(calcGeoF, c.corners, c.n, 8, c.s, c.s)), c.exact);
    }
  }
}

// All rows of a case against the model, out of a ring that ends with its page.
template <typename T, typename Routine>
void proveRing(const std::vector<reference::RingCase>& cases, Routine routine) {
  for (const Pattern pattern : kAllPatterns) {
    std::vector<T> ring;
    for (const auto& c : cases) {
      SCOPED_TRACE(testing::Message() << "case " << &c - cases.data() << ", " << pattern);
      if (const std::size_t size = std::size_t{c.pitch} * c.ringRows; ring.size() != size) {
        ring = samples<T>(size, pattern);
      }
      const std::vector<T> expected = reference::fromRing(ring.data(), c);
      onEveryTarget([&] {
        prove(
            Guard::AfterEnd, [&](const T* from, T* dst) { return routine(from, dst, c); },
            [&](const auto&, auto& dst) { dst = expected; }, ring, room<T>(expected.size()));
      });
      if (testing::Test::HasFailure()) return;
    }
  }
}

std::vector<reference::RingCase> ringCases() {
  std::vector<reference::RingCase> cases = {
      {0, 0, 8192, 65536, 0, 0, 65536, 64},                // a copy up to the last sample of the ring
      {8191 * 16, 63 * 16, 8192, -65536, 0, 0, 65536, 3},  // and back from it, over the seam
      {8190 * 16, 0, 40, 32, 4096, 0, 65536 * 20, 4},      // words that would leave the ring
      {0, 63 * 16 + 3, 100, 70000, 300, -0, 65536, 70},    // round and round
      {16 * 4000, 16 * 5, 500, -60000, -13000, -30000, 9000, 9},
      {16 * 100, 0x7FFFFFFF, 70, 4096, INT_MAX, 100, INT_MIN, 5},  // starts and steps that wrap
      {0x100000 + 160, 8, 50, 12345, 777, 0, 65536, 2},            // a start that is column 10 again
      {1, 1, 30, 0, 0, 0, 0, 0},
  };
  for (unsigned n = 0; n < 70; ++n) {
    cases.push_back({static_cast<int>(16 * n + n % 16), static_cast<int>(37 * n), n, 61234, -4321, 1500, 66000, 2});
  }
  return cases;
}

TEST(Ring, IsTheWeightedSumOfTheFourNeighbours) {
  proveRing<std::uint8_t>(ringCases(), [](const auto* ring, auto* dst, const reference::RingCase& c) {
    return convGeo8_8(ring, dst, c.x0, c.y0, c.width, c.dx, c.dy, c.rowDx, c.rowDy, c.rows);
  });
  proveRing<std::uint16_t>(ringCases(), [](const auto* ring, auto* dst, const reference::RingCase& c) {
    return convGeo16_16(ring, dst, c.x0, c.y0, c.width, c.dx, c.dy, c.rowDx, c.rowDy, 12345, -12345, c.rows);
  });
  // One row each out of rings of other shapes.
  const std::vector<reference::RingCase> shapes = {
      {0, 0, 101, 65536, 0, 0, 0, 1, 101, 1},
      {16 * 99, 5, 90, -65000, 70000, 0, 0, 1, 101, 8},
      {0, 16 * 1024 - 9, 40000, 3000, 900, 0, 0, 1, 2000, 1024},
      {0, 0, 9, 0, 65536, 0, 0, 1, 1, 4},
      {32767 * 16, 3, 20, -65535, 0, 0, 0, 1, 40000, 2},
  };
  proveRing<std::uint16_t>(shapes, [](const auto* ring, auto* dst, const reference::RingCase& c) {
    const Xparam walk = {c.dx, c.dy, c.pitch, c.ringRows};
    return convGeo(ring, dst, c.x0, c.y0, &walk, c.width);
  });
}

TEST(Ring, RefusesBeforeItTouchesAnything) {
  EXPECT_EQ(convGeo8_8(nullptr, nullptr, -1, -1, 9, 0, 0, 0, 0, 9), -1);
  EXPECT_EQ(convGeo16_16(nullptr, nullptr, 0, -1, 9, 0, 0, 0, 0, 0, 0, 9), -2);
  for (const Xparam& walk : {Xparam{0, 0, 8, 0}, {0, 0, 8, 48}, {0, 0, 8, 65536}, {0, 0, 1u << 20, 1024}}) {
    EXPECT_EQ(convGeo(nullptr, nullptr, 0, 0, &walk, 1), -1);
  }
  const Xparam walk = {0, 0, 8, 8};
  EXPECT_EQ(convGeo(nullptr, nullptr, -1, 0, &walk, 1), -1);
  EXPECT_EQ(convGeo(nullptr, nullptr, 0, -1, &walk, 1), -2);
}

TEST(Positions, FollowTheFormulaAndExcludeWhatTheSourceLacks) {
  std::mt19937 engine(3);
  const auto any = [&](int most) {
    return static_cast<int>(static_cast<std::int64_t>(engine() % (2u * most + 1)) - most);
  };
  for (int trial = 0; trial < 3000; ++trial) {
    const int scale = trial % 4 == 0 ? INT_MAX : 1 << 17, bend = trial % 3 == 0 ? 1 : 3000;
    const GeoCoef4 c = {any(1600),  any(1600),  60,        9,         any(scale), trial % 5 == 0 ? 0 : any(scale),
                        any(scale), any(scale), any(bend), any(bend), 0};
    const int row = any(9);
    const unsigned width = engine() % 100, height = engine() % 100;
    Point low = {any(1 << 22), any(1 << 22)}, high = {low.x + any(1 << 22), low.y + any(1 << 22)};
    if (trial % 2 == 0) {  // limits that pixels meet exactly, from either side
      const auto p = positionOf(c, 10, row), q = positionOf(c, 40, row);
      low = {static_cast<std::int32_t>(std::min(p.x, q.x)), static_cast<std::int32_t>(std::min(p.y, q.y))};
      high = {static_cast<std::int32_t>(std::max(p.x, q.x)), static_cast<std::int32_t>(std::max(p.y, q.y))};
    }
    std::vector<unsigned> bilinear, inBox;
    GuardedBuffer<Point> positions(60);
    EXPECT_EQ(linearCoor(&c, row, positions.data(), 60), 0);
    for (unsigned i = 0; i < 60; ++i) {
      const auto p = positionOf(c, i, row);
      ASSERT_EQ(positions.data()[i].x, static_cast<std::int32_t>(p.x));
      ASSERT_EQ(positions.data()[i].y, static_cast<std::int32_t>(p.y));
      const auto within = [](std::int64_t v, unsigned size) { return v >= 0 && (v >> 16) + 1 < size; };
      if (within(p.x, width) && within(p.y, height)) bilinear.push_back(i);
      if (p.x >= low.x && p.x < high.x && p.y >= low.y && p.y < high.y) inBox.push_back(i);
    }
    unsigned first[2] = {99, 99};
    const int counts[] = {calcExclude(&c, row, width, height, &first[0]),
                          calcExclude2(&c, row, &low, &high, &first[1])};
    for (const auto& [kept, k] : {std::pair(bilinear, 0), {inBox, 1}}) {
      ASSERT_EQ(static_cast<std::size_t>(counts[k]), kept.size());
      ASSERT_EQ(first[k], kept.empty() ? 0 : kept.front());
    }
  }
  // The last column that a position can name still counts in a source that is wider.
  const GeoCoef4 edge = {32767 * 16, 0, 20, 1, 4096, 0, 0, 0, 0, 0, 0};
  unsigned first;
  EXPECT_EQ(calcExclude(&edge, 0, 32768, 9, &first), 0);
  EXPECT_EQ(calcExclude(&edge, 0, 50000, 9, &first), 16);
}

// A net of crooked triangles: each sample under the net belongs to one triangle, and that is the one it lies in.
TEST(Triangles, CoverANetOnceAndFollowItsPlanes) {
  constexpr int kWidth = 61, kPitch = 64, kHeight = 47, kSize = kPitch * kHeight, kNodes = 7;
  std::mt19937 engine(5);
  for (int trial = 0; trial < 60; ++trial) {
    const auto node = [&](int i, int j) {  // jitter below a third of the spacing, to whole samples in some trials
      const auto jitter = [&] { return static_cast<int>(engine() % 100) - 50; };
      const int unit = trial % 2 == 0 ? 16 : 1, x = -100 + i * 200 + jitter(), y = -100 + j * 160 + jitter();
      return Point{x / unit * unit, y / unit * unit};
    };
    Point nodes[kNodes][kNodes];
    for (int j = 0; j < kNodes * kNodes; ++j) nodes[j / kNodes][j % kNodes] = node(j % kNodes, j / kNodes);
    std::vector<int> covered(kSize);
    const auto lay = [&](Point a, Point b, Point c) {
      GuardedBuffer<std::uint8_t> mask(std::vector<std::uint8_t>(kSize, 0));
      GuardedBuffer<float> plane(std::vector<float>(kSize, -1e9f));
      const Point corners[3] = {a, b, c};
      float z[3];
      for (int i = 0; i < 3; ++i) z[i] = 0.5f * static_cast<float>(corners[i].x) - static_cast<float>(corners[i].y);
      const int count = fillTriangle(mask.data(), kPitch, kWidth, kHeight, corners, 200);
      ASSERT_EQ(fillTriangleZ(plane.data(), kPitch, kWidth, kHeight, corners, z), count);
      ASSERT_EQ(std::count(mask.data(), mask.data() + kSize, 200), count);
      for (int i = 0; i < kSize; ++i) {
        const int x = 16 * (i % kPitch), y = 16 * (i / kPitch);
        const bool inside = mask.data()[i] != 0;
        ASSERT_NEAR(plane.data()[i], inside ? 0.5 * x - y : -1e9, 1e-3);
        if (!inside) continue;
        ++covered[static_cast<std::size_t>(i)];
        const auto side = [&](Point p, Point q) { return (q.x - p.x) * (y - p.y) - (q.y - p.y) * (x - p.x); };
        const auto [least, most] = std::minmax({side(a, b), side(b, c), side(c, a)});
        ASSERT_TRUE(least >= 0 || most <= 0);
      }
    };
    for (int j = 0; j + 1 < kNodes; ++j) {
      for (int i = 0; i + 1 < kNodes; ++i) {
        lay(nodes[j][i], nodes[j][i + 1], nodes[j + 1][i]);
        lay(nodes[j + 1][i + 1], nodes[j][i + 1], nodes[j + 1][i]);
      }
    }
    for (int i = 0; i < kSize; ++i) ASSERT_EQ(covered[static_cast<std::size_t>(i)], i % kPitch < kWidth) << trial;
  }
  const Point line[3] = {{0, 0}, {160, 160}, {320, 320}}, beyond[3] = {{0, 0}, {(1 << 27) + 1, 0}, {0, 9}};
  EXPECT_EQ(fillTriangle(nullptr, 9, 9, 9, line, 1), 0);
  EXPECT_EQ(fillTriangle(nullptr, 9, 9, 9, beyond, 1), -1);
}

}  // namespace
}  // namespace quorvel::test
