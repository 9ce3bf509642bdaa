// SPDX-License-Identifier: Apache-2.0
// The neighbourhoods of the methods that weigh them with a table, and the weights of cubic convolution.
#ifndef QUORVEL_GEOMETRY_RESAMPLE_SHAPES_H_
#define QUORVEL_GEOMETRY_RESAMPLE_SHAPES_H_

#include <cstddef>
#include <cstdint>

#include "geometry/resample_weights.h"

namespace quorvel {

// A sample of a neighbourhood: its row, counted from the uppermost, and its column, counted from the position's own.
struct Place {
  int row, column;
};

// Neighbourhoods: their rows from `kAbove` above the position's own on, and their samples in the order of the weights.
// A record has a word for each, and unused ones up to kWords.
struct BilinearShape {
  static constexpr int kAbove = 0, kRows = 2, kWords = 8;
  static constexpr Place kPlaces[] = {{0, 0}, {0, 1}, {1, 0}, {1, 1}};
};
struct SixShape {
  static constexpr int kAbove = 0, kRows = 3, kWords = 8;
  static constexpr Place kPlaces[] = {{0, 0}, {0, 1}, {0, 2}, {1, 0}, {1, 1}, {2, 0}};
};
struct EightShape {
  static constexpr int kAbove = 1, kRows = 4, kWords = 8;
  static constexpr Place kPlaces[] = {{0, 1}, {1, 0}, {1, 1}, {1, 2}, {2, -1}, {2, 0}, {2, 1}, {3, 0}};
};
struct SixteenShape {
  static constexpr int kAbove = 1, kRows = 4, kWords = 16;
  static constexpr Place kPlaces[] = {{0, -1}, {0, 0}, {0, 1}, {0, 2}, {1, -1}, {1, 0}, {1, 1}, {1, 2},
                                      {2, -1}, {2, 0}, {2, 1}, {2, 2}, {3, -1}, {3, 0}, {3, 1}, {3, 2}};
};
struct ColumnShape {
  static constexpr int kAbove = 1, kRows = 4, kWords = 8;
  static constexpr Place kPlaces[] = {{0, 0}, {1, 0}, {2, 0}, {3, 0}};
};

// Weights of cubic convolution: of a column by the pair of phases, with unused words, and of a row by its phase.
struct CubicWeights {
  alignas(16) std::int16_t column[kPhasePairs][8];
  alignas(16) std::int32_t row[kPhases][4];
};
inline constexpr CubicWeights kCubicWeights = [] {
  CubicWeights weights{};
  for (int entry = 0; entry < kPhasePairs; ++entry) {
    for (int tap = 0; tap < 4; ++tap) {
      weights.column[entry][tap] = static_cast<std::int16_t>(cubicConvolution(tap, entry / kPhases));
      weights.row[entry % kPhases][tap] = cubicConvolution(tap, entry % kPhases);
    }
  }
  return weights;
}();

inline constexpr std::size_t kTapRun = 64;

// The records of a run, and the pairs of phases that belong to them.
template <int kWords>
struct Records {
  alignas(64) std::int16_t words[kTapRun][static_cast<std::size_t>(kWords)];
  std::uint8_t phases[kTapRun];
};

}  // namespace quorvel

#endif  // QUORVEL_GEOMETRY_RESAMPLE_SHAPES_H_
