// SPDX-License-Identifier: Apache-2.0
// What an entropy coder wants to know of coefficients: their classes, their largest, and how many are zero.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "codec/coefficients.cc"
#include <array>

#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include <bit>
#include <cstring>

#include "codec/dct.h"
#include "quorvel/codec.h"
#include "simd/lanes-inl.h"

HWY_BEFORE_NAMESPACE();
namespace quorvel {
namespace HWY_NAMESPACE {
namespace {

// Without a sign: the absolute value of -32768 is 32768.
template <typename D>
HWY_INLINE hn::Vec<D> magnitudes(D d, const std::int16_t* coefs) {
  const hn::RebindToSigned<D> di;
  return hn::BitCast(d, hn::Abs(hn::LoadU(di, coefs)));
}

}  // namespace

// A byte a coefficient: how many of the classes' lower bounds it reaches.
void classify(const std::int16_t* HWY_RESTRICT coefs, std::uint8_t* HWY_RESTRICT classes) {
  const hn::ScalableTag<std::uint16_t> d;
  const hn::Rebind<std::uint8_t, decltype(d)> d8;
  for (std::size_t i = 0; i < 64; i += hn::Lanes(d)) {
    const auto value = magnitudes(d, coefs + i);
    auto count = hn::Zero(d);
    for (const std::uint16_t bound : std::array<std::uint16_t, 3>{1, 3, 131}) {
      const auto reached = hn::Eq(hn::Max(value, hn::Set(d, bound)), value);
      count = hn::Sub(count, hn::VecFromMask(d, reached));  // a mask's lanes are -1
    }
    hn::StoreU(hn::TruncateTo(d8, count), d8, classes + i);
  }
}

std::uint16_t largestMagnitude(const std::int16_t* coefs, std::size_t n) {
  const hn::ScalableTag<std::uint16_t> full;
  std::uint16_t largest = 0;
  auto vector = hn::Zero(full);
  std::size_t i = 0;
  for (; i + hn::Lanes(full) <= n; i += hn::Lanes(full)) vector = hn::Max(vector, magnitudes(full, coefs + i));
  HWY_ALIGN std::uint16_t lanes[hn::MaxLanes(full)];
  hn::Store(vector, full, lanes);
  for (const std::uint16_t v : lanes) largest = v > largest ? v : largest;
  for (; i < n; ++i) {
    const int v = coefs[i] < 0 ? -coefs[i] : coefs[i];
    largest = v > largest ? static_cast<std::uint16_t>(v) : largest;
  }
  return largest;
}

}  // namespace HWY_NAMESPACE
}  // namespace quorvel
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace quorvel {
namespace {

HWY_EXPORT(classify);
HWY_EXPORT(largestMagnitude);

// The low two bits of eight bytes, the first lowest.
std::uint32_t joinPairs(const std::uint8_t* classes) {
  std::uint64_t v;
  std::memcpy(&v, classes, sizeof v);
  v = (v | v >> 6) & 0x000F000F000F000F;
  v = (v | v >> 12) & 0x000000FF000000FF;
  return static_cast<std::uint32_t>((v | v >> 24) & 0xFFFF);
}

}  // namespace

CoefficientCounters coefficientCounters;

}  // namespace quorvel

using namespace quorvel;

int pack64Coefs(const std::int16_t* coefs, std::uint32_t* out) {
  std::uint8_t classes[64];
  HWY_DYNAMIC_DISPATCH(classify)(coefs, classes);
  for (int i = 0; i < 4; ++i) out[i] = joinPairs(classes + 16 * i) | joinPairs(classes + 16 * i + 8) << 16;
  return 0;
}

int signBits64(unsigned v) { return static_cast<int>(std::bit_width(v)) - 1; }

int calc64_MaxAbs(const std::int16_t* coefs, int n) {
  return n < 1 ? 0 : HWY_DYNAMIC_DISPATCH(largestMagnitude)(coefs, static_cast<std::size_t>(n));
}

double getNullPercent() {
  const auto [seen, zero] = coefficientCounters;
  return seen == 0 ? 0.0 : 100.0 * static_cast<double>(zero) / static_cast<double>(seen);
}

#endif
