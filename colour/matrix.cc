// SPDX-License-Identifier: Apache-2.0
// 3x3 colour matrices on samples of 12 bits, in the products that 16-bit lanes have: the upper half of (sample << 3) *
// coefficient. A coefficient of the diagonal is half its value, and its product counts twice.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "colour/matrix.cc"
#include <algorithm>
#include <array>
#include <limits>

#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "quorvel/colour.h"
#include "quorvel/pixel.h"
#include "simd/lanes-inl.h"

HWY_BEFORE_NAMESPACE();
namespace quorvel {
namespace HWY_NAMESPACE {

template <class D>
struct Colour {
  hn::Vec<D> c0, c1, c2;
};

// One output channel: `own` is its diagonal coefficient's product, which counts twice.
template <class D>
HWY_INLINE hn::Vec<D> limitedSum(D d, hn::Vec<D> own, hn::Vec<D> a, hn::Vec<D> b) {
  const auto sum = hn::Add(hn::Add(own, own), hn::Add(a, b));
  return hn::Min(hn::Max(sum, hn::Zero(d)), hn::Set(d, 4095));
}

template <class D>
HWY_INLINE Colour<D> multiplied(D d, const CMMXMatr33& matrix, Colour<D> in) {
  const auto product = [&](const hn::Vec<D>& samples, int place)
                           HWY_ATTR { return hn::MulHigh(samples, hn::Set(d, matrix.m[place][0])); };
  const auto s0 = hn::ShiftLeft<3>(in.c0), s1 = hn::ShiftLeft<3>(in.c1), s2 = hn::ShiftLeft<3>(in.c2);
  return {limitedSum(d, product(s0, 0), product(s1, 3), product(s2, 6)),
          limitedSum(d, product(s1, 4), product(s0, 1), product(s2, 7)),
          limitedSum(d, product(s2, 8), product(s0, 2), product(s1, 5))};
}

void multiplyPlanes(const CMMXMatr33* coefficients, const std::int16_t* const* src, std::int16_t* const* dst,
                    std::size_t n) {
  const CMMXMatr33 matrix = *coefficients;  // not to be read again for fear that the output lies over it
  const std::int16_t *in0 = src[0], *in1 = src[1], *in2 = src[2];
  std::int16_t *out0 = dst[0], *out1 = dst[1], *out2 = dst[2];
  forLanes<std::int16_t>(n, [=, &matrix](auto d, std::size_t i) HWY_ATTR {
    using D = decltype(d);
    const auto out =
        multiplied(d, matrix, Colour<D>{hn::LoadU(d, in0 + i), hn::LoadU(d, in1 + i), hn::LoadU(d, in2 + i)});
    hn::StoreU(out.c0, d, out0 + i);
    hn::StoreU(out.c1, d, out1 + i);
    hn::StoreU(out.c2, d, out2 + i);
  });
}

void multiplyPixels(const CMMXMatr33* coefficients, const std::uint16_t* src, std::uint16_t* dst, std::size_t n) {
  const CMMXMatr33 matrix = *coefficients;
  forLanes<std::uint16_t>(n, [=, &matrix](auto d, std::size_t i) HWY_ATTR {
    using D = hn::RebindToSigned<decltype(d)>;
    const D di;
    hn::Vec<decltype(d)> c0, c1, c2;
    hn::LoadInterleaved3(d, src + 3 * i, c0, c1, c2);
    const auto out = multiplied(di, matrix, Colour<D>{hn::BitCast(di, c0), hn::BitCast(di, c1), hn::BitCast(di, c2)});
    hn::StoreInterleaved3(hn::BitCast(d, out.c0), hn::BitCast(d, out.c1), hn::BitCast(d, out.c2), d, dst + 3 * i);
  });
}

}  // namespace HWY_NAMESPACE
}  // namespace quorvel
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace quorvel {
namespace {

HWY_EXPORT(multiplyPlanes);
HWY_EXPORT(multiplyPixels);

// Truncated and limited to 16 bits; NaN gives 0.
std::int16_t coefficient(double value) {
  using Limits = std::numeric_limits<std::int16_t>;
  if (!(value == value)) return 0;
  return static_cast<std::int16_t>(std::clamp<double>(value, Limits::min(), Limits::max()));
}

}  // namespace
}  // namespace quorvel

using namespace quorvel;

int matrMulCoef(const double m[9], CMMXMatr33* coefficients) {
  for (int row = 0; row < 3; ++row) {
    for (int column = 0; column < 3; ++column) {
      const double value = m[3 * row + column] * (row == column ? 0.5 : 1.0) * 8192;
      std::fill_n(coefficients->m[3 * column + row], 4, coefficient(value));
    }
  }
  return 0;
}

int matrMul48_48_Plane_MMX(const CMMXMatr33* coefficients, const std::uint16_t* src0, const std::uint16_t* src1,
                           const std::uint16_t* src2, std::uint16_t* dst0, std::uint16_t* dst1, std::uint16_t* dst2,
                           unsigned n) {
  // Samples of 12 bits are the same signed and unsigned.
  const auto in = [](const std::uint16_t* plane) { return reinterpret_cast<const std::int16_t*>(plane); };
  const auto out = [](std::uint16_t* plane) { return reinterpret_cast<std::int16_t*>(plane); };
  const std::int16_t* const src[3] = {in(src0), in(src1), in(src2)};
  std::int16_t* const dst[3] = {out(dst0), out(dst1), out(dst2)};
  HWY_DYNAMIC_DISPATCH(multiplyPlanes)(coefficients, src, dst, n);
  return 0;
}

int matrMul48_48MMX(const double m[9], const std::uint16_t* src, std::uint16_t* dst, unsigned n) {
  CMMXMatr33 coefficients;
  matrMulCoef(m, &coefficients);
  HWY_DYNAMIC_DISPATCH(multiplyPixels)(&coefficients, src, dst, n);
  return 0;
}

int matrMul24_24MMX(const double m[9], const std::uint8_t* src, std::uint8_t* dst, unsigned n) {
  if (n % 8 != 0) return -1;
  if (n == 0) return 0;
  constexpr unsigned kChunk = 512;
  CMMXMatr33 coefficients;
  matrMulCoef(m, &coefficients);
  alignas(64) std::array<std::uint16_t, std::size_t{3} * kChunk> wide;
  for (std::size_t from = 0; from < n; from += kChunk) {
    const auto pixels = static_cast<unsigned>(std::min<std::size_t>(kChunk, n - from));
    conv8to12MMX(src + 3 * from, wide.data(), 3 * pixels);
    HWY_DYNAMIC_DISPATCH(multiplyPixels)(&coefficients, wide.data(), wide.data(), pixels);
    conv12to8MMX(wide.data(), dst + 3 * from, 3 * pixels);
  }
  return 0;
}

#endif
