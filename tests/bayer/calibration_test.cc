// SPDX-License-Identifier: Apache-2.0
#include <array>
#include <cmath>
#include <limits>

#include <quorvel/bayer.h>

#include "tests/support/prove.h"
#include "tests/support/reference/calibration.h"

namespace quorvel::test {
namespace {

using Words = std::vector<std::uint16_t>;

TEST(BayerBlack, PhasesAreTheFramesWhateverTheOrigin) {
  constexpr unsigned kPitch = 12, kHeight = 9;
  constexpr int kLevels[4] = {100, -200, 300, -400};
  std::vector<std::int16_t> frame(kPitch * kHeight);
  for (unsigned i = 0; i < frame.size(); ++i) {
    frame[i] = static_cast<std::int16_t>(kLevels[i % kPitch % 2 + 2 * (i / kPitch % 2)]);
  }
  for (unsigned origin = 0; origin < 9; ++origin) {
    BayerBlack black;
    calcBayerBlack(frame.data(), kPitch, 7, origin % 3, origin / 3, 2 + origin % 4, 2 + origin % 5, &black);
    for (int k = 0; k < 4; ++k) EXPECT_EQ(black.level[k], kLevels[k]) << "phase " << k << ", origin " << origin;
  }
}

TEST(BayerBlack, MeansLikeTheModel) {
  proveRows(rowLengths(2), [](unsigned width, Pattern pattern, Guard guard) {
    const unsigned height = 2 + width % 4, pitch = width + 3, x0 = width % 3, y0 = width % 2;
    // A frame that ends with the rectangle's last sample, and begins with its first where x0 and y0 are 0.
    const auto in = samples<std::int16_t>(std::size_t{y0 + height - 1} * pitch + x0 + width, pattern);
    GuardedBuffer<std::int16_t> frame(in, guard);
    BayerBlack black;
    calcBayerBlack(frame.data(), pitch, 0, x0, y0, width, height, &black);
    const auto expected = reference::blackLevels(in, pitch, x0, y0, width, height);
    EXPECT_TRUE(std::equal(expected.begin(), expected.end(), black.level));
  });
}

TEST(BayerBlack, RoundsHalvesAwayFromZeroAndSumsLongRowsExactly) {
  // Phases of {1, 2, 1, 2}, {-1, 0, -2, 1}, {3, 4, 1, 2} and {-3, -4, -1, -2}.
  const std::int16_t halves[] = {1, -1, 2, 0, 3, -3, 4, -4, 1, -2, 2, 1, 1, -1, 2, -2};
  BayerBlack black;
  calcBayerBlack(halves, 4, 0, 0, 0, 4, 4, &black);
  const int expected[] = {2, -1, 3, -3};
  for (int k = 0; k < 4; ++k) EXPECT_EQ(black.level[k], expected[k]) << k;
  onEveryTarget([] {
    const std::vector<std::int16_t> lowest(2 * 70001, -32768);
    BayerBlack level;
    calcBayerBlack(lowest.data(), 70001, 0, 0, 0, 70001, 2, &level);
    for (const int l : level.level) EXPECT_EQ(l, -32768);
  });
}

TEST(BayerFocusForSmear, FollowsItsPiecesAndRefusesBeyond) {
  struct Row {
    double smear, a;
  };
  const double belowTwo = std::nextafter(2.0, 0.0);
  for (const Row& row : {Row{-5, 0},
                         {0, 0},
                         {1, 0},
                         {1.5, 1.5 * 1.5 / 12 - 1.5 / 8 + 1.0 / 24},
                         {belowTwo, 0.125},
                         {2, 0.125},
                         {2.5, 6.25 / 60 + 2.5 / 8 - 0.19166666666666668},
                         {3, 1.0 / 3},
                         {3.25, 1.25 / 3.25},
                         {3.5, 1.5 / 3.5}}) {
    double a = 9, b = 9, c = 9;
    EXPECT_EQ(calcBayerFocusForSmear(row.smear, &a, &b, &c), 0) << row.smear;
    EXPECT_NEAR(a, row.a, 1e-15) << row.smear;
    EXPECT_NEAR(b, 1 / (1 - 2 * row.a), 1e-13) << row.smear;
    EXPECT_NEAR(b + 2 * c, 1, 1e-13) << row.smear;
    EXPECT_TRUE(row.smear > 1 || (a == 0 && b == 1 && c == 0 && !std::signbit(c))) << row.smear;
  }
  for (const double refused : {std::nextafter(3.5, 4.0), 100.0, std::numeric_limits<double>::quiet_NaN()}) {
    double a = 9, b = 8, c = 7;
    EXPECT_EQ(calcBayerFocusForSmear(refused, &a, &b, &c), 1);
    EXPECT_TRUE(a == 0 && b == 8 && c == 7) << refused;
  }
}

TEST(CorrectBayerFocus, FollowsTheModelInPlaceTooAndReadsItsThreeRowsOnly) {
  struct Weights {
    double b, c;
    std::int32_t fixedB, fixedC;
  };
  constexpr std::int32_t kMost = std::numeric_limits<std::int32_t>::max(), kLeast = -kMost - 1;
  const double nan = std::numeric_limits<double>::quiet_NaN();
  const Weights table[] = {{1, 0, 65536, 0},
                           {1 / 0.75, -0.125 / 0.75, 87381, -10922},
                           {7, -3, 458752, -196608},
                           {0.1, 1.99999, 6553, 131071},
                           {40000, -1e9, kMost, kLeast},
                           {nan, 1.5, 0, 98304}};
  for (const Weights& w : table) {
    proveRows(rowLengths(), [&](unsigned n, Pattern pattern, Guard guard) {
      const unsigned pitch = n + 1;
      const Words in = samples<std::uint16_t>(4 * pitch + n, pattern);
      GuardedBuffer<std::uint16_t> src(in, guard), dst(n, guard);
      Words expected(n);
      for (unsigned i = 0; i < n; ++i) {
        expected[i] = reference::correctedForSmear(in[2 * pitch + i], in[i], in[4 * pitch + i], w.fixedB, w.fixedC);
      }
      EXPECT_EQ(correctBayerFocus(src.data() + 2 * pitch, dst.data(), pitch, n, w.b, w.c), 0);
      EXPECT_TRUE(holds(dst, expected)) << w.b;
      correctBayerFocus(src.data() + 2 * pitch, src.data() + 2 * pitch, pitch, n, w.b, w.c);
      Words inPlace = in;
      std::copy(expected.begin(), expected.end(), inPlace.begin() + 2 * pitch);
      EXPECT_TRUE(holds(src, inPlace)) << w.b;
    });
  }
}

TEST(CorrectBayerFocus, ClipsByTheTwelfthBitAlone) {
  // One step above or below each edge, made as sample * b with a weight of 1 or as the neighbours' sum with one of -1.
  struct Row {
    std::uint16_t centre, above, below, expected;
    double b, c;
  };
  for (const Row& r : {Row{4095, 0, 0, 4095, 1, 0},
                       {4096, 0, 0, 4095, 1, 0},
                       {8191, 0, 0, 4095, 1, 0},
                       {8192, 0, 0, 8192, 1, 0},
                       {12287, 0, 0, 12287, 1, 0},
                       {12288, 0, 0, 4095, 1, 0},
                       {32768, 0, 0, 0x8000, 1, 0},
                       {0x9000, 0, 0, 0, 1, 0},
                       {0, 1, 0, 0, 1, -1},
                       {0, 4095, 1, 0, 1, -1},
                       {0, 4096, 1, 0xEFFF, 1, -1},
                       {0, 4096, 4096, 0xE000, 1, -1},
                       {1, 1, 0, 0, 1, -1}}) {
    const std::uint16_t rows[] = {r.above, 0, r.centre, 0, r.below};
    std::uint16_t out = 1;
    correctBayerFocus(rows + 2, &out, 1, 1, r.b, r.c);
    EXPECT_EQ(out, r.expected) << r.centre << " " << r.above << " " << r.below;
  }
}

TEST(BayerFocusCoef, CountsEveryPairOfDiagonalGreensOnce) {
  proveRows(rowLengths(2, 70), [](unsigned width, Pattern pattern, Guard guard) {
    const unsigned pitch = width + 1, height = 2 + 2 * (width % 3), even = width / 2 * 2;
    const Words in = samples<std::uint16_t>((height - 1) * pitch + width, pattern);
    GuardedBuffer<std::uint16_t> frame(in, guard);
    for (unsigned c = 0; c < 2 * 3 * 3 * 2; ++c) {
      const unsigned x0 = c % 2, y0 = std::array{0u, 1u, height - 1}[c / 6 % 3], y1 = height - c / 18;
      const unsigned x1 = std::array{even - 1, even, width}[c / 2 % 3];
      double result = -1, expected = 0;
      int status = -1;
      if (x0 < x1 && y0 < y1) {
        const auto [d, s] = reference::greenContrast(in, pitch, 0, y0 / 2 * 2, even, height);
        const double root = std::sqrt(10.0) * static_cast<double>(d) / static_cast<double>(s);
        status = s == 0 ? -2 : 0;
        if (s != 0) expected = root * root;
      }
      ASSERT_EQ(calcBayerFocusCoef(frame.data(), width, pitch, x0, y0, x1, y1, &result), status);
      ASSERT_EQ(result, expected) << "columns " << x0 << ".." << x1 << ", rows " << y0 << ".." << y1;
    }
  });
}

TEST(BayerFocusCoef, AnswersKnownFramesAndRefusesEmptyOnes) {
  double result = -1;
  // One cell of greens 3 and 1: D = 2, S = 4, 10 * (1/2)^2.
  const Words cell = {3, 500, 600, 1};
  EXPECT_EQ(calcBayerFocusCoef(cell.data(), 2, 2, 0, 0, 1, 1, &result), 0);
  EXPECT_DOUBLE_EQ(result, 2.5);
  // Greens of the even rows 1, of the odd ones 0, in 2 x 2 cells: 9 pairs, S = 4.
  const Words square = {1, 7, 1, 7, 7, 0, 7, 0, 1, 7, 1, 7, 7, 0, 7, 0};
  EXPECT_EQ(calcBayerFocusCoef(square.data(), 4, 4, 0, 0, 4, 4, &result), 0);
  EXPECT_DOUBLE_EQ(result, 10 * (9.0 / 4) * (9.0 / 4));
  const Words black = {0, 9, 9, 0};
  EXPECT_EQ(calcBayerFocusCoef(black.data(), 2, 2, 0, 0, 2, 2, &result), -2);
  EXPECT_EQ(result, 0);
  struct Rectangle {
    unsigned width, x0, y0, x1, y1;
  };
  for (const Rectangle& r : {Rectangle{2, 0, 0, 0, 2},
                             {2, 0, 0, 2, 0},
                             {2, 2, 0, 1, 2},
                             {2, 0, 1, 2, 1},
                             {1, 0, 0, 1, 2},
                             {3, 2, 0, 3, 2}}) {
    result = -1;
    EXPECT_EQ(calcBayerFocusCoef(cell.data(), r.width, 2, r.x0, r.y0, r.x1, r.y1, &result), -1);
    EXPECT_EQ(result, 0);
  }
  onEveryTarget([] {  // long rows, whose sums leave 32 bits
    double most = -1;
    Words wide(2 * 140000, 65535);
    for (std::size_t i = 140000; i < wide.size(); ++i) wide[i] = 0;
    EXPECT_EQ(calcBayerFocusCoef(wide.data(), 140000, 140000, 0, 0, 140000, 2, &most), 0);
    const double root = std::sqrt(10.0) * (139999.0 * 65535) / (70000.0 * 65535);
    EXPECT_EQ(most, root * root);
  });
}

}  // namespace
}  // namespace quorvel::test
