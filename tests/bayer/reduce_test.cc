// SPDX-License-Identifier: Apache-2.0
#include <cmath>
#include <string>

#include <quorvel/bayer.h>

#include "tests/support/prove.h"
#include "tests/support/reference/reduce.h"
#ifdef QUORVEL_PHOTOGRAPHS
#include "tests/support/photographs.h"
#endif

namespace quorvel::test {
namespace {

using reference::Words;

// Calls check(width, height, pattern, guard) for all widths and a choice of heights, and the other way round.
template <typename Check>
void proveShapes(Check&& check) {
  onEveryTarget([&] {
    unsigned turn = 0;
    const auto prove = [&](unsigned width, unsigned height) {
      const Pattern pattern = kAllPatterns[++turn % 3];
      const Guard guard = turn % 2 == 0 ? Guard::AfterEnd : Guard::BeforeBegin;
      SCOPED_TRACE(testing::Message() << width << " x " << height << ", " << pattern << " samples");
      if (!testing::Test::HasFailure()) check(width, height, pattern, guard);
    };
    for (unsigned n = 0; n <= 70; ++n) {
      for (const unsigned other : {0u, 1u, 3u, 4u, 7u, 9u, 16u, 35u, 70u}) {
        prove(n, other);
        prove(other, n);
      }
    }
    for (const unsigned width : {1021u, 1600u}) prove(width, 20);
  });
}

TEST(BayerReduction, EqualsTheModelAtEverySizeAndWritesNothingElse) {
  const struct {
    int (*routine)(const std::uint16_t*, unsigned, unsigned, std::uint16_t*);
    unsigned factor;
    reference::CellTaps taps;
  } reductions[] = {{compressBayer_x2, 2, reference::tapsBy2()},
                    {compressBayer_x2Step, 2, reference::tapsOfFirstCell()},
                    {compressBayer_x4Step, 4, reference::tapsOfFirstCell()},
                    {compressBayer_x8, 8, reference::tapsBy8()}};
  proveShapes([&](unsigned width, unsigned height, Pattern pattern, Guard guard) {
    for (const auto& r : reductions) {
      GuardedBuffer<std::uint16_t> src(samples<std::uint16_t>(std::size_t{width} * height, pattern), guard);
      GuardedBuffer<std::uint16_t> dst(width / r.factor * std::size_t{height / r.factor}, guard);
      Words expected = dst.copy();
      reference::reduceBlocks(r.taps, r.factor, src.copy(), width, height, expected);
      EXPECT_EQ(r.routine(src.data(), width, height, dst.data()), 0);
      EXPECT_TRUE(holds(dst, expected)) << "by " << r.factor;
    }
  });
}

TEST(BayerReduction, MosaicsPlanesLikeTheModelAndWritesNothingElse) {
  proveShapes([&](unsigned width, unsigned height, Pattern pattern, Guard guard) {
    Words rgb[3];
    for (unsigned c = 0; c < 3; ++c) rgb[c] = samples<std::uint16_t>(std::size_t{width} * height, pattern, c + 1);
    GuardedBuffer<std::uint16_t> r(rgb[0], guard), g(rgb[1], guard), b(rgb[2], guard);
    const unsigned pitch = width / 8 * 2 + height % 3;
    GuardedBuffer<std::uint16_t> dst(pitch * std::size_t{height / 8 * 2}, guard);
    Words expected = dst.copy();
    reference::mosaicOfMeans(rgb, width, height, pitch, expected);
    EXPECT_EQ(rgbToBayer_x4(r.data(), g.data(), b.data(), dst.data(), width, height, pitch), 0);
    EXPECT_TRUE(holds(dst, expected));
  });
}

TEST(BayerReweighting, EqualsTheModelInPlaceAndIntoASecondBuffer) {
  proveShapes([&](unsigned width, unsigned height, Pattern pattern, Guard guard) {
    const unsigned pitch = width + height % 3;
    const Words frame = samples<std::uint16_t>(std::size_t{width} * height, pattern);
    const Words pitched = samples<std::uint16_t>(std::size_t{pitch} * (height > 0 ? height - 1 : 0) + width, pattern);
    const auto proveBoth = [&](auto routine, const Words& expected) {
      GuardedBuffer<std::uint16_t> src(frame, guard), dst(frame.size(), guard);
      routine(src.data(), dst.data(), width, height);
      EXPECT_TRUE(holds(dst, expected));
      EXPECT_TRUE(holds(src, frame));
      routine(src.data(), src.data(), width, height);
      EXPECT_TRUE(holds(src, expected)) << "in place";
    };
    proveBoth(bayerReweightFor_x2, reference::reweightedFor2(frame, width, height));
    proveBoth(bayerReweightFor_x4, reference::reweightedFor4(frame, width, height));
    proveBoth([](const std::uint16_t* src, std::uint16_t* dst, unsigned w,
                 unsigned h) { bayerReweightFor_x4_from_x2(src, w, dst, w, h); },
              reference::reweightedFrom2To4(frame, width, width, height));
    GuardedBuffer<std::uint16_t> src(pitched, guard), dst(frame.size(), guard);
    bayerReweightFor_x4_from_x2(src.data(), pitch, dst.data(), width, height);
    EXPECT_TRUE(holds(dst, reference::reweightedFrom2To4(pitched, pitch, width, height)));
  });
}

// The roads from a frame to one reduced by `factor`, and where in the first block the samples G, R, B, G of the first
// cell have their centres of gravity. The colour error that may be left, of that of taking cells as they are, on the
// grey scene and on the photograph below.
struct Road {
  const char* name;
  unsigned factor;
  Words (*prepare)(const Words& frame, unsigned width, unsigned height);
  int (*reduce)(const std::uint16_t* src, unsigned width, unsigned height, std::uint16_t* dst);
  double places[4][2];
  double ofGrey, ofPhotograph;

  Words operator()(const Words& frame, unsigned width, unsigned height) const {
    Words out(width / factor * std::size_t{height / factor});
    reduce(prepare(frame, width, height).data(), width, height, out.data());
    return out;
  }
};

Words asItIs(const Words& frame, unsigned, unsigned) { return frame; }

Words preparedFor2(const Words& frame, unsigned width, unsigned height) {
  Words out(frame.size());
  bayerReweightFor_x2(frame.data(), out.data(), width, height);
  return out;
}

Words preparedFor4(const Words& frame, unsigned width, unsigned height) {
  Words out(frame.size());
  bayerReweightFor_x4(frame.data(), out.data(), width, height);
  return out;
}

Words preparedFor4From2(const Words& frame, unsigned width, unsigned height) {
  Words out = preparedFor2(frame, width, height);
  bayerReweightFor_x4_from_x2(out.data(), width, out.data(), width, height);
  return out;
}

int meansOfGrey(const std::uint16_t* grey, unsigned width, unsigned height, std::uint16_t* dst) {
  return rgbToBayer_x4(grey, grey, grey, dst, width, height, width / 4);
}

const Road kRoads[] = {
    {"x2", 2, asItIs, compressBayer_x2, {{0.75, 0.75}, {0.5, 2}, {2.5, 0.5}, {2.25, 2.25}}, 0.67, 0.59},
    {"x2 by steps", 2, preparedFor2, compressBayer_x2Step, {{0, 0}, {0, 1.5}, {1.5, 0}, {1.5, 1.5}}, 0.69, 0.78},
    {"x4 by steps", 4, preparedFor4, compressBayer_x4Step, {{0, 0}, {0, 4}, {4, 0}, {4, 4}}, 0.40, 0.73},
    {"x4 from x2", 4, preparedFor4From2, compressBayer_x4Step, {{0, 0}, {0, 4}, {4, 0}, {4, 4}}, 0.40, 0.71},
    {"x8", 8, asItIs, compressBayer_x8, {{3.5, 3.5}, {3.5, 11.5}, {11.5, 3.5}, {11.5, 11.5}}, 0.34, 0.51},
    {"x4 of planes", 4, asItIs, meansOfGrey, {{1.5, 1.5}, {1.5, 5.5}, {5.5, 1.5}, {5.5, 5.5}}, 0.39, 1.00}};

TEST(BayerReduction, KeepsConstantsAndPutsRampsWhereTheSamplesAreSaidToLie) {
  constexpr unsigned kWidth = 176, kHeight = 80;
  for (const Road& road : kRoads) {
    SCOPED_TRACE(road.name);
    const bool through2 = road.prepare == preparedFor2 || road.prepare == preparedFor4From2;
    // Values at (0, 0), and their growth a row and a column: constants first.
    for (const auto& [base, down, right] :
         {std::array{0, 0, 0}, std::array{1, 0, 0}, std::array{4095, 0, 0}, std::array{65535, 0, 0},
          std::array{64, 128, 288}, std::array{64, 640, 64}}) {
      const bool constant = down == 0 && right == 0;
      Words frame(kWidth * kHeight);
      for (unsigned i = 0; i < frame.size(); ++i) {
        frame[i] = static_cast<std::uint16_t>(static_cast<unsigned>(base) + i / kWidth * static_cast<unsigned>(down) +
                                              i % kWidth * static_cast<unsigned>(right));
      }
      const Words out = road(frame, kWidth, kHeight);
      const unsigned columns = kWidth / road.factor, rows = kHeight / road.factor;
      for (unsigned y = 0; y < rows; ++y) {
        for (unsigned x = 0; x < columns; ++x) {
          const std::size_t sample = y % 2 * 2 + x % 2;
          const double row = road.places[sample][0] + y / 2 * 2 * road.factor;
          const double column = road.places[sample][1] + x / 2 * 2 * road.factor;
          const double value = base + down * row + right * column, loss = value - out[y * columns + x];
          // Every truncation may take away almost 1, but nothing of constants; the second green by 2 goes short by
          // rule.
          const double truncations = road.prepare == preparedFor4From2 ? 2 : 1;
          const double most = (constant ? 0 : truncations) + (through2 && sample == 3 ? value / 1024 + 1 : 0);
          ASSERT_TRUE(loss >= 0 && loss <= most) << "at " << y << ", " << x << ": " << value << " lost " << loss;
        }
      }
    }
  }
}

// The root of the mean square of what the demosaiced frame has of R - G and B - G beyond the truth's, which are given
// as functions of the reduced row and column.
template <typename Truth>
double colourError(const Words& frame, unsigned width, unsigned height, Truth&& truth) {
  std::vector<std::uint16_t> planes[3] = {frame, frame, frame};
  rgbFromBayer(frame.data(), width, height, width, planes[0].data(), planes[1].data(), planes[2].data(), bayerBilinear);
  constexpr unsigned kBorder = 2;
  double squares = 0, count = 0;
  for (unsigned y = kBorder; y < height - kBorder; ++y) {
    for (unsigned x = kBorder; x < width - kBorder; ++x) {
      const std::size_t i = std::size_t{y} * width + x;
      for (const unsigned c : {0u, 2u}) {
        const double error = static_cast<double>(planes[c][i]) - planes[1][i] - truth(y, x, c);
        squares += error * error;
        ++count;
      }
    }
  }
  return std::sqrt(squares / count);
}

template <typename Truth>
void expectLessColourError(const Road& road, const Words& frame, unsigned width, unsigned height, double mostOfCells,
                           Truth&& truth) {
  const unsigned columns = width / road.factor, rows = height / road.factor;
  Words cells(std::size_t{columns} * rows);
  reference::reduceBlocks(reference::tapsOfFirstCell(), road.factor, frame, width, height, cells);
  EXPECT_LE(colourError(road(frame, width, height), columns, rows, truth) / colourError(cells, columns, rows, truth),
            mostOfCells)
      << road.name;
}

// A grey scene has no colour, so that all that comes out is error.
TEST(BayerReduction, HasLessColourErrorThanTakingCellsOfAGreyScene) {
  constexpr unsigned kSize = 1024;
  for (const Road& road : kRoads) {
    // Waves that run to all sides and shorten from the middle to the edges, down to six reduced samples.
    Words frame(kSize * kSize);
    const double middle = kSize / 2.0, shortest = 6.0 * road.factor;
    for (unsigned i = 0; i < frame.size(); ++i) {
      const double y = i / kSize - middle, x = i % kSize - middle;
      const double phase = 3.14159265358979 * (x * x + y * y) / (middle * std::sqrt(2.0) * shortest);
      frame[i] = static_cast<std::uint16_t>(std::lround(2048 + 1800 * std::sin(phase)));
    }
    expectLessColourError(road, frame, kSize, kSize, road.ofGrey, [](unsigned, unsigned, unsigned) { return 0.0; });
  }
}

#ifdef QUORVEL_PHOTOGRAPHS
TEST(BayerReduction, HasLessColourErrorThanTakingCellsOfAPhotograph) {
  const char* const file = "jxl/flower/flower.png";
  const std::optional<Photograph> whole = loadPhotograph(file);
  if (!whole) GTEST_SKIP() << "no " << file << ": the package libjxl-testdata is not there";
  Photograph photo{whole->width / 16 * 16, whole->height / 16 * 16, {}};
  for (std::size_t y = 0; y < photo.height; ++y) {
    const auto row = whole->rgb.begin() + static_cast<std::ptrdiff_t>(3 * y * whole->width);
    photo.rgb.insert(photo.rgb.end(), row, row + 3 * static_cast<std::ptrdiff_t>(photo.width));
  }
  const Words frame = mosaicOf(photo);
  for (const Road& road : kRoads) {
    if (road.reduce == meansOfGrey) continue;
    // The mean colour of the sites that a sample stands for.
    const unsigned k = road.factor;
    expectLessColourError(road, frame, photo.width, photo.height, road.ofPhotograph,
                          [&](unsigned y, unsigned x, unsigned c) {
                            double sum = 0;
                            for (unsigned i = 0; i < k * k; ++i) {
                              const std::size_t site = std::size_t{y * k + i / k} * photo.width + x * k + i % k;
                              sum += static_cast<double>(photo.rgb[3 * site + c]) - photo.rgb[3 * site + 1];
                            }
                            return sum / (k * k);
                          });
  }
}
#endif

}  // namespace
}  // namespace quorvel::test
