// SPDX-License-Identifier: Apache-2.0
// From a pixel to the number of its cell.

#ifndef QUORVEL_COLOUR_GRID_ONCE
#define QUORVEL_COLOUR_GRID_ONCE
#include <cstdint>

namespace quorvel {

// How a pixel, an integer of four lanes whose last one is 0, is taken apart on a grid of 2^levelBits levels.
template <typename PixelWord, int kSampleBits, int kLevelBits>
struct Grid {
  using Word = PixelWord;
  static constexpr int kLaneBits = sizeof(Word) * 2;
  static constexpr int kResidualBits = kSampleBits - kLevelBits;

  // How far down the level of channel c moves to its place in the cell's number, and that place.
  static constexpr int shift(int c) { return c * (kLaneBits - kLevelBits) + kResidualBits; }
  static constexpr Word level(int c) { return Word{(1u << kLevelBits) - 1} << c * kLevelBits; }
  static constexpr Word residuals() {
    constexpr Word one = (1u << kResidualBits) - 1;
    return one | one << kLaneBits | one << 2 * kLaneBits;
  }
};

using Bytes64 = Grid<std::uint32_t, 8, 6>;
using Bytes32 = Grid<std::uint32_t, 8, 5>;
using Words64 = Grid<std::uint64_t, 12, 6>;
using Words32 = Grid<std::uint64_t, 12, 5>;

}  // namespace quorvel
#endif

// Per-target include guard: the file is read again for every target.
#if defined(QUORVEL_COLOUR_GRID_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef QUORVEL_COLOUR_GRID_INL_H_
#undef QUORVEL_COLOUR_GRID_INL_H_
#else
#define QUORVEL_COLOUR_GRID_INL_H_
#endif

#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace quorvel {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

// The numbers of the cells of the pixels `p`.
template <class G, class D>
HWY_INLINE hn::Vec<D> cellNumbers(D d, hn::Vec<D> p) {
  const auto c0 = hn::And(hn::ShiftRight<G::shift(0)>(p), hn::Set(d, G::level(0)));
  const auto c1 = hn::And(hn::ShiftRight<G::shift(1)>(p), hn::Set(d, G::level(1)));
  const auto c2 = hn::And(hn::ShiftRight<G::shift(2)>(p), hn::Set(d, G::level(2)));
  return hn::Or(hn::Or(c0, c1), c2);
}

}  // namespace HWY_NAMESPACE
}  // namespace quorvel
HWY_AFTER_NAMESPACE();

#endif  // per-target include guard
