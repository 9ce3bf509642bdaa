// SPDX-License-Identifier: Apache-2.0
// JPEG entropy-coded segments into the internal order: bits of each byte reversed, stuffed zeros dropped.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "codec/huffman_scan.cc"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include <bit>

#include "codec/huffman_bits.h"
#include "codec/huffman_scan.h"
#include "simd/lanes-inl.h"

HWY_BEFORE_NAMESPACE();
namespace quorvel {
namespace HWY_NAMESPACE {

// Eight bytes a lane: every target has these, the one-lane target too.
template <class V>
HWY_INLINE V reverseInBytes(V v) {
  const hn::DFromV<V> d;
  const auto swap = [&](auto down, auto up, std::uint64_t mask) HWY_ATTR {
    const auto lower = hn::Set(d, mask);
    return hn::Or(hn::And(down, lower), hn::AndNot(lower, up));
  };
  v = swap(hn::ShiftRight<1>(v), hn::ShiftLeft<1>(v), 0x5555555555555555u);
  v = swap(hn::ShiftRight<2>(v), hn::ShiftLeft<2>(v), 0x3333333333333333u);
  return swap(hn::ShiftRight<4>(v), hn::ShiftLeft<4>(v), 0x0F0F0F0F0F0F0F0Fu);
}

// High bits of bytes; of the lowest byte of ones it is set for certain, and for none below it.
template <class V>
HWY_INLINE V onesIn(V v) {
  const hn::DFromV<V> d;
  const auto carried = hn::AndNot(hn::Add(v, hn::Set(d, 0x0101010101010101u)), v);
  return hn::And(carried, hn::Set(d, 0x8080808080808080u));
}

// `out` may be `data`: what is written never runs ahead of what has been read.
ScanResult scanSegment(const std::uint8_t* data, std::size_t length, std::uint8_t* out) {
  std::size_t from = 0, to = 0;
  // Brings over whole vectors that have no byte of ones; gives the first that has one, or 0 at the end.
  const auto copyVectors = [&](auto d) HWY_ATTR {
    const std::size_t bytes = hn::Lanes(d) * sizeof(std::uint64_t);
    auto ones = hn::Zero(d);
    for (; from + bytes <= length; from += bytes, to += bytes) {
      const auto v = hn::LoadU(d, reinterpret_cast<const std::uint64_t*>(data + from));
      ones = onesIn(v);
      if (HWY_UNLIKELY(!hn::AllTrue(d, hn::Eq(ones, hn::Zero(d))))) break;
      hn::StoreU(reverseInBytes(v), d, reinterpret_cast<std::uint64_t*>(out + to));
      ones = hn::Zero(d);
    }
    return ones;
  };
  while (from < length) {
    copyVectors(hn::ScalableTag<std::uint64_t>());
    const std::uint64_t ones = hn::GetLane(copyVectors(hn::CappedTag<std::uint64_t, 1>()));
    // Up to the byte of ones and past it, or to the end of the data.
    const std::size_t last = ones != 0 ? from + static_cast<unsigned>(std::countr_zero(ones)) / 8 : length - 1;
    for (; from <= last; ++from) {
      const std::uint8_t byte = data[from];
      if (byte == 0xFF && from + 1 < length) {
        if (data[from + 1] != 0) return {data[from + 1], from, to};
        out[to++] = byte;
        from += 2;
        break;
      }
      out[to++] = static_cast<std::uint8_t>(reverseBits(byte, 8));
    }
  }
  return {0, length, to};
}

}  // namespace HWY_NAMESPACE
}  // namespace quorvel
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace quorvel {

HWY_EXPORT(scanSegment);

ScanResult scanEntropyCoded(const std::uint8_t* data, std::size_t length, std::uint8_t* out) {
  return HWY_DYNAMIC_DISPATCH(scanSegment)(data, length, out);
}

}  // namespace quorvel

using namespace quorvel;

int scanJpegData_(const std::uint8_t* data, unsigned length, unsigned& position, std::uint8_t* out,
                  unsigned& produced) {
  const ScanResult result = scanEntropyCoded(data, length, out);
  position = static_cast<unsigned>(result.position);
  produced = static_cast<unsigned>(result.produced);
  return result.marker;
}

int scanJpegData(std::uint8_t* data, unsigned length, unsigned& position, unsigned& produced) {
  return scanJpegData_(data, length, position, data, produced);
}

#endif
