// SPDX-License-Identifier: Apache-2.0
#include <array>
#include <cmath>
#include <limits>

#include <quorvel/bayer.h>

#include "tests/support/prove.h"

namespace quorvel::test {
namespace {

std::array<int, 4> blackOf(const std::int16_t* frame, unsigned pitch, unsigned x0, unsigned y0, unsigned width,
                           unsigned height) {
  BayerBlack black;
  calcBayerBlack(frame, pitch, 0, x0, y0, width, height, &black);
  return std::to_array(black.level);
}

// The means of the frame's phases, halves rounded away from zero in integers.
std::array<int, 4> meansOf(const std::vector<std::int16_t>& frame, unsigned pitch, unsigned x0, unsigned y0,
                           unsigned width, unsigned height) {
  std::array<std::int64_t, 4> sums{}, counts{};
  for (unsigned y = y0; y < y0 + height; ++y) {
    for (unsigned x = x0; x < x0 + width; ++x) {
      const unsigned phase = x % 2 + 2 * (y % 2);
      sums[phase] += frame[y * pitch + x], ++counts[phase];
    }
  }
  std::array<int, 4> levels;
  for (std::size_t k = 0; k < 4; ++k) {
    const std::int64_t rounded = (2 * std::abs(sums[k]) + counts[k]) / (2 * counts[k]);
    levels[k] = static_cast<int>(sums[k] < 0 ? -rounded : rounded);
  }
  return levels;
}

TEST(BayerBlack, IsTheMeanOfEachPhaseWhateverTheOrigin) {
  proveRows(rowLengths(2), [](unsigned width, Pattern pattern, Guard guard) {
    const unsigned height = 2 + width % 4, pitch = width + 3, x0 = width % 3, y0 = width % 2;
    // A frame that ends with the rectangle's last sample, and begins with its first where x0 and y0 are 0.
    const auto frame = samples<std::int16_t>(std::size_t{y0 + height - 1} * pitch + x0 + width, pattern);
    prove(guard, blackOf, meansOf, frame, pitch, x0, y0, width, height);
  });
  onEveryTarget([] {  // long rows, whose sums leave 32 bits
    prove(Guard::AfterEnd, blackOf, meansOf, std::vector<std::int16_t>(2 * 70001, -32768), 70001u, 0u, 0u, 70001u, 2u);
  });
}

TEST(BayerFocusForSmear, FollowsItsPiecesAndRefusesBeyond) {
  for (const auto& [smear, wanted] : {std::pair{-5.0, 0.0},
                                      {1, 0},
                                      {1.5, 1.5 * 1.5 / 12 - 1.5 / 8 + 1.0 / 24},
                                      {2, 0.125},
                                      {2.5, 6.25 / 60 + 2.5 / 8 - 0.19166666666666668},
                                      {3, 1.0 / 3},
                                      {3.25, 1.25 / 3.25},
                                      {3.5, 1.5 / 3.5}}) {
    double a = 9, b = 9, c = 9;
    EXPECT_EQ(calcBayerFocusForSmear(smear, &a, &b, &c), 0) << smear;
    EXPECT_NEAR(a, wanted, 1e-15) << smear;
    EXPECT_NEAR(b, 1 / (1 - 2 * wanted), 1e-13) << smear;
    EXPECT_NEAR(b + 2 * c, 1, 1e-13) << smear;
    EXPECT_TRUE(smear > 1 || (a == 0 && b == 1 && c == 0 && !std::signbit(c))) << smear;
  }
  for (const double refused : {std::nextafter(3.5, 4.0), 100.0, std::numeric_limits<double>::quiet_NaN()}) {
    double a = 9, b = 8, c = 7;
    EXPECT_EQ(calcBayerFocusForSmear(refused, &a, &b, &c), 1);
    EXPECT_TRUE(a == 0 && b == 8 && c == 7) << refused;
  }
}

TEST(CorrectBayerFocus, FollowsTheModelInPlaceTooAndReadsItsThreeRowsOnly) {
  constexpr std::int32_t kMost = std::numeric_limits<std::int32_t>::max(), kLeast = -kMost - 1;
  const struct {
    double b, c;
    std::int32_t fixedB, fixedC;  // in 1/65536
  } table[] = {{1, 0, 65536, 0},
               {1, -1, 65536, -65536},
               {1 / 0.75, -0.125 / 0.75, 87381, -10922},
               {7, -3, 458752, -196608},
               {0.1, 1.99999, 6553, 131071},
               {40000, -1e9, kMost, kLeast},
               {std::numeric_limits<double>::quiet_NaN(), 1.5, 0, 98304}};
  for (const auto& w : table) {
    // The middle row of three that lie two rows apart, modulo 2^32; bit 12 of a result says whether it is clipped.
    const auto model = [&](const Words& in, Words& out, std::size_t to, unsigned pitch, unsigned n) {
      for (std::size_t i = 0; i < n; ++i) {
        const std::uint32_t centre = in[2 * pitch + i], neighbours = std::uint32_t{in[i]} + in[4 * pitch + i];
        const std::uint32_t v =
            centre * static_cast<std::uint32_t>(w.fixedB) + neighbours * static_cast<std::uint32_t>(w.fixedC);
        out[to + i] = static_cast<std::uint16_t>((v >> 28 & 1) == 0 ? v >> 16 : v >> 31 != 0 ? 0 : 4095);
      }
    };
    proveRows(rowLengths(), [&](unsigned n, Pattern pattern, Guard guard) {
      const unsigned pitch = n + 1;
      const Words in = samples<std::uint16_t>(4 * pitch + n, pattern);
      prove(
          guard, [&](auto* src, auto* dst) { return correctBayerFocus(src + 2 * pitch, dst, pitch, n, w.b, w.c); },
          [&](const Words& src, Words& dst) { model(src, dst, 0, pitch, n); }, in, room<std::uint16_t>(n));
      prove(
          guard, [&](auto* src) { return correctBayerFocus(src + 2 * pitch, src + 2 * pitch, pitch, n, w.b, w.c); },
          [&](Words& src) { model(Words(src), src, 2 * pitch, pitch, n); }, in);
    });
  }
}

// Over a rectangle of whole cells: each green with the greens below left and below right of it.
double focusOf(const Words& frame, unsigned pitch, unsigned left, unsigned right, unsigned top, unsigned bottom) {
  double differences = 0, sum = 0;
  for (unsigned y = top; y < bottom; ++y) {
    for (unsigned x = left + y % 2; x < right; x += 2) {
      const std::uint16_t* const green = &frame[y * pitch + x];
      sum += *green;
      if (y + 1 < bottom && x > left) differences += std::abs(*green - green[pitch - 1]);
      if (y + 1 < bottom && x + 1 < right) differences += std::abs(*green - green[pitch + 1]);
    }
  }
  const double root = std::sqrt(10.0) * differences / sum;
  return root * root;  // no number for black
}

TEST(BayerFocusCoef, CountsEveryPairOfDiagonalGreensOnce) {
  proveRows(rowLengths(1, 70), [](unsigned width, Pattern pattern, Guard guard) {
    const unsigned pitch = width + 1, height = 2 + 2 * (width % 3), even = width / 2 * 2;
    const Words in = samples<std::uint16_t>((height - 1) * pitch + width, pattern);
    GuardedBuffer<std::uint16_t> frame(in, guard);
    for (const unsigned x0 : {0u, 1u, width - 1}) {
      for (const unsigned x1 : {even - (even > 0), even, width}) {
        for (const unsigned y0 : {0u, 1u, height - 1}) {
          for (const unsigned y1 : {height - 1, height}) {
            double result = -1, expected = 0;
            const bool empty = x0 >= x1 || y0 >= y1 || x0 >= even;
            if (!empty) expected = focusOf(in, pitch, x0 / 2 * 2, even, y0 / 2 * 2, height);
            const int status = empty ? -1 : std::isnan(expected) ? -2 : 0;
            ASSERT_EQ(calcBayerFocusCoef(frame.data(), width, pitch, x0, y0, x1, y1, &result), status);
            ASSERT_EQ(result, status == 0 ? expected : 0) << x0 << ".." << x1 << ", " << y0 << ".." << y1;
          }
        }
      }
    }
  });
  // One cell of greens 3 and 1: they differ by 2 and sum to 4, 10 * (1/2)^2.
  const Words cell = {3, 500, 600, 1};
  double result = -1;
  EXPECT_EQ(calcBayerFocusCoef(cell.data(), 2, 2, 0, 0, 1, 1, &result), 0);
  EXPECT_DOUBLE_EQ(result, 2.5);
  onEveryTarget([&] {  // long rows, whose sums leave 32 bits
    Words wide(140000, 65535);
    wide.resize(280000);
    EXPECT_EQ(calcBayerFocusCoef(wide.data(), 140000, 140000, 0, 0, 140000, 2, &result), 0);
    EXPECT_EQ(result, focusOf(wide, 140000, 0, 140000, 0, 2));
  });
}

}  // namespace
}  // namespace quorvel::test
