// SPDX-License-Identifier: Apache-2.0
// Plain models of the reduction of Bayer frames: lists of weights, applied cell by cell.
#ifndef QUORVEL_TESTS_SUPPORT_REFERENCE_REDUCE_H_
#define QUORVEL_TESTS_SUPPORT_REFERENCE_REDUCE_H_

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <vector>

namespace quorvel::reference {

using Words = std::vector<std::uint16_t>;

struct Tap {
  unsigned y, x;
  std::uint64_t weight;
};

// For each sample of a cell, G, R, B, G, the taps in the block that the cell is made of.
using CellTaps = std::array<std::vector<Tap>, 4>;

inline std::uint64_t weightedMean(const std::vector<Tap>& taps, const std::uint16_t* at, std::size_t pitch) {
  std::uint64_t sum = 0, weights = 0;
  for (const Tap& t : taps) sum += t.weight * at[t.y * pitch + t.x], weights += t.weight;
  return sum / weights;
}

inline const CellTaps kTapsBy2 = {{{{0, 0, 1}, {0, 2, 1}, {1, 1, 1}, {2, 0, 1}},
                                   {{0, 1, 1}, {0, 3, 2}, {2, 1, 1}},
                                   {{1, 0, 1}, {3, 0, 2}, {3, 2, 1}},
                                   {{1, 3, 1}, {2, 2, 1}, {3, 1, 1}, {3, 3, 1}}}};
inline const CellTaps kTapsOfFirstCell = {{{{0, 0, 1}}, {{0, 1, 1}}, {{1, 0, 1}}, {{1, 1, 1}}}};

// Green: all of the sample's own 8 x 8 sites. Red and blue: a sample stands for a square two sites wide, and weighs
// what the own sites cover of it; in half sites, that is an overlap of two intervals in each direction.
inline CellTaps tapsBy8() {
  const auto overlap = [](int at, int ownFirst) {
    return static_cast<std::uint64_t>(
        std::max(0, std::min(2 * at + 2, 2 * ownFirst + 15) - std::max(2 * at - 2, 2 * ownFirst - 1)));
  };
  CellTaps taps;
  for (int y = 0; y < 16; ++y) {
    for (int x = 0; x < 16; ++x) {
      const auto row = static_cast<unsigned>(y), column = static_cast<unsigned>(x);
      if ((y + x) % 2 == 0 && y / 8 == x / 8) taps[y < 8 ? 0 : 3].push_back({row, column, 1});
      if (y % 2 == 0 && x % 2 == 1) taps[1].push_back({row, column, overlap(y, 0) * overlap(x, 8)});
      if (y % 2 == 1 && x % 2 == 0) taps[2].push_back({row, column, overlap(y, 8) * overlap(x, 0)});
    }
  }
  return taps;
}

// Whole blocks of `src` into `dst`, which keeps what is not written.
inline void reduceBlocks(const CellTaps& taps, unsigned factor, const Words& src, unsigned width, unsigned height,
                         Words& dst) {
  const std::size_t block = 2 * factor, dstPitch = width / factor;
  for (std::size_t y = 0; y < height / block; ++y) {
    for (std::size_t x = 0; x < width / block; ++x) {
      for (std::size_t k = 0; k < 4; ++k) {
        dst[(2 * y + k / 2) * dstPitch + 2 * x + k % 2] =
            static_cast<std::uint16_t>(weightedMean(taps[k], &src[block * (y * width + x)], width));
      }
    }
  }
}

// Taps of re-weighting, relative to the cell's first sample; `reach` cells ahead must be there in a direction in which
// a sample has taps.
inline CellTaps tapsAhead(unsigned firstCell, std::uint64_t p, std::uint64_t q) {  // p of the nearer, q of the other
  const unsigned n = 2 * firstCell + 1, f = n + 2;
  return {{{{0, 0, 1}},
           {{0, n, p}, {0, f, q}},
           {{n, 0, p}, {f, 0, q}},
           {{n, n, p * p}, {n, f, p * q}, {f, n, q * p}, {f, f, q * q}}}};
}

struct Reweighting {
  CellTaps taps;
  unsigned reach;
  bool twelfths = false;  // the second green by 341 / 4096

  Words operator()(const Words& src, std::size_t pitch, std::size_t width, std::size_t height) const {
    Words dst(width * height);
    for (std::size_t y = 0; y < height; ++y) {
      for (std::size_t x = 0; x < width; ++x) {
        const std::uint16_t* const own = &src[y * pitch + x];
        std::uint64_t value = *own;
        const bool rowsAhead = y % 2 == 0 ? y / 2 < height / 2 : y / 2 + reach < height / 2;
        if (x / 2 + reach < width / 2 && rowsAhead) {
          value = weightedMean(taps[y % 2 * 2 + x % 2], own - y % 2 * pitch - x % 2, pitch);
          if (twelfths && y % 2 == 1 && x % 2 == 1) {
            value = (8u * own[0] + 2u * own[2 * pitch + 2] + own[2 * pitch] + own[2]) * 341 >> 12;
          }
        }
        dst[y * width + x] = static_cast<std::uint16_t>(value);
      }
    }
    return dst;
  }
};

inline const Reweighting kFor2 = {tapsAhead(0, 3, 1), 1, true}, kFor4 = {tapsAhead(1, 1, 1), 2},
                         kFrom2To4 = {tapsAhead(1, 3, 1), 2};

// Means of 4 x 4 into rows `pitch` apart of `dst`, which keeps what is not written.
inline void mosaicOfMeans(const Words& r, const Words& g, const Words& b, Words& dst, unsigned width, unsigned height,
                          unsigned pitch) {
  for (std::size_t y = 0; y < height / 8 * 2; ++y) {
    for (std::size_t x = 0; x < width / 8 * 2; ++x) {
      const Words& plane = (y + x) % 2 == 0 ? g : y % 2 == 0 ? r : b;
      unsigned sum = 0;
      for (std::size_t k = 0; k < 16; ++k) sum += plane[(4 * y + k / 4) * width + 4 * x + k % 4];
      dst[y * pitch + x] = static_cast<std::uint16_t>(sum / 16);
    }
  }
}

}  // namespace quorvel::reference

#endif  // QUORVEL_TESTS_SUPPORT_REFERENCE_REDUCE_H_
