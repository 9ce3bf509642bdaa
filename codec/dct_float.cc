// SPDX-License-Identifier: Apache-2.0
// Transforms in floats: the two matrix products of the 16-bit transforms with exact factors. Every product is rounded,
// then added, in the order of the index: the same bits on every processor.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "codec/dct_float.cc"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include <bit>
#include <cstring>

#include "codec/dct.h"
#include "codec/inverse_pair-inl.h"
#include "codec/rounding-inl.h"
#include "codec/zigzag-inl.h"
#include "quorvel/codec.h"
#include "simd/lanes-inl.h"

HWY_BEFORE_NAMESPACE();
namespace quorvel {
namespace HWY_NAMESPACE {
namespace {

using FloatsTag = hn::CappedTag<float, 8>;  // a row of a block, or a part of it

// Calls body(d, i) so that the lanes of the calls cover `n` floats, a multiple of 8, in vectors of a row at most.
template <typename Body>
HWY_INLINE void forFloats(std::size_t n, Body&& body) {
  const FloatsTag d;
  for (std::size_t i = 0; i < n; i += hn::Lanes(d)) body(d, i);
}

// Calls finish(d, i, v) for all of a * b; all of b is read before the last call, so the result may not take its place.
// Only the first `kTerms` products of each sum are formed.
template <std::size_t kTerms = 8, typename Finish>
HWY_INLINE void floatProduct(const float* a, const float* b, Finish&& finish) {
  forFloats(8, [&](auto d, std::size_t c) HWY_ATTR {
    hn::Vec<decltype(d)> rows[kTerms];
    HWY_UNROLL(8)
    for (std::size_t j = 0; j < kTerms; ++j) rows[j] = hn::LoadU(d, b + 8 * j + c);
    for (std::size_t k = 0; k < 8; ++k) {
      auto sum = hn::Mul(hn::Set(d, a[8 * k]), rows[0]);
      HWY_UNROLL(7)
      for (std::size_t j = 1; j < kTerms; ++j) sum = hn::Add(sum, hn::Mul(hn::Set(d, a[8 * k + j]), rows[j]));
      finish(d, 8 * k + c, sum);
    }
  });
}

void multiply(const float* a, const float* b, float* product) {
  floatProduct(a, b, [=](auto d, std::size_t i, auto sum) HWY_ATTR { hn::StoreU(sum, d, product + i); });
}

// The same where all terms from the given one on are 0 times something finite: what they would add changes no sum.
template <typename Finish>
HWY_INLINE void shortFloatProduct(std::size_t terms, const float* a, const float* b, Finish&& finish) {
  if (terms <= 2) return floatProduct<2>(a, b, finish);
  if (terms <= 4) return floatProduct<4>(a, b, finish);
  if (terms <= 6) return floatProduct<6>(a, b, finish);
  floatProduct(a, b, finish);
}

// How many rows and columns of a block there are up to the last ones that are not 0.
struct Extent {
  explicit Extent(const std::int16_t* block) {
    std::uint64_t below[2] = {};
    for (std::size_t r = 0; r < 8; ++r) {
      std::uint64_t row[2];
      std::memcpy(row, block + 8 * r, sizeof row);
      below[0] |= row[0];
      below[1] |= row[1];
      if ((row[0] | row[1]) != 0) rows = r + 1;
    }
    const bool right = below[1] != 0;
    columns = (right ? 4 : 0) + (static_cast<std::size_t>(std::bit_width(below[right])) + 15) / 16;
  }
  std::size_t rows = 0, columns;
};

// left * x * right.
template <typename Finish>
HWY_INLINE void floatBlock(const float* left, const float* x, const float* right, Finish&& finish) {
  float t[64];
  multiply(left, x, t);
  floatProduct(t, right, finish);
}

template <typename D>
HWY_INLINE hn::Vec<D> wholeFloats(D d, hn::Vec<hn::Rebind<std::int16_t, D>> v) {
  return hn::ConvertTo(d, hn::PromoteTo(hn::RebindToSigned<D>(), v));
}

// The level-shifted samples of the 16-bit partner as floats, in its units: 8-bit samples eight times, 12-bit ones once.
void shiftedBytes(const std::uint8_t* src, std::size_t stride, float* x) {
  forFloats(64, [=](auto d, std::size_t i) HWY_ATTR {
    const hn::Rebind<std::int16_t, decltype(d)> d16;
    const auto samples = hn::LoadU(hn::Rebind<std::uint8_t, decltype(d)>(), src + i / 8 * stride + i % 8);
    const auto shifted = hn::ShiftLeft<3>(hn::Sub(hn::PromoteTo(d16, samples), hn::Set(d16, 128)));
    hn::StoreU(wholeFloats(d, shifted), d, x + i);
  });
}

void shiftedWords(const std::uint16_t* src, std::size_t stride, std::int16_t level, float* x) {
  forFloats(64, [=](auto d, std::size_t i) HWY_ATTR {
    const hn::Rebind<std::int16_t, decltype(d)> d16;
    const auto* row = reinterpret_cast<const std::uint8_t*>(src) + i / 8 * stride;
    const auto samples = hn::LoadU(d16, reinterpret_cast<const std::int16_t*>(row) + i % 8);
    const auto doubled = hn::ShiftLeft<1>(hn::Sub(samples, hn::Set(d16, level)));  // wraps where the partner's does
    hn::StoreU(hn::Mul(wholeFloats(d, doubled), hn::Set(d, 0.5f)), d, x + i);
  });
}

}  // namespace

void forwardRounded(const float* x, const float* scale, float* dst) {
  const float* const left = transformTables.forwardFloat;
  floatBlock(left, x, left + 64, [=](auto d, std::size_t i, auto sum) HWY_ATTR {
    hn::StoreU(roundedToNearest(d, hn::Mul(sum, hn::LoadU(d, scale + i))), d, dst + i);
  });
}

void forwardFloatBytes(const std::uint8_t* src, std::size_t stride, const float* scale, float* dst) {
  float x[64];
  shiftedBytes(src, stride, x);
  forwardRounded(x, scale, dst);
}

void forwardFloatWords(const std::uint16_t* src, std::size_t stride, std::int16_t level, const float* scale,
                       float* dst) {
  float x[64];
  shiftedWords(src, stride, level, x);
  forwardRounded(x, scale, dst);
}

void forwardFloatGiven(const std::uint8_t* src, std::size_t stride, const float* left, const float* right,
                       const float* scale, float* dst) {
  float x[64];
  shiftedBytes(src, stride, x);
  floatBlock(left, x, right, [=](auto d, std::size_t i, auto sum) HWY_ATTR {
    hn::StoreU(hn::Mul(sum, hn::LoadU(d, scale + i)), d, dst + i);
  });
}

void inverseFloat(const std::int16_t* coefs, std::size_t blocks, const float* quant, const float* left,
                  const float* right, std::uint8_t* out, std::size_t stride, bool zigzag) {
  std::int16_t rowMajor[64];
  float x[64];
  std::uint8_t tile[64];
#if HWY_CAP_GE512
  if (blocks > 1) {
    const PairInverse inverse(quant, left, right, zigzag);
    for (; blocks > 1; blocks -= 2, coefs += 128, out += 16) inverse(coefs, out, stride);
  }
#endif
  for (std::size_t b = 0; b < blocks; ++b, coefs += 64, out += 8) {
    if (zigzag) reorderBlock<kFromZigzag>(coefs, rowMajor);
    const std::int16_t* const ordered = zigzag ? rowMajor : coefs;
    forFloats(64, [&](auto d, std::size_t i) HWY_ATTR {
      const auto c = wholeFloats(d, hn::LoadU(hn::Rebind<std::int16_t, decltype(d)>(), ordered + i));
      hn::StoreU(hn::Mul(c, hn::LoadU(d, quant + i)), d, x + i);
    });
    const Extent extent(ordered);
    float t[64];
    shortFloatProduct(extent.rows, left, x,
                      [&](auto d, std::size_t i, auto sum) HWY_ATTR { hn::StoreU(sum, d, t + i); });
    shortFloatProduct(extent.columns, t, right, [&](auto d, std::size_t i, auto sum) HWY_ATTR {
      const hn::Rebind<std::uint8_t, decltype(d)> d8;
      const hn::RebindToSigned<decltype(d)> d32;
      const auto sample = hn::Add(hn::ConvertTo(d32, sampleLevel(d, sum)), hn::Set(d32, 128));
      hn::StoreU(hn::DemoteTo(d8, sample), d8, tile + i);
    });
    for (std::size_t r = 0; r < 8; ++r) std::memcpy(out + r * stride, tile + 8 * r, 8);
  }
}

void multiplyFloats(const float* a, const float* b, float* product) { multiply(a, b, product); }

}  // namespace HWY_NAMESPACE
}  // namespace quorvel
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace quorvel {
namespace {

HWY_EXPORT(forwardFloatBytes);
HWY_EXPORT(forwardFloatWords);
HWY_EXPORT(forwardFloatGiven);
HWY_EXPORT(inverseFloat);
HWY_EXPORT(multiplyFloats);

}  // namespace
}  // namespace quorvel

using namespace quorvel;

float* calcFDCTf_bq(const std::uint8_t* src, unsigned stride, const float* scale, float* dst, float*) {
  HWY_DYNAMIC_DISPATCH(forwardFloatBytes)(src, stride, scale, dst);
  return dst;
}

float* calcFDCTf_wq(const std::uint16_t* src, unsigned stride, const float* scale, float* dst, float*) {
  HWY_DYNAMIC_DISPATCH(forwardFloatWords)(src, stride, static_cast<std::int16_t>(levelShift), scale, dst);
  return dst;
}

float* calcFDCTFlt_SSE(const std::uint8_t* src, unsigned stride, const float* left, const float* right,
                       const float* scale, float* dst, float*) {
  HWY_DYNAMIC_DISPATCH(forwardFloatGiven)(src, stride, left, right, scale, dst);
  return dst;
}

float* calcFDCTFlt_3DNow(const std::uint8_t* src, unsigned stride, const float* left, const float* right,
                         const float* scale, float* dst, float* work) {
  return calcFDCTFlt_SSE(src, stride, left, right, scale, dst, work);
}

std::uint8_t* calcIDCTFlt_SSE(const std::int16_t* coefs, const float* quant, const float* left, const float* right,
                              std::uint8_t* out, unsigned stride, float*) {
  HWY_DYNAMIC_DISPATCH(inverseFloat)(coefs, 1, quant, left, right, out, stride, false);
  return out;
}

std::uint8_t* calcIDCTFlt_SSE2(const std::int16_t* coefs, const float* quant, const float* left, const float* right,
                               std::uint8_t* out, unsigned stride, float* work) {
  return calcIDCTFlt_SSE(coefs, quant, left, right, out, stride, work);
}

std::uint8_t* calcIDCTFlt_strip(const std::int16_t* coefs, unsigned blocks, const float* quant, const float* left,
                                const float* right, std::uint8_t* out, unsigned stride, int zigzag) {
  HWY_DYNAMIC_DISPATCH(inverseFloat)(coefs, blocks, quant, left, right, out, stride, zigzag != 0);
  return out;
}

void matrMul8x8Flt(const float* a, const float* b, float* product) {
  HWY_DYNAMIC_DISPATCH(multiplyFloats)(a, b, product);
}

void matrMul8x8Flt_SSE(const float* a, const float* b, float* product) { matrMul8x8Flt(a, b, product); }
void matrMul8x8Flt_3DNow(const float* a, const float* b, float* product) { matrMul8x8Flt(a, b, product); }

#endif
