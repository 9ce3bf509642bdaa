// SPDX-License-Identifier: Apache-2.0
// Colour to grey: 8-bit pixels with fixed weights, and planes of up to 14 bits with weights of the caller's.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "pixel/grey.cc"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "quorvel/pixel.h"
#include "simd/streaming-inl.h"

HWY_BEFORE_NAMESPACE();
namespace quorvel {
namespace HWY_NAMESPACE {

// Lanes are words of 0..255, the weights are in 1/65536: the upper half of a product is the product shifted by 16.
template <class D16, class V = hn::Vec<D16>>
HWY_INLINE V weighted(D16 d, V r, V g, V b) {
  const auto red = hn::MulHigh(r, hn::Set(d, 19595));
  const auto green = hn::MulHigh(g, hn::Set(d, 38470));
  const auto blue = hn::MulHigh(b, hn::Set(d, 7471));
  return hn::Add(hn::Add(red, green), blue);
}

void greyOfPixels(const std::uint8_t* HWY_RESTRICT src, std::uint8_t* dst, std::size_t n) {
  const std::array sources = {reads<3>(src)};
  writeRow<std::uint8_t, 1>(n, std::array{dst}, sources, [=](auto d, std::size_t i, const auto& out) HWY_ATTR {
    hn::Vec<decltype(d)> r, g, b;
    hn::LoadInterleaved3(d, src + 3 * i, r, g, b);
    if constexpr (hn::MaxLanes(d) == 1) {
      const hn::Rebind<std::uint16_t, decltype(d)> d16;
      const auto grey = weighted(d16, hn::PromoteTo(d16, r), hn::PromoteTo(d16, g), hn::PromoteTo(d16, b));
      hn::StoreU(hn::TruncateTo(d, grey), d, out[0]);
    } else {  // even and odd pixels apart, each in the words that they lie in already
      const hn::Repartition<std::uint16_t, decltype(d)> d16;
      const auto even = [d16](auto v) HWY_ATTR { return hn::And(hn::BitCast(d16, v), hn::Set(d16, 0xFF)); };
      const auto odd = [d16](auto v) HWY_ATTR { return hn::ShiftRight<8>(hn::BitCast(d16, v)); };
      const auto evenGrey = weighted(d16, even(r), even(g), even(b));
      const auto oddGrey = weighted(d16, odd(r), odd(g), odd(b));
      hn::StoreU(hn::BitCast(d, hn::Or(evenGrey, hn::ShiftLeft<8>(oddGrey))), d, out[0]);
    }
  });
}

// The four weights of a group, often enough that 8 lanes can begin with any of them.
using LaneWeights = std::array<std::int16_t, 12>;

LaneWeights repeated(const std::int16_t (&weights)[4]) {
  LaneWeights lanes;
  for (std::size_t i = 0; i < lanes.size(); ++i) lanes[i] = weights[i % 4];
  return lanes;
}

// The weights of the lanes from pixel i on.
template <class D>
HWY_INLINE hn::Vec<D> weightsFrom(D d, const LaneWeights& weights, std::size_t i) {
  if constexpr (hn::MaxLanes(D()) == 1) {
    return hn::Set(d, weights[i % 4]);
  } else {
    return hn::LoadDup128(d, weights.data() + i % 4);
  }
}

void greyOfPlanes(const std::uint16_t* r, const std::uint16_t* g, const std::uint16_t* b, std::uint16_t* grey,
                  std::size_t n, const RGB_to_Gray& coef) {
  const LaneWeights red = repeated(coef.red), green = repeated(coef.green), blue = repeated(coef.blue);
  const std::array sources = {reads<1>(r), reads<1>(g), reads<1>(b)};
  writeRow<std::int16_t, 1>(n, std::array{grey}, sources, [&](auto d, std::size_t i, const auto& out) HWY_ATTR {
    const hn::RebindToUnsigned<decltype(d)> du;
    const auto term = [&](const std::uint16_t* plane, const LaneWeights& weights) HWY_ATTR {
      const auto doubled = hn::BitCast(d, hn::ShiftLeft<1>(hn::LoadU(du, plane + i)));
      return hn::MulHigh(doubled, weightsFrom(d, weights, i));
    };
    const auto sum = hn::Add(hn::Add(term(r, red), term(g, green)), term(b, blue));
    // Taken as unsigned, so that sums below zero are limited too.
    hn::StoreU(hn::Min(hn::BitCast(du, sum), hn::Set(du, 0x0FFF)), du, out[0]);
  });
}

}  // namespace HWY_NAMESPACE
}  // namespace quorvel
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

#include <algorithm>

namespace quorvel {
namespace {

HWY_EXPORT(greyOfPixels);
HWY_EXPORT(greyOfPlanes);

// In 1/32768, rounded; what does not fit 15 bits becomes the largest that does.
std::int16_t fixedWeight(double weight) {
  const double scaled = weight * 32768 + 0.5;
  return scaled > -1 && scaled < 32768 ? static_cast<std::int16_t>(scaled) : std::int16_t{32767};
}

}  // namespace
}  // namespace quorvel

using namespace quorvel;

void RGBtoGray8(const std::uint8_t* src, std::uint8_t* dst, unsigned n) {
  HWY_DYNAMIC_DISPATCH(greyOfPixels)(src, dst, n);
}

int convertCoef_RGB_to_Gray(double cr, double cg, double cb, RGB_to_Gray* coef) {
  std::fill_n(coef->red, 4, fixedWeight(cr));
  std::fill_n(coef->green, 4, fixedWeight(cg));
  std::fill_n(coef->blue, 4, fixedWeight(cb));
  return 0;
}

int convertToGray(const std::uint16_t* r, const std::uint16_t* g, const std::uint16_t* b, std::uint16_t* gray,
                  unsigned n, const RGB_to_Gray* coef) {
  HWY_DYNAMIC_DISPATCH(greyOfPlanes)(r, g, b, gray, n, *coef);
  return 0;
}

int convertRGB_to_Gray_MMX(const std::uint16_t* r, const std::uint16_t* g, const std::uint16_t* b, std::uint16_t* gray,
                           unsigned n, const RGB_to_Gray* coef) {
  if (n < 4) return -1;
  return convertToGray(r, g, b, gray, n / 4 * 4, coef);
}

#endif
