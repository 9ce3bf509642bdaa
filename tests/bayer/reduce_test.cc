// SPDX-License-Identifier: Apache-2.0
#include <quorvel/bayer.h>

#include "tests/support/prove.h"
#include "tests/support/reference/reduce.h"

namespace quorvel::test {
namespace {

// Calls check(width, height, pattern, guard) for all widths and a choice of heights, and the other way round.
template <typename Check>
void proveShapes(Check&& check) {
  proveRows(rowLengths(0, 70), [&](unsigned n, Pattern pattern, Guard guard) {
    for (const unsigned other : {1u, 7u, 35u}) {
      SCOPED_TRACE(other);
      check(n, other, pattern, guard);
      check(other, n, pattern, guard);
    }
  });
}

TEST(BayerReduction, EqualsTheModelAtEverySizeAndWritesNothingElse) {
  const struct {
    int (*routine)(const std::uint16_t*, unsigned, unsigned, std::uint16_t*);
    unsigned factor;
    reference::CellTaps taps;
  } reductions[] = {{compressBayer_x2, 2, reference::kTapsBy2},
                    {compressBayer_x2Step, 2, reference::kTapsOfFirstCell},
                    {compressBayer_x4Step, 4, reference::kTapsOfFirstCell},
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
  const auto dense = [](auto routine) {
    return [=](auto* src, unsigned, auto* dst, unsigned w, unsigned h) { routine(src, dst, w, h); };
  };
  proveShapes([&](unsigned width, unsigned height, Pattern pattern, Guard guard) {
    const auto proveBoth = [&](auto routine, const reference::Reweighting& model, unsigned pitch) {
      const std::size_t size = height == 0 ? 0 : (height - 1) * pitch + width;
      prove(
          guard, [=](auto* src, auto* dst) { routine(src, pitch, dst, width, height); },
          [=](const Words& src, Words& dst) { dst = model(src, pitch, width, height); },
          samples<std::uint16_t>(size, pattern), room<std::uint16_t>(std::size_t{width} * height));
      if (pitch != width) return;
      prove(
          guard, [=](auto* frame) { routine(frame, width, frame, width, height); },
          [=](Words& frame) { frame = model(Words(frame), width, width, height); },
          samples<std::uint16_t>(size, pattern));
    };
    proveBoth(dense(bayerReweightFor_x2), reference::kFor2, width);
    proveBoth(dense(bayerReweightFor_x4), reference::kFor4, width);
    proveBoth(bayerReweightFor_x4_from_x2, reference::kFrom2To4, width);
    proveBoth(bayerReweightFor_x4_from_x2, reference::kFrom2To4, width + height % 3);
  });
}

void moveFor2(std::uint16_t* frame, unsigned w, unsigned h) { bayerReweightFor_x2(frame, frame, w, h); }
void moveFor4(std::uint16_t* frame, unsigned w, unsigned h) { bayerReweightFor_x4(frame, frame, w, h); }
void moveFrom2To4(std::uint16_t* frame, unsigned w, unsigned h) { bayerReweightFor_x4_from_x2(frame, w, frame, w, h); }

int meansBy4(const std::uint16_t* frame, unsigned w, unsigned h, std::uint16_t* dst) {
  return rgbToBayer_x4(frame, frame, frame, dst, w, h, w / 4);
}

// The roads from a frame to one reduced by `factor`: what moves its samples first, what reduces it, and where in the
// first block the samples G, R, B, G of the first cell then have their centres of gravity.
const struct {
  unsigned factor;
  std::vector<void (*)(std::uint16_t*, unsigned, unsigned)> moves;
  int (*reduce)(const std::uint16_t*, unsigned, unsigned, std::uint16_t*);
  double places[4][2];
} kRoads[] = {{2, {}, compressBayer_x2, {{0.75, 0.75}, {0.5, 2}, {2.5, 0.5}, {2.25, 2.25}}},
              {2, {moveFor2}, compressBayer_x2Step, {{0, 0}, {0, 1.5}, {1.5, 0}, {1.5, 1.5}}},
              {4, {moveFor4}, compressBayer_x4Step, {{0, 0}, {0, 4}, {4, 0}, {4, 4}}},
              {4, {moveFor2, moveFrom2To4}, compressBayer_x4Step, {{0, 0}, {0, 4}, {4, 0}, {4, 4}}},
              {8, {}, compressBayer_x8, {{3.5, 3.5}, {3.5, 11.5}, {11.5, 3.5}, {11.5, 11.5}}},
              {4, {}, meansBy4, {{1.5, 1.5}, {1.5, 5.5}, {5.5, 1.5}, {5.5, 5.5}}}};

TEST(BayerReduction, KeepsConstantsAndPutsRampsWhereTheSamplesAreSaidToLie) {
  constexpr unsigned kWidth = 176, kHeight = 80;
  for (const auto& road : kRoads) {
    // Values at (0, 0), and their growth a row and a column: constants first.
    for (const auto& [base, down, right] : {std::array{0u, 0u, 0u},
                                            {1u, 0u, 0u},
                                            {4095u, 0u, 0u},
                                            {65535u, 0u, 0u},
                                            {64u, 128u, 288u},
                                            {64u, 640u, 64u}}) {
      Words frame, out(kWidth * kHeight / road.factor / road.factor);
      for (unsigned i = 0; i < kWidth * kHeight; ++i) {
        frame.push_back(static_cast<std::uint16_t>(base + i / kWidth * down + i % kWidth * right));
      }
      for (const auto move : road.moves) move(frame.data(), kWidth, kHeight);
      road.reduce(frame.data(), kWidth, kHeight, out.data());
      for (unsigned i = 0; i < out.size(); ++i) {
        const unsigned x = i % (kWidth / road.factor), y = i / (kWidth / road.factor), sample = y % 2 * 2 + x % 2;
        const double row = road.places[sample][0] + y / 2 * 2 * road.factor;
        const double column = road.places[sample][1] + x / 2 * 2 * road.factor;
        const double value = base + down * row + right * column, loss = value - out[i];
        // Every truncation may take away almost 1, but nothing of constants; the second green by 2 goes short by rule.
        const auto truncations = static_cast<double>(std::max(road.moves.size(), std::size_t{1}));
        const bool through2 = !road.moves.empty() && road.moves[0] == moveFor2;
        const double most = (down == 0 ? 0 : truncations) + (through2 && sample == 3 ? value / 1024 + 1 : 0);
        ASSERT_TRUE(loss >= 0 && loss <= most)
            << "road " << &road - kRoads << " at " << y << ", " << x << ": " << value << " lost " << loss;
      }
    }
  }
}

}  // namespace
}  // namespace quorvel::test
