// SPDX-License-Identifier: Apache-2.0
// Inverse transforms in 16 bits: coefficients, dequantised, through two matrix products into samples.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "codec/dct_inverse.cc"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include <cstring>

#include "codec/block_product-inl.h"
#include "codec/dct.h"
#include "codec/zigzag-inl.h"
#include "quorvel/codec.h"

#ifndef QUORVEL_CODEC_DCT_INVERSE_ONCE
#define QUORVEL_CODEC_DCT_INVERSE_ONCE
namespace quorvel {
namespace {

// The constants of a member: what the passes add, and the samples' range. A clamp in two saturating steps lifts y by
// twice the level, and takes what is above that range for a large value: so a y below -2 * level comes out as the
// highest sample.
struct InverseKind {
  std::int16_t firstPass, secondPass;
  std::uint16_t level, highest;
};
constexpr InverseKind kTo12Bits{4, 4, 2048, 4095}, kTo8Bits{0, 1, 128, 255};

// Blocks to be set side by side.
template <typename Sample>
struct InverseBlocks {
  const std::uint16_t* coefs;
  std::size_t count;
  const std::uint16_t* steps;  // null: the coefficients are doubled instead
  Sample* out;
  std::size_t stride;  // bytes
  bool zigzag = false;

  // For calls that have only one: the compiler then drops the loop.
  InverseBlocks firstAlone() const { return {coefs, 1, steps, out, stride}; }
};
using InverseWords = InverseBlocks<std::uint16_t>;
using InverseBytes = InverseBlocks<std::uint8_t>;

}  // namespace
}  // namespace quorvel
#endif

HWY_BEFORE_NAMESPACE();
namespace quorvel {
namespace HWY_NAMESPACE {
namespace {

template <typename D>
HWY_INLINE hn::Vec<D> clampedSamples(D d, const InverseKind& kind, hn::Vec<hn::RebindToSigned<D>> y) {
  const std::uint16_t lift = static_cast<std::uint16_t>(2 * kind.level);
  const std::uint16_t ceiling =
      static_cast<std::uint16_t>(0xFFFF - kind.highest);  // where the highest sample saturates
  const auto lifted = hn::Add(hn::BitCast(d, y), hn::Set(d, lift));
  const auto capped = hn::SaturatedAdd(lifted, hn::Set(d, static_cast<std::uint16_t>(ceiling - kind.level)));
  return hn::SaturatedSub(capped, hn::Set(d, ceiling));
}

template <typename D>
HWY_INLINE void storeSamples(D d, hn::Vec<D> samples, std::uint16_t* tile) {
  hn::Store(samples, d, tile);
}

template <typename D>
HWY_INLINE void storeSamples(D, hn::Vec<D> samples, std::uint8_t* tile) {
  const hn::RebindToSigned<D> di;
  const hn::Rebind<std::uint8_t, D> d8;
  hn::StoreU(hn::DemoteTo(d8, hn::BitCast(di, samples)), d8, tile);
}

template <typename Sample, typename Left>
HWY_INLINE void transformBack(const Left& left, const InverseKind& kind, const InverseBlocks<Sample>& blocks) {
  const hn::ScalableTag<std::int16_t> d;
  const hn::RebindToUnsigned<decltype(d)> du;
  alignas(64) std::int16_t x[64];
  alignas(64) Sample tile[64];
  for (std::size_t b = 0; b < blocks.count; ++b) {
    const std::int16_t* coefs = reinterpret_cast<const std::int16_t*>(blocks.coefs + 64 * b);
    if (blocks.zigzag) {
      reorderBlock<kFromZigzag>(coefs, x);
      coefs = x;
    }
    for (std::size_t i = 0; i < 64; i += hn::Lanes(d)) {
      const auto c = hn::LoadU(d, coefs + i);
      hn::Store(
          blocks.steps == nullptr ? hn::ShiftLeft<1>(c) : hn::Mul(c, hn::BitCast(d, hn::LoadU(du, blocks.steps + i))),
          d, x + i);
    }
    blockProduct(left, x, 8, kind.firstPass, transformTables.inverseRight,
                 [&](auto dRows, std::size_t i, auto sum) HWY_ATTR {
                   const hn::RebindToUnsigned<decltype(dRows)> dSamples;
                   const auto y = hn::ShiftRight<1>(hn::Add(sum, hn::Set(dRows, kind.secondPass)));
                   storeSamples(dSamples, clampedSamples(dSamples, kind, y), tile + i);
                 });
    for (std::size_t r = 0; r < 8; ++r) {
      std::memcpy(reinterpret_cast<std::uint8_t*>(blocks.out + 8 * b) + r * blocks.stride, tile + 8 * r,
                  8 * sizeof(Sample));
    }
  }
}

const CopiedFactor<4> clientsFactor() { return {transformTables.inverseLeft}; }

}  // namespace

void inverse12(const InverseWords& block) { transformBack(clientsFactor(), kTo12Bits, block.firstAlone()); }
void inverse8(const InverseWords& block) { transformBack(clientsFactor(), kTo8Bits, block.firstAlone()); }
void inverse8EightCopies(const InverseWords& block) {
  transformBack(CopiedFactor<8>{transformTables.inverseLeft8}, kTo8Bits, block.firstAlone());
}
void inverse12Strip(const InverseWords& blocks) { transformBack(PreparedFactor(clientsFactor()), kTo12Bits, blocks); }
void inverse8Strip(const InverseBytes& blocks) { transformBack(PreparedFactor(clientsFactor()), kTo8Bits, blocks); }

}  // namespace HWY_NAMESPACE
}  // namespace quorvel
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace quorvel {
namespace {

HWY_EXPORT(inverse12);
HWY_EXPORT(inverse8);
HWY_EXPORT(inverse8EightCopies);
HWY_EXPORT(inverse12Strip);
HWY_EXPORT(inverse8Strip);

}  // namespace
}  // namespace quorvel

using namespace quorvel;

std::uint16_t* calcIDCT16_w(const std::uint16_t* coefs, std::uint16_t* out, unsigned stride, std::uint16_t*,
                            std::int64_t*) {
  HWY_DYNAMIC_DISPATCH(inverse12)({coefs, 1, nullptr, out, stride});
  return out;
}

std::uint16_t* calcIDCT16_wq(const std::uint16_t* coefs, std::uint16_t* out, unsigned stride,
                             const std::uint16_t* steps, std::uint16_t*, std::int64_t*) {
  HWY_DYNAMIC_DISPATCH(inverse12)({coefs, 1, steps, out, stride});
  return out;
}

std::uint16_t* calcIDCT16_bq(const std::uint16_t* coefs, std::uint16_t* out, unsigned stride,
                             const std::uint16_t* steps, std::uint16_t*, std::int64_t*) {
  HWY_DYNAMIC_DISPATCH(inverse8)({coefs, 1, steps, out, stride});
  return out;
}

std::uint16_t* calcIDCT_SSE2(const std::uint16_t* coefs, std::uint16_t* out, unsigned stride,
                             const std::uint16_t* steps, std::uint16_t*, std::int64_t*) {
  HWY_DYNAMIC_DISPATCH(inverse8EightCopies)({coefs, 1, steps, out, stride});
  return out;
}

std::uint8_t* calcIDCT16_bq_strip(const std::uint16_t* coefs, unsigned blocks, const std::uint16_t* steps,
                                  std::uint8_t* out, unsigned stride, int zigzag) {
  HWY_DYNAMIC_DISPATCH(inverse8Strip)({coefs, blocks, steps, out, stride, zigzag != 0});
  return out;
}

std::uint16_t* calcIDCT16_wq_strip(const std::uint16_t* coefs, unsigned blocks, const std::uint16_t* steps,
                                   std::uint16_t* out, unsigned stride, int zigzag) {
  HWY_DYNAMIC_DISPATCH(inverse12Strip)({coefs, blocks, steps, out, stride, zigzag != 0});
  return out;
}

#endif
