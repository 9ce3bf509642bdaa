// SPDX-License-Identifier: Apache-2.0
// 12-bit packing: two samples a and b share three bytes, lowest bits first:
//   byte 0 = a bits 0..7, byte 1 = a bits 8..11 below b bits 0..3, byte 2 = b bits 4..11.
// A pair is the unit of work: splitting the samples into an even and an odd vector makes the three bytes three vectors.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "pixel/packing.cc"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "quorvel/pixel.h"
#include "simd/lanes-inl.h"

HWY_BEFORE_NAMESPACE();
namespace quorvel {
namespace HWY_NAMESPACE {

void packPairs(const std::uint16_t* HWY_RESTRICT src, std::uint8_t* HWY_RESTRICT dst, std::size_t pairs) {
  forLanes<std::uint16_t>(pairs, [=](auto d, std::size_t i) HWY_ATTR {
    const hn::Rebind<std::uint8_t, decltype(d)> d8;
    hn::Vec<decltype(d)> a, b;
    hn::LoadInterleaved2(d, src + 2 * i, a, b);
    const auto shared = hn::Or(hn::And(hn::ShiftRight<8>(a), hn::Set(d, 0x0F)), hn::ShiftLeft<4>(b));
    hn::StoreInterleaved3(hn::TruncateTo(d8, a), hn::TruncateTo(d8, shared), hn::TruncateTo(d8, hn::ShiftRight<4>(b)),
                          d8, dst + 3 * i);
  });
}

template <bool kSigned>
HWY_INLINE void unpackPairs(const std::uint8_t* HWY_RESTRICT src, std::uint16_t* HWY_RESTRICT dst, std::size_t pairs) {
  forLanes<std::uint16_t>(pairs, [=](auto d, std::size_t i) HWY_ATTR {
    const hn::Rebind<std::uint8_t, decltype(d)> d8;
    hn::Vec<decltype(d8)> b0, b1, b2;
    hn::LoadInterleaved3(d8, src + 3 * i, b0, b1, b2);
    const auto low = hn::PromoteTo(d, b0), shared = hn::PromoteTo(d, b1), high = hn::PromoteTo(d, b2);
    // Both samples are first brought to the upper 12 bits of their word; the shift back down fills with zeros or signs.
    const auto a = hn::Or(hn::ShiftLeft<12>(shared), hn::ShiftLeft<4>(low));
    const auto b = hn::Or(hn::ShiftLeft<8>(high), hn::And(shared, hn::Set(d, 0xF0)));
    if constexpr (kSigned) {
      const hn::RebindToSigned<decltype(d)> di;
      hn::StoreInterleaved2(hn::BitCast(d, hn::ShiftRight<4>(hn::BitCast(di, a))),
                            hn::BitCast(d, hn::ShiftRight<4>(hn::BitCast(di, b))), d, dst + 2 * i);
    } else {
      hn::StoreInterleaved2(hn::ShiftRight<4>(a), hn::ShiftRight<4>(b), d, dst + 2 * i);
    }
  });
}

void unpackPairsUnsigned(const std::uint8_t* HWY_RESTRICT src, std::uint16_t* HWY_RESTRICT dst, std::size_t pairs) {
  unpackPairs<false>(src, dst, pairs);
}

void unpackPairsSigned(const std::uint8_t* HWY_RESTRICT src, std::uint16_t* HWY_RESTRICT dst, std::size_t pairs) {
  unpackPairs<true>(src, dst, pairs);
}

}  // namespace HWY_NAMESPACE
}  // namespace quorvel
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace quorvel {
namespace {

HWY_EXPORT(packPairs);
HWY_EXPORT(unpackPairsUnsigned);
HWY_EXPORT(unpackPairsSigned);

std::uint16_t loneSample(const std::uint8_t* src) { return static_cast<std::uint16_t>((src[0] | src[1] << 8) & 0xFFF); }

}  // namespace
}  // namespace quorvel

using namespace quorvel;

int compr16to12(const std::uint16_t* src, std::uint8_t* dst, unsigned n) {
  const std::size_t pairs = n / 2;
  HWY_DYNAMIC_DISPATCH(packPairs)(src, dst, pairs);
  if (n % 2 != 0) {
    const std::uint16_t last = src[2 * pairs];
    dst[3 * pairs] = static_cast<std::uint8_t>(last);
    dst[3 * pairs + 1] = last >> 8 & 0x0F;
  }
  return 0;
}

int decomp12to16(const std::uint8_t* src, std::uint16_t* dst, unsigned n) {
  const std::size_t pairs = n / 2;
  HWY_DYNAMIC_DISPATCH(unpackPairsUnsigned)(src, dst, pairs);
  if (n % 2 != 0) dst[2 * pairs] = loneSample(src + 3 * pairs);
  return 0;
}

int decomp12to16s(const std::uint8_t* src, std::uint16_t* dst, unsigned n) {
  const unsigned signedCount = n / 8 * 8;  // the samples of whole groups; those left over keep their plain value
  HWY_DYNAMIC_DISPATCH(unpackPairsSigned)(src, dst, signedCount / 2);
  return decomp12to16(src + std::size_t{signedCount} / 2 * 3, dst + signedCount, n - signedCount);
}

#endif
