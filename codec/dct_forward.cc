// SPDX-License-Identifier: Apache-2.0
// Forward transforms in 16 bits: samples, level-shifted, through two matrix products into coefficients, quantised.
// A call for one block takes the left factor from the client's table as it goes; a strip prepares it once.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "codec/dct_forward.cc"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include <algorithm>
#include <cstring>

#include "codec/block_product-inl.h"
#include "codec/dct.h"
#include "codec/zigzag-inl.h"
#include "quorvel/codec.h"
#include "runtime/capabilities.h"

#ifndef QUORVEL_CODEC_DCT_FORWARD_ONCE
#define QUORVEL_CODEC_DCT_FORWARD_ONCE
namespace quorvel {
namespace {

// Blocks side by side, and what becomes of them.
template <typename Sample>
struct ForwardBlocks {
  const Sample* src;
  std::size_t stride;  // bytes
  std::size_t count;
  const std::uint16_t *bias, *recip;
  std::uint16_t* dst;
  bool zigzag = false;

  // For calls that have only one: the compiler then drops the loops.
  ForwardBlocks firstAlone() const { return {src, stride, 1, bias, recip, dst}; }

  const Sample* row(std::size_t j) const {
    return reinterpret_cast<const Sample*>(reinterpret_cast<const std::uint8_t*>(src) + j * stride);
  }
};
using ForwardBytes = ForwardBlocks<std::uint8_t>;
using ForwardWords = ForwardBlocks<std::uint16_t>;

// Whether the samples of block i are all equal. The first row alone tells in nearly all blocks that are not.
bool isFlat(const ForwardBytes& blocks, std::size_t i) {
  const std::uint64_t expected = blocks.src[8 * i] * 0x0101010101010101u;
  for (std::size_t j = 0; j < 8; ++j) {
    std::uint64_t row;
    std::memcpy(&row, blocks.row(j) + 8 * i, sizeof row);
    if (row != expected) return false;
  }
  return true;
}

// What a flat block of samples p becomes: one coefficient, quantised with the low byte of its bias, in 32 bits.
void writeFlat(std::uint8_t p, const std::uint16_t* bias, const std::uint16_t* recip, std::uint16_t* dst) {
  const int v = (p - 128) * 8, sign = (v > 0) - (v < 0);
  const std::uint32_t magnitude = ((static_cast<std::uint32_t>(sign * v) * 8 + (bias[0] & 0xFFu)) * recip[0]) >> 16;
  std::memset(dst, 0, 64 * sizeof *dst);
  dst[0] = static_cast<std::uint16_t>(static_cast<std::uint32_t>(sign) * magnitude);
}

}  // namespace
}  // namespace quorvel
#endif

HWY_BEFORE_NAMESPACE();
namespace quorvel {
namespace HWY_NAMESPACE {
namespace {

// 8-bit samples: (s - 128) << 3.
template <typename D>
HWY_INLINE hn::Vec<D> shiftLevel(D d, const std::uint8_t* src, std::int16_t /* level */) {
  return hn::ShiftLeft<3>(hn::Sub(hn::PromoteTo(d, hn::LoadU(hn::Rebind<std::uint8_t, D>(), src)), hn::Set(d, 128)));
}

// 12-bit samples: (s - level) << 1.
template <typename D>
HWY_INLINE hn::Vec<D> shiftLevel(D d, const std::uint16_t* src, std::int16_t level) {
  const auto samples = hn::BitCast(d, hn::LoadU(hn::RebindToUnsigned<D>(), src));
  return hn::ShiftLeft<1>(hn::Sub(samples, hn::Set(d, level)));
}

// s * hi(s * y + bias, recip), s being -1 for y < 0 and 1 elsewhere.
template <typename D, typename V>
HWY_INLINE V quantised(D d, V y, const std::uint16_t* bias, const std::uint16_t* recip) {
  const hn::RebindToUnsigned<D> du;
  const V sign = hn::BroadcastSignBit(y);
  const V magnitude = hn::Sub(hn::Xor(y, sign), sign);
  const V high =
      hn::MulHigh(hn::Add(magnitude, hn::BitCast(d, hn::LoadU(du, bias))), hn::BitCast(d, hn::LoadU(du, recip)));
  return hn::Sub(hn::Xor(high, sign), sign);
}

// Level-shifted samples are made for so many blocks at a time: whole vectors on every target.
constexpr std::size_t kBlocksAtOnce = 8;

template <bool kQuantised, typename Sample, typename Left>
HWY_INLINE void transform(const Left& left, const ForwardBlocks<Sample>& blocks, std::int16_t level, bool shortcut) {
  constexpr bool kBytes = sizeof(Sample) == 1;
  alignas(64) std::int16_t x[8][8 * kBlocksAtOnce];
  alignas(64) std::int16_t y[64];
  for (std::size_t first = 0; first < blocks.count; first += kBlocksAtOnce) {
    const std::size_t count = std::min(kBlocksAtOnce, blocks.count - first);
    for (std::size_t j = 0; j < 8; ++j) {
      const Sample* const row = blocks.row(j) + 8 * first;
      forLanes<std::int16_t>(
          8 * count, [&](auto d, std::size_t i) HWY_ATTR { hn::StoreU(shiftLevel(d, row + i, level), d, x[j] + i); });
    }
    for (std::size_t b = 0; b < count; ++b) {
      std::uint16_t* const dst = blocks.dst + 64 * (first + b);
      if constexpr (kBytes) {
        if (shortcut && isFlat(blocks, first + b)) {
          writeFlat(blocks.src[8 * (first + b)], blocks.bias, blocks.recip, dst);
          continue;
        }
      }
      std::int16_t* const out = reinterpret_cast<std::int16_t*>(dst);
      std::int16_t* const rows = blocks.zigzag ? y : out;
      blockProduct(left, x[0] + 8 * b, 8 * kBlocksAtOnce, 4, transformTables.forwardRight,
                   [&](auto d, std::size_t i, auto sum) HWY_ATTR {
                     auto coefs = hn::Add(sum, hn::Set(d, 4));
                     if constexpr (!kBytes) coefs = hn::ShiftRight<1>(coefs);
                     if constexpr (kQuantised) coefs = quantised(d, coefs, blocks.bias + i, blocks.recip + i);
                     hn::StoreU(coefs, d, rows + i);
                   });
      if (blocks.zigzag) reorderBlock<kToZigzag>(y, out);
    }
  }
}

const CopiedFactor<4> clientsFactor() { return {transformTables.forwardLeft}; }

}  // namespace

void forwardWord(const ForwardWords& block, std::int16_t level) {
  transform<false>(clientsFactor(), block.firstAlone(), level, false);
}

void forwardWordQuantised(const ForwardWords& block, std::int16_t level) {
  transform<true>(clientsFactor(), block.firstAlone(), level, false);
}

void forwardByte(const ForwardBytes& block, bool shortcut) {
  transform<true>(clientsFactor(), block.firstAlone(), 0, shortcut);
}

void forwardByteEightCopies(const ForwardBytes& block, bool shortcut) {
  transform<true>(CopiedFactor<8>{transformTables.forwardLeft8}, block.firstAlone(), 0, shortcut);
}

void forwardByteStrip(const ForwardBytes& blocks, bool shortcut) {
  transform<true>(PreparedFactor(clientsFactor()), blocks, 0, shortcut);
}

void forwardWordStrip(const ForwardWords& blocks, std::int16_t level) {
  transform<true>(PreparedFactor(clientsFactor()), blocks, level, false);
}

}  // namespace HWY_NAMESPACE
}  // namespace quorvel
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace quorvel {
namespace {

HWY_EXPORT(forwardWord);
HWY_EXPORT(forwardWordQuantised);
HWY_EXPORT(forwardByte);
HWY_EXPORT(forwardByteEightCopies);
HWY_EXPORT(forwardByteStrip);
HWY_EXPORT(forwardWordStrip);

// The remembered answer, not the question: while nobody has asked, flat blocks go the full way.
bool takesShortcut() { return capabilityCells.commonEmmx == 1; }

std::int16_t level() { return static_cast<std::int16_t>(levelShift); }

}  // namespace
}  // namespace quorvel

using namespace quorvel;

std::int16_t* calcFDCT16_w(const std::uint16_t* src, unsigned stride, std::uint16_t* dst, std::int64_t*) {
  HWY_DYNAMIC_DISPATCH(forwardWord)({src, stride, 1, nullptr, nullptr, dst}, level());
  return reinterpret_cast<std::int16_t*>(dst);
}

std::uint16_t* calcFDCT16_wq(const std::uint16_t* src, unsigned stride, const std::uint16_t* bias,
                             const std::uint16_t* recip, std::uint16_t* dst, std::int64_t*) {
  HWY_DYNAMIC_DISPATCH(forwardWordQuantised)({src, stride, 1, bias, recip, dst}, level());
  return dst;
}

std::uint16_t* calcFDCT16_bq(const std::uint8_t* src, unsigned stride, const std::uint16_t* bias,
                             const std::uint16_t* recip, std::uint16_t* dst, std::int64_t*) {
  HWY_DYNAMIC_DISPATCH(forwardByte)({src, stride, 1, bias, recip, dst}, takesShortcut());
  return dst;
}

std::uint16_t* calcFDCT16_bq_SSE2(const std::uint8_t* src, unsigned stride, const std::uint16_t* bias,
                                  const std::uint16_t* recip, std::uint16_t* dst, std::int64_t*) {
  HWY_DYNAMIC_DISPATCH(forwardByteEightCopies)({src, stride, 1, bias, recip, dst}, takesShortcut());
  return dst;
}

std::uint16_t* calcFDCT16_bq_SSE2var(const std::uint8_t* src, unsigned stride, const std::uint16_t* bias,
                                     const std::uint16_t* recip, std::uint16_t* dst, std::int64_t* work) {
  return calcFDCT16_bq(src, stride, bias, recip, dst, work);
}

std::uint16_t* calcFDCT16_bq_strip(const std::uint8_t* src, unsigned stride, unsigned blocks, const std::uint16_t* bias,
                                   const std::uint16_t* recip, std::uint16_t* dst, int zigzag) {
  HWY_DYNAMIC_DISPATCH(forwardByteStrip)({src, stride, blocks, bias, recip, dst, zigzag != 0}, takesShortcut());
  return dst;
}

std::uint16_t* calcFDCT16_wq_strip(const std::uint16_t* src, unsigned stride, unsigned blocks,
                                   const std::uint16_t* bias, const std::uint16_t* recip, std::uint16_t* dst,
                                   int zigzag) {
  HWY_DYNAMIC_DISPATCH(forwardWordStrip)({src, stride, blocks, bias, recip, dst, zigzag != 0}, level());
  return dst;
}

#endif
