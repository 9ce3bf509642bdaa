// SPDX-License-Identifier: Apache-2.0
#include "tests/support/reference/mapping.h"

#include <climits>
#include <cmath>
#include <limits>
#include <memory>
#include <random>

#include "tests/support/prove.h"

namespace quorvel::test {
namespace {

using reference::positionOf;
using Point = TPoInt<std::int32_t>;

constexpr double kNan = std::numeric_limits<double>::quiet_NaN(), kInfinite = std::numeric_limits<double>::infinity();

std::vector<int> fields(const GeoCoef4& c) {
  return {c.x, c.y, c.columns, c.rows, c.dxColumn, c.dyColumn, c.dxRow, c.dyRow, c.ddx, c.ddy, c.rowRun};
}

TEST(Coefficients, HandComputedValuesPinTruncationWrapAndLimits) {
  const struct {
    Geo4Rect rect;
    unsigned n, m;
    double s;
    std::vector<int> exact;
    int centredX, centredY;
  } cases[] = {
      {{0, 0, 8, 0, 0, 8, 8, 8}, 8, 8, 0.125, {0, 0, 8, 8, 65536, 0, 0, 65536, 0, 0, 32767}, 0, 0},
      {{0, 0, 16, 0, 0, 8, 16, 8}, 8, 8, 0.125, {0, 0, 8, 8, 131072, 0, 0, 65536, 0, 0, 32767}, 8, 0},
      // Turned by a quarter, and negative values, which go towards zero but floor on their way to the centre.
      {{8, 0, 8, 8, 0, 0, 0, 8}, 8, 8, 0.125, {128, 0, 8, 8, 0, 65536, -65536, 0, 0, 0, 16}, 112, 0},
      {{-0.99, -1.07, 0, -2, 1, 0, 3, 9},
       3,
       UINT_MAX,
       1,
       {-15, -17, 3, -1, 64880, -60948, 130416, 70123, 66191, 650772, -51},
       0,
       -24},
      // The wrap of 2^32 and of 2^31, and what has no integer at all.
      {{268435456.25, -134217728, 268435456.25, kNan, kInfinite, 65536, 0, 0},
       1,
       1,
       1,
       {4, INT_MIN, 1, 1, 0, 0, 0, 0, 0, 0, 0},
       -4,
       INT_MAX - 7},
      {{0, 0, 0, 1e-300, 0, 0, 0, 0}, 8, 8, 1, {0, 0, 8, 8, 0, 0, 0, 0, 0, 0, 32767}, -8, -8},
      {{0, 0, 0, -1e-300, 0, 0, 0, 0}, 8, 8, 1, {0, 0, 8, 8, 0, 0, 0, 0, 0, 0, 32768}, -8, -8},
      {{0, 0, 0, -1, 0, 0, 0, 0}, 2048, 8, 1, {0, 0, 2048, 8, 0, -65536, 0, 0, 0, 65536, -32768}, -8, -16},
      {{0, 0, 0, -1, 0, 0, 0, 0}, UINT_MAX, 8, 1, {0, 0, -1, 8, 0, -65536, 0, 0, 0, 65536, 32768}, -8, -16},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(&c - cases);
    GeoCoef4 exact, centred, single;
    EXPECT_EQ(calcGeo(&c.rect, c.n, c.m, c.s, c.s, &exact), 0);
    EXPECT_EQ(fields(exact), c.exact);
    EXPECT_EQ(calcGeo2(&c.rect, c.n, c.m, c.s, c.s, &centred), 0);
    exact.x = c.centredX, exact.y = c.centredY;
    EXPECT_EQ(fields(centred), fields(exact));
    const auto f = [](double v) { return static_cast<float>(v); };
    const Geo4Rect& r = c.rect;
    const Geo4RectF rect = {f(r.x0), f(r.y0), f(r.x1), f(r.y1), f(r.x2), f(r.y2), f(r.x3), f(r.y3)};
    EXPECT_EQ(calcGeoF(&rect, c.n, c.m, f(c.s), f(c.s), &single), 0);
    if (&c < cases + 3) {  // of numbers that are the same in both precisions
      EXPECT_EQ(fields(single), c.exact);
    }
  }
}

// Quads of every orientation, flipped ones and twisted ones included: the mapping meets the corners that it was made
// of, and the centre of a cell lies in the middle of its corners.
TEST(Coefficients, MeetTheCornersOfEveryQuad) {
  std::mt19937 engine(7);
  const auto any = [&] { return engine() / 4294967296.0 * 4000 - 2000; };
  for (int trial = 0; trial < 1000; ++trial) {
    const Geo4Rect r = {any(), any(), any(), any(), any(), any(), any(), any()};
    const Geo4RectF f = {static_cast<float>(r.x0), static_cast<float>(r.y0), static_cast<float>(r.x1),
                         static_cast<float>(r.y1), static_cast<float>(r.x2), static_cast<float>(r.y2),
                         static_cast<float>(r.x3), static_cast<float>(r.y3)};
    const int n = 1 + static_cast<int>(engine() % 40), m = 1 + static_cast<int>(engine() % 40);
    GeoCoef4 exact, single, cells;
    calcGeo(&r, static_cast<unsigned>(n), static_cast<unsigned>(m), 1.0 / n, 1.0 / m, &exact);
    calcGeo2(&r, static_cast<unsigned>(n), static_cast<unsigned>(m), 1.0 / n, 1.0 / m, &cells);
    calcGeoF(&f, static_cast<unsigned>(n), static_cast<unsigned>(m), 1.0f / static_cast<float>(n),
             1.0f / static_cast<float>(m), &single);
    const double corners[4][4] = {{0, 0, r.x0, r.y0}, {1, 0, r.x1, r.y1}, {0, 1, r.x2, r.y2}, {1, 1, r.x3, r.y3}};
    for (const auto& c : corners) {
      const auto column = static_cast<int>(c[0]) * n, row = static_cast<int>(c[1]) * m;
      const double tolerance = 4096 + n + m + n * m;
      for (const auto& [coef, slack] : {std::pair(exact, 0.0), std::pair(single, 200.0)}) {
        const auto p = positionOf(coef, column, row);
        ASSERT_NEAR(static_cast<double>(p.x), c[2] * 65536, tolerance + slack * (n + m));
        ASSERT_NEAR(static_cast<double>(p.y), c[3] * 65536, tolerance + slack * (n + m));
      }
    }
    const auto half = [](int a, int b) { return (a + b) / 2.0 - 32768; };
    ASSERT_NEAR(4096.0 * cells.x, 4096.0 * exact.x + half(exact.dxColumn, exact.dxRow), 4096.5);
    ASSERT_NEAR(4096.0 * cells.y, 4096.0 * exact.y + half(exact.dyColumn, exact.dyRow), 4096.5);
  }
}

// All rows of a case against the model, out of a ring between guard pages.
template <typename T, typename Routine>
void proveRing(const std::vector<reference::RingCase>& cases, Routine routine) {
  for (const Pattern pattern : kAllPatterns) {
    std::unique_ptr<GuardedBuffer<T>> ring;
    for (const auto& c : cases) {
      SCOPED_TRACE(testing::Message() << "case " << &c - cases.data() << ", " << pattern);
      if (const std::size_t size = std::size_t{c.pitch} * c.ringRows; ring == nullptr || ring->size() != size) {
        ring = std::make_unique<GuardedBuffer<T>>(samples<T>(size, pattern));
      }
      const std::vector<T> expected = reference::fromRing(ring->data(), c);
      GuardedBuffer<T> dst(expected.size());
      onEveryTarget([&] {
        std::fill_n(dst.data(), dst.size(), T{0x5A});
        ASSERT_EQ(routine(ring->data(), dst.data(), c), 0);
        ASSERT_TRUE(holds(dst, expected));
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
  const auto any = [&](int most) { return static_cast<int>(engine() % (2u * most + 1)) - most; };
  for (int trial = 0; trial < 3000; ++trial) {
    const int scale = trial % 4 == 0 ? INT_MAX : 1 << 17, small = trial % 3 == 0 ? 1 : 3000;
    const GeoCoef4 c = {any(1600),  any(1600),  60,         9,          any(scale), trial % 5 == 0 ? 0 : any(scale),
                        any(scale), any(scale), any(small), any(small), 0};
    const int row = any(9);
    const unsigned width = engine() % 100, height = engine() % 100;
    const Point low = {any(1 << 22), any(1 << 22)};
    const Point high = {low.x + any(1 << 22), low.y + any(1 << 22)};
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
    const auto expectRun = [](int count, unsigned first, const std::vector<unsigned>& kept) {
      ASSERT_EQ(static_cast<std::size_t>(count), kept.size());
      ASSERT_EQ(first, kept.empty() ? 0 : kept.front());
    };
    unsigned first = 99;
    const int count = calcExclude(&c, row, width, height, &first);
    expectRun(count, first, bilinear);
    const int count2 = calcExclude2(&c, row, &low, &high, &first);
    expectRun(count2, first, inBox);
  }
  // The last column that a position can name still counts in a source that is wider.
  const GeoCoef4 edge = {32767 * 16, 0, 20, 1, 4096, 0, 0, 0, 0, 0, 0};
  unsigned first;
  EXPECT_EQ(calcExclude(&edge, 0, 32768, 9, &first), 0);
  EXPECT_EQ(calcExclude(&edge, 0, 50000, 9, &first), 16);
}

// A net of crooked triangles: each sample under the net belongs to one triangle, and that is the one it lies in.
TEST(Triangles, CoverANetOnceAndFollowItsPlanes) {
  constexpr unsigned kWidth = 61, kHeight = 47, kPitch = 64;
  constexpr int kNodes = 7;
  std::mt19937 engine(5);
  for (int trial = 0; trial < 60; ++trial) {
    Point nodes[kNodes][kNodes];
    for (int j = 0; j < kNodes; ++j) {
      for (int i = 0; i < kNodes; ++i) {  // jitter below a third of the spacing, on whole samples in some trials
        const auto jitter = [&] { return static_cast<int>(engine() % 100) - 50; };
        nodes[j][i] = {-100 + i * 200 + jitter(), -100 + j * 160 + jitter()};
        if (trial % 2 == 0) nodes[j][i] = {nodes[j][i].x / 16 * 16, nodes[j][i].y / 16 * 16};
      }
    }
    GuardedBuffer<std::uint8_t> mask(kPitch * kHeight);
    GuardedBuffer<float> plane(kPitch * kHeight);
    std::vector<int> covered(kPitch * kHeight);
    const auto lay = [&](Point a, Point b, Point c) {
      const Point corners[3] = {a, b, c};
      const float z[3] = {0.5f * static_cast<float>(a.x) - static_cast<float>(a.y),
                          0.5f * static_cast<float>(b.x) - static_cast<float>(b.y),
                          0.5f * static_cast<float>(c.x) - static_cast<float>(c.y)};
      std::fill_n(mask.data(), kPitch * kHeight, std::uint8_t{0});
      std::fill_n(plane.data(), kPitch * kHeight, -1e9f);
      const int count = fillTriangle(mask.data(), kPitch, kWidth, kHeight, corners, 200);
      ASSERT_EQ(fillTriangleZ(plane.data(), kPitch, kWidth, kHeight, corners, z), count);
      ASSERT_EQ(std::count(mask.data(), mask.data() + kPitch * kHeight, 200), count);
      for (int i = 0; i < static_cast<int>(kPitch * kHeight); ++i) {
        if (mask.data()[i] == 0) {
          ASSERT_EQ(plane.data()[i], -1e9f);
          continue;
        }
        ++covered[static_cast<std::size_t>(i)];
        const int x = 16 * (i % static_cast<int>(kPitch)), y = 16 * (i / static_cast<int>(kPitch));
        ASSERT_NEAR(plane.data()[i], 0.5 * x - y, 1e-3);
        const auto side = [&](Point p, Point q) { return (q.x - p.x) * (y - p.y) - (q.y - p.y) * (x - p.x); };
        const int sides[3] = {side(a, b), side(b, c), side(c, a)};
        ASSERT_TRUE((sides[0] >= 0 && sides[1] >= 0 && sides[2] >= 0) ||
                    (sides[0] <= 0 && sides[1] <= 0 && sides[2] <= 0));
      }
    };
    for (int j = 0; j + 1 < kNodes; ++j) {
      for (int i = 0; i + 1 < kNodes; ++i) {
        lay(nodes[j][i], nodes[j][i + 1], nodes[j + 1][i]);
        lay(nodes[j + 1][i + 1], nodes[j][i + 1], nodes[j + 1][i]);
      }
    }
    for (unsigned i = 0; i < kPitch * kHeight; ++i) ASSERT_EQ(covered[i], i % kPitch < kWidth) << trial << ' ' << i;
  }
  const Point line[3] = {{0, 0}, {160, 160}, {320, 320}}, beyond[3] = {{0, 0}, {(1 << 27) + 1, 0}, {0, 9}};
  EXPECT_EQ(fillTriangle(nullptr, 9, 9, 9, line, 1), 0);
  EXPECT_EQ(fillTriangle(nullptr, 9, 9, 9, beyond, 1), -1);
}

}  // namespace
}  // namespace quorvel::test
