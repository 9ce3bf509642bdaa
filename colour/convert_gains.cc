// SPDX-License-Identifier: Apache-2.0
// Pixels through gain/offset tables. A cell is a register of 16 bytes, gains below offsets; the cells of two pixels
// make one register of gains and one of offsets. Cells are what a pixel waits for: wider registers would only have to
// be put together from more of them.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "colour/convert_gains.cc"
#include <algorithm>
#include <array>
#include <cstddef>
#include <type_traits>

#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "colour/grid-inl.h"
#include "quorvel/colour.h"
#include "simd/lanes-inl.h"
#include "simd/pixels-inl.h"

HWY_BEFORE_NAMESPACE();
namespace quorvel {
namespace HWY_NAMESPACE {

// One sample: the low 16 bits of the product, a sum that saturates at 16 bits, eighths to whole steps.
HWY_INLINE int line(unsigned sample, std::int16_t k, std::int16_t b) {
  const auto product = static_cast<std::int16_t>(sample * static_cast<unsigned>(k));
  return std::clamp(product + b, -32768, 32767) >> 3;
}

// One pixel; outputs are limited to 0..255 for bytes, to 0 and above for words.
template <class G, typename Sample>
HWY_INLINE void convertPixel(const Sample* src, Sample* dst, const KxB* cells) {
  const hn::CappedTag<typename G::Word, 1> single;
  const auto pixel = loadPixel<typename G::Word>(reinterpret_cast<const std::uint8_t*>(src));
  const KxB& cell = cells[hn::GetLane(cellNumbers<G>(single, hn::Set(single, pixel)))];
  const std::array<Sample, 3> in = {src[0], src[1], src[2]};
  for (std::size_t c = 0; c < 3; ++c) {
    const int most = sizeof(Sample) == 1 ? 255 : 4095;
    dst[c] = static_cast<Sample>(std::clamp(line(in[c], cell.k[c], cell.b[c]), 0, most));
  }
}

#if HWY_TARGET != HWY_SCALAR

using Block = hn::Full128<std::int16_t>;

// Two pixels, of four words each, through their cells.
HWY_INLINE hn::Vec<Block> line(hn::Vec<Block> samples, const KxB& first, const KxB& second) {
  const Block d;
  const hn::Repartition<std::uint64_t, Block> d64;
  const auto cell = [=](const KxB& c)
                        HWY_ATTR { return hn::BitCast(d64, hn::LoadU(d, reinterpret_cast<const std::int16_t*>(&c))); };
  const auto a = cell(first), b = cell(second);
  const auto gains = hn::BitCast(d, hn::InterleaveLower(d64, a, b));
  const auto offsets = hn::BitCast(d, hn::InterleaveUpper(d64, a, b));
  return hn::ShiftRight<3>(hn::SaturatedAdd(hn::Mul(samples, gains), offsets));
}

#endif

// `n` is a multiple of 8.
void convertBytes(const std::uint8_t* src, std::uint8_t* dst, const KxB* HWY_RESTRICT cells, std::size_t n) {
#if HWY_TARGET == HWY_SCALAR
  for (; n != 0; --n, src += 3, dst += 3) convertPixel<Bytes64>(src, dst, cells);
#else
  const hn::Full128<std::uint8_t> d8;
  const hn::Half<decltype(d8)> half;
  const hn::Full128<std::uint32_t> d32;
  const Block d;
  // Eight pixels are read as bytes 0 to 15 and 8 to 23, of which the first and the last twelve are whole pixels.
  const auto widenFirst = hn::Load(d8, kWidenBytes);
  const auto widenLast = hn::Or(hn::Add(widenFirst, hn::Set(d8, 4)), hn::And(widenFirst, hn::Set(d8, kZeroByte)));
  const auto narrow = hn::Load(d8, kNarrowBytes);
  const auto zero = hn::Zero(d8);
  for (; n != 0; n -= 8, src += 24, dst += 24) {
    const auto first = hn::TableLookupBytesOr0(hn::LoadU(d8, src), widenFirst);
    const auto last = hn::TableLookupBytesOr0(hn::LoadU(d8, src + 8), widenLast);
    alignas(16) std::uint32_t at[8];
    hn::Store(cellNumbers<Bytes64>(d32, hn::BitCast(d32, first)), d32, at);
    hn::Store(cellNumbers<Bytes64>(d32, hn::BitCast(d32, last)), d32, at + 4);
    const auto four = [&](auto pixels, const std::uint32_t* number) HWY_ATTR {
      const auto low = line(hn::BitCast(d, hn::InterleaveLower(d8, pixels, zero)), cells[number[0]], cells[number[1]]);
      const auto high = line(hn::BitCast(d, hn::InterleaveUpper(d8, pixels, zero)), cells[number[2]], cells[number[3]]);
      return hn::TableLookupBytesOr0(hn::Combine(d8, hn::DemoteTo(half, high), hn::DemoteTo(half, low)), narrow);
    };
    const auto firstOut = four(first, at), lastOut = four(last, at + 4);
    hn::StoreU(hn::Or(firstOut, hn::ShiftLeftBytes<12>(lastOut)), d8, dst);
    hn::StoreU(hn::LowerHalf(half, hn::ShiftRightBytes<4>(d8, lastOut)), half, dst + 16);
  }
#endif
}

void convertWords(const std::uint16_t* src, std::uint16_t* dst, const KxB* HWY_RESTRICT cells, std::size_t n) {
#if HWY_TARGET != HWY_SCALAR
  const hn::Full128<std::uint8_t> d8;
  const hn::Full128<std::uint64_t> d64;
  const Block d;
  const auto widen = hn::Load(d8, kWidenWords), narrow = hn::Load(d8, kNarrowWords);
  // Two pixels are read with 4 bytes of the next one.
  for (; n > 2; n -= 2, src += 6, dst += 6) {
    const auto bytes = hn::LoadU(d8, reinterpret_cast<const std::uint8_t*>(src));
    const auto pixels = hn::TableLookupBytesOr0(bytes, widen);
    alignas(16) std::uint64_t at[2];
    hn::Store(cellNumbers<Words64>(d64, hn::BitCast(d64, pixels)), d64, at);
    const auto out = hn::Max(line(hn::BitCast(d, pixels), cells[at[0]], cells[at[1]]), hn::Zero(d));
    storeThreeQuarters(d8, hn::TableLookupBytesOr0(hn::BitCast(d8, out), narrow), reinterpret_cast<std::uint8_t*>(dst));
  }
#endif
  for (; n != 0; --n, src += 3, dst += 3) convertPixel<Words64>(src, dst, cells);
}

// Cells hold a pixel's three channels side by side: the planes are interleaved in a band that stays in the cache.
void convertPlanes(const std::uint16_t* const* src, std::uint16_t* const* dst, const KxB* cells, std::size_t n) {
  constexpr std::size_t kBand = 512;
  alignas(64) std::array<std::uint16_t, 3 * kBand> memory;
  std::uint16_t* const band = memory.data();
  for (std::size_t from = 0; from < n; from += kBand) {
    const std::size_t pixels = std::min(kBand, n - from);
    const std::uint16_t *in0 = src[0] + from, *in1 = src[1] + from, *in2 = src[2] + from;
    std::uint16_t *out0 = dst[0] + from, *out1 = dst[1] + from, *out2 = dst[2] + from;
    forLanes<std::uint16_t>(pixels, [=](auto d, std::size_t i) HWY_ATTR {
      hn::StoreInterleaved3(hn::LoadU(d, in0 + i), hn::LoadU(d, in1 + i), hn::LoadU(d, in2 + i), d, band + 3 * i);
    });
    convertWords(band, band, cells, pixels);
    forLanes<std::uint16_t>(pixels, [=](auto d, std::size_t i) HWY_ATTR {
      hn::Vec<decltype(d)> c0, c1, c2;
      hn::LoadInterleaved3(d, band + 3 * i, c0, c1, c2);
      hn::StoreU(c0, d, out0 + i);
      hn::StoreU(c1, d, out1 + i);
      hn::StoreU(c2, d, out2 + i);
    });
  }
}

}  // namespace HWY_NAMESPACE
}  // namespace quorvel
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace quorvel {
namespace {

HWY_EXPORT(convertBytes);
HWY_EXPORT(convertPlanes);
HWY_EXPORT(convertWords);

}  // namespace
}  // namespace quorvel

using namespace quorvel;

int colorConv24_24MMX(const std::uint8_t* src, std::uint8_t* dst, const KxB* cells, unsigned n) {
  if (n % 8 != 0) return -1;
  HWY_DYNAMIC_DISPATCH(convertBytes)(src, dst, cells, n);
  return 0;
}

int colorConv48_48MMX(const std::uint16_t* src, std::uint16_t* dst, const KxB* cells, unsigned n) {
  HWY_DYNAMIC_DISPATCH(convertWords)(src, dst, cells, n);
  return 0;
}

int colorConv48_48MMX_Plane(const std::uint16_t* src0, const std::uint16_t* src1, const std::uint16_t* src2,
                            std::uint16_t* dst0, std::uint16_t* dst1, std::uint16_t* dst2, const KxB* cells,
                            unsigned n) {
  const std::uint16_t* const src[3] = {src0, src1, src2};
  std::uint16_t* const dst[3] = {dst0, dst1, dst2};
  HWY_DYNAMIC_DISPATCH(convertPlanes)(src, dst, cells, n);
  return 0;
}

#endif
