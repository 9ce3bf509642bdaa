// SPDX-License-Identifier: Apache-2.0
// Blocks from row-major to zig-zag order and back, by byte shuffles within rows: every row of the result gathers from
// the few rows of the source that have part in it.

// Per-target include guard: the file is read again for every target.
#if defined(QUORVEL_CODEC_ZIGZAG_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef QUORVEL_CODEC_ZIGZAG_INL_H_
#undef QUORVEL_CODEC_ZIGZAG_INL_H_
#else
#define QUORVEL_CODEC_ZIGZAG_INL_H_
#endif

#include <cstddef>
#include <cstdint>
#include <utility>

#include <hwy/highway.h>

#include "simd/lanes-inl.h"

HWY_BEFORE_NAMESPACE();
namespace quorvel {
namespace HWY_NAMESPACE {

// Where each coefficient of the result comes from, and the shuffles that bring it: the bytes of source row s that go to
// row r of the result, 0x80 elsewhere.
struct BlockOrder {
  std::uint8_t source[64];
  alignas(16) std::uint8_t bytes[8][8][16];
  bool takesPart[8][8];

  // Along the diagonals, the odd ones downwards, the even ones upwards.
  constexpr explicit BlockOrder(bool back) : source(), bytes(), takesPart() {
    int at = 0;
    for (int diagonal = 0; diagonal < 15; ++diagonal) {
      for (int step = 0; step <= diagonal; ++step) {
        const int row = diagonal % 2 != 0 ? step : diagonal - step, column = diagonal - row;
        if (row > 7 || column > 7) continue;
        const int place = 8 * row + column;
        source[back ? place : at] = static_cast<std::uint8_t>(back ? at : place);
        ++at;
      }
    }
    for (int i = 0; i < 64; ++i) {
      for (int s = 0; s < 8; ++s) {
        const bool here = source[i] / 8 == s;
        takesPart[i / 8][s] = takesPart[i / 8][s] || here;
        for (int b = 0; b < 2; ++b) {
          bytes[i / 8][s][i % 8 * 2 + b] = static_cast<std::uint8_t>(here ? source[i] % 8 * 2 + b : 0x80);
        }
      }
    }
  }
};
inline constexpr BlockOrder kToZigzag(false), kFromZigzag(true);

#if HWY_TARGET == HWY_SCALAR

template <const BlockOrder& kOrder>
void reorderBlock(const std::int16_t* src, std::int16_t* dst) {
  for (std::size_t i = 0; i < 64; ++i) dst[i] = src[kOrder.source[i]];
}

#else

template <const BlockOrder& kOrder, std::size_t kRow, typename V>
HWY_INLINE V gatherRow(const V (&rows)[8]) {
  const hn::Full128<std::uint8_t> d8;
  V gathered = hn::Zero(d8);
  const auto take = [&]<std::size_t s>() HWY_ATTR {
    if constexpr (kOrder.takesPart[kRow][s]) {
      gathered = hn::Or(gathered, hn::TableLookupBytesOr0(rows[s], hn::Load(d8, kOrder.bytes[kRow][s])));
    }
  };
  [&]<std::size_t... s>(std::index_sequence<s...>) HWY_ATTR { (take.template operator()<s>(), ...); }
  (std::make_index_sequence<8>());
  return gathered;
}

// `dst` may be `src`: the rows are read first.
template <const BlockOrder& kOrder>
HWY_INLINE void reorderBlock(const std::int16_t* src, std::int16_t* dst) {
  const hn::Full128<std::uint8_t> d8;
  hn::Vec<decltype(d8)> rows[8];
  HWY_UNROLL(8)
  for (std::size_t s = 0; s < 8; ++s) rows[s] = hn::LoadU(d8, reinterpret_cast<const std::uint8_t*>(src + 8 * s));
  [&]<std::size_t... r>(std::index_sequence<r...>) HWY_ATTR {
    (hn::StoreU(gatherRow<kOrder, r>(rows), d8, reinterpret_cast<std::uint8_t*>(dst + 8 * r)), ...);
  }
  (std::make_index_sequence<8>());
}

#endif

}  // namespace HWY_NAMESPACE
}  // namespace quorvel
HWY_AFTER_NAMESPACE();

#endif  // per-target include guard
