// SPDX-License-Identifier: Apache-2.0
// The inverse transform in floats of two neighbouring blocks at once, where a vector holds a row of both. Every product
// is rounded, then added, in the order of the index, as for one block.

// Per-target include guard: the file is read again for every target.
#if defined(QUORVEL_CODEC_INVERSE_PAIR_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef QUORVEL_CODEC_INVERSE_PAIR_INL_H_
#undef QUORVEL_CODEC_INVERSE_PAIR_INL_H_
#else
#define QUORVEL_CODEC_INVERSE_PAIR_INL_H_
#endif

#include <cstddef>
#include <cstdint>
#include <cstring>

#include <hwy/highway.h>

#include "codec/rounding-inl.h"
#include "codec/zigzag-inl.h"
#include "simd/lanes-inl.h"

HWY_BEFORE_NAMESPACE();
namespace quorvel {
namespace HWY_NAMESPACE {

#if HWY_CAP_GE512

// How two blocks come to stand side by side, each coefficient of the one by that of the other in 32 bits: two rows of
// pairs, result r, take lane lanes[r][s] of source s where bits[r][s] says so. The sources are the blocks' 128-bit
// halves of rows, interleaved.
struct PairOrder {
  alignas(64) std::int32_t lanes[4][4][16];
  std::uint8_t bits[4][4][8];  // two bytes are used: loads of masks may read eight

  constexpr explicit PairOrder(bool zigzag) : lanes(), bits() {
    for (unsigned i = 0; i < 64; ++i) {
      const unsigned from = zigzag ? kFromZigzag.source[i] : i, s = from / 32 * 2 + from % 8 / 4;
      lanes[i / 16][s][i % 16] = static_cast<std::int32_t>(from % 32 / 8 * 4 + from % 4);
      std::uint8_t& mask = bits[i / 16][s][i % 16 / 8];
      mask = static_cast<std::uint8_t>(mask | 1u << i % 8);
    }
  }
};
inline constexpr PairOrder kPairsRowMajor(false), kPairsFromZigzag(true);

// Even lanes are the first block's, odd ones the second's. So a factor of both is a broadcast of two floats, which
// costs no shuffle, and one shuffle of bytes makes a row of samples of the result.
class PairInverse {
 public:
  PairInverse(const float* quant, const float* left, const float* right, bool zigzag)
      : left_(left), order_(zigzag ? kPairsFromZigzag : kPairsRowMajor) {
    for (std::size_t i = 0; i < 128; ++i) {
      quant_[i] = quant[i / 2];
      right_[i] = right[i / 2];
    }
  }

  HWY_INLINE void operator()(const std::int16_t* coefs, std::uint8_t* out, std::size_t stride) const {
    const Floats d;
    hn::Vec<Floats> rows[8];
    dequantise(coefs, rows);
    alignas(64) float t[128];
    for (std::size_t k = 0; k < 8; ++k) {
      const auto factor = [&](std::size_t j) HWY_ATTR { return hn::Set(d, left_[8 * k + j]); };
      hn::StoreU(sumOfProducts(factor, rows), d, t + 16 * k);
    }
    HWY_UNROLL(8)
    for (std::size_t j = 0; j < 8; ++j) rows[j] = hn::LoadU(d, right_ + 16 * j);
    for (std::size_t k = 0; k < 8; ++k) {
      const auto factors = [&](std::size_t j) HWY_ATTR {
        double two;
        std::memcpy(&two, t + 16 * k + 2 * j, sizeof two);
        return hn::BitCast(d, hn::Set(hn::Full512<double>(), two));
      };
      storeSamples(sumOfProducts(factors, rows), out + k * stride);
    }
  }

 private:
  using Floats = hn::Full512<float>;
  using Words = hn::Full512<std::int32_t>;

  template <typename Factor>
  static HWY_INLINE hn::Vec<Floats> sumOfProducts(Factor&& factor, const hn::Vec<Floats> (&rows)[8]) {
    auto sum = hn::Mul(factor(0), rows[0]);
    HWY_UNROLL(7)
    for (std::size_t j = 1; j < 8; ++j) sum = hn::Add(sum, hn::Mul(factor(j), rows[j]));
    return sum;
  }

  HWY_INLINE void dequantise(const std::int16_t* coefs, hn::Vec<Floats> (&rows)[8]) const {
    const Floats d;
    const Words d32;
    const hn::Full512<std::int16_t> d16;
    hn::Vec<Words> sources[4];
    HWY_UNROLL(2)
    for (std::size_t half = 0; half < 2; ++half) {
      const auto a = hn::LoadU(d16, coefs + 32 * half), b = hn::LoadU(d16, coefs + 64 + 32 * half);
      sources[2 * half] = hn::BitCast(d32, hn::InterleaveLower(d16, a, b));
      sources[2 * half + 1] = hn::BitCast(d32, hn::InterleaveUpper(d16, a, b));
    }
    alignas(64) std::int32_t pairs[64];
    HWY_UNROLL(4)
    for (std::size_t r = 0; r < 4; ++r) {
      auto twoRows = hn::Zero(d32);
      HWY_UNROLL(4)
      for (std::size_t s = 0; s < 4; ++s) {
        const auto moved = hn::TableLookupLanes(sources[s], hn::SetTableIndices(d32, order_.lanes[r][s]));
        twoRows = hn::IfThenElse(hn::LoadMaskBits(d32, order_.bits[r][s]), moved, twoRows);
      }
      hn::StoreU(twoRows, d32, pairs + 16 * r);
    }
    HWY_UNROLL(8)
    for (std::size_t j = 0; j < 8; ++j) {
      const auto row = hn::BitCast(hn::Full256<std::int16_t>(), hn::LoadU(hn::Full256<std::int32_t>(), pairs + 8 * j));
      rows[j] = hn::Mul(hn::ConvertTo(d, hn::PromoteTo(d32, row)), hn::LoadU(d, quant_ + 16 * j));
    }
  }

  static HWY_INLINE void storeSamples(hn::Vec<Floats> sum, std::uint8_t* out) {
    const Floats d;
    const hn::Full128<std::uint8_t> d8;
    alignas(16) static constexpr std::uint8_t kApart[16] = {0, 2, 4, 6, 8, 10, 12, 14, 1, 3, 5, 7, 9, 11, 13, 15};
    // A float from 2^23 on has its unit in the lowest bit: that makes the conversion.
    const auto sample = hn::Add(hn::Trunc(sampleLevel(d, sum)), hn::Set(d, 0x1p23f + 128.0f));
    const auto bytes = hn::TruncateTo(d8, hn::BitCast(hn::RebindToUnsigned<Floats>(), sample));
    hn::StoreU(hn::TableLookupBytes(bytes, hn::Load(d8, kApart)), d8, out);
  }

  const float* left_;
  const PairOrder& order_;
  alignas(64) float quant_[128], right_[128];
};

#endif  // HWY_CAP_GE512

}  // namespace HWY_NAMESPACE
}  // namespace quorvel
HWY_AFTER_NAMESPACE();

#endif  // per-target include guard
