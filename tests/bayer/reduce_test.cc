// SPDX-License-Identifier: Apache-2.0
#include <cmath>
#include <string>

#include <quorvel/bayer.h>

#include "tests/support/prove.h"
#include "tests/support/reference/reduce.h"

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
    const auto frame = [=](unsigned seed) {
      return samples<std::uint16_t>(std::size_t{width} * height, pattern, seed);
    };
    for (const auto& r : reductions) {
      const auto model = [&](const Words& src, unsigned w, unsigned h, Words& dst) {
        reference::reduceBlocks(r.taps, r.factor, src, w, h, dst);
      };
      prove(guard, r.routine, model, frame(1), width, height,
            room<std::uint16_t>(width / r.factor * std::size_t{height / r.factor}));
    }
    const unsigned pitch = width / 8 * 2 + height % 3;
    prove(guard, rgbToBayer_x4, reference::mosaicOfMeans, frame(1), frame(2), frame(3),
          room<std::uint16_t>(pitch * std::size_t{height / 8 * 2}), width, height, pitch);
  });
}

TEST(BayerReweighting, EqualsTheModelInPlaceAndIntoASecondBuffer) {
  proveShapes([&](unsigned width, unsigned height, Pattern pattern, Guard guard) {
    const auto proveBoth = [&](auto routine, auto model, unsigned pitch) {
      const std::size_t rows = height > 0 ? height - 1 : 0;
      prove(
          guard, [=](auto* src, auto* dst) { routine(src, pitch, dst, width, height); },
          [=](const Words& src, Words& dst) { dst = model(src, pitch, width, height); },
          samples<std::uint16_t>(rows * pitch + width * (height > 0), pattern),
          room<std::uint16_t>(std::size_t{width} * height));
      if (pitch != width) return;
      prove(
          guard, [=](auto* frame) { routine(frame, width, frame, width, height); },
          [=](Words& frame) { frame = model(Words(frame), width, width, height); },
          samples<std::uint16_t>(std::size_t{width} * height, pattern));
    };
    const auto dense = [](auto routine) {
      return [=](auto* src, unsigned, auto* dst, unsigned w, unsigned h) { routine(src, dst, w, h); };
    };
    proveBoth(dense(bayerReweightFor_x2), reference::reweightedFor2, width);
    proveBoth(dense(bayerReweightFor_x4), reference::reweightedFor4, width);
    proveBoth(bayerReweightFor_x4_from_x2, reference::reweightedFrom2To4, width);
    proveBoth(bayerReweightFor_x4_from_x2, reference::reweightedFrom2To4, width + height % 3);
  });
}

// The roads from a frame, which they may use up, to one reduced by `factor`; where in the first block the samples G, R,
// B, G of the first cell have their centres of gravity; and how many means are truncated on the way.
struct Road {
  const char* name;
  unsigned factor;
  void (*reduce)(std::uint16_t* frame, unsigned width, unsigned height, std::uint16_t* dst);
  double places[4][2];
  int truncations = 1;
  bool through2 = false;
};

const Road kRoads[] = {
    {"x2",
     2,
     [](auto* src, unsigned w, unsigned h, auto* dst) { compressBayer_x2(src, w, h, dst); },
     {{0.75, 0.75}, {0.5, 2}, {2.5, 0.5}, {2.25, 2.25}}},
    {"x2 by steps",
     2,
     [](auto* src, unsigned w, unsigned h, auto* dst) {
       bayerReweightFor_x2(src, src, w, h);
       compressBayer_x2Step(src, w, h, dst);
     },
     {{0, 0}, {0, 1.5}, {1.5, 0}, {1.5, 1.5}},
     1,
     true},
    {"x4 by steps",
     4,
     [](auto* src, unsigned w, unsigned h, auto* dst) {
       bayerReweightFor_x4(src, src, w, h);
       compressBayer_x4Step(src, w, h, dst);
     },
     {{0, 0}, {0, 4}, {4, 0}, {4, 4}}},
    {"x4 from x2",
     4,
     [](auto* src, unsigned w, unsigned h, auto* dst) {
       bayerReweightFor_x2(src, src, w, h);
       bayerReweightFor_x4_from_x2(src, w, src, w, h);
       compressBayer_x4Step(src, w, h, dst);
     },
     {{0, 0}, {0, 4}, {4, 0}, {4, 4}},
     2,
     true},
    {"x8",
     8,
     [](auto* src, unsigned w, unsigned h, auto* dst) { compressBayer_x8(src, w, h, dst); },
     {{3.5, 3.5}, {3.5, 11.5}, {11.5, 3.5}, {11.5, 11.5}}},
    {"x4 of planes",
     4,
     [](auto* src, unsigned w, unsigned h, auto* dst) { rgbToBayer_x4(src, src, src, dst, w, h, w / 4); },
     {{1.5, 1.5}, {1.5, 5.5}, {5.5, 1.5}, {5.5, 5.5}}}};

TEST(BayerReduction, KeepsConstantsAndPutsRampsWhereTheSamplesAreSaidToLie) {
  constexpr unsigned kWidth = 176, kHeight = 80;
  for (const Road& road : kRoads) {
    // Values at (0, 0), and their growth a row and a column: constants first.
    for (const auto& [base, down, right] : {std::array{0u, 0u, 0u},
                                            {1u, 0u, 0u},
                                            {4095u, 0u, 0u},
                                            {65535u, 0u, 0u},
                                            {64u, 128u, 288u},
                                            {64u, 640u, 64u}}) {
      Words frame(kWidth * kHeight), out(frame.size() / road.factor / road.factor);
      for (unsigned i = 0; i < frame.size(); ++i) {
        frame[i] = static_cast<std::uint16_t>(base + i / kWidth * down + i % kWidth * right);
      }
      road.reduce(frame.data(), kWidth, kHeight, out.data());
      for (unsigned i = 0; i < out.size(); ++i) {
        const unsigned x = i % (kWidth / road.factor), y = i / (kWidth / road.factor), sample = y % 2 * 2 + x % 2;
        const double row = road.places[sample][0] + y / 2 * 2 * road.factor;
        const double column = road.places[sample][1] + x / 2 * 2 * road.factor;
        const double value = base + down * row + right * column, loss = value - out[i];
        // Every truncation may take away almost 1, but nothing of constants; the second green by 2 goes short by rule.
        const double most = (down == 0 ? 0 : road.truncations) + (road.through2 && sample == 3 ? value / 1024 + 1 : 0);
        ASSERT_TRUE(loss >= 0 && loss <= most)
            << road.name << " at " << y << ", " << x << ": " << value << " lost " << loss;
      }
    }
  }
}

}  // namespace
}  // namespace quorvel::test
