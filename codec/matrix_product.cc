// SPDX-License-Identifier: Apache-2.0
// Products of 16-bit matrices: the first pass of the transforms, for callers with matrices of their own.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "codec/matrix_product.cc"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "codec/block_product-inl.h"
#include "quorvel/codec.h"

HWY_BEFORE_NAMESPACE();
namespace quorvel {
namespace HWY_NAMESPACE {

void multiply8x8(const std::uint64_t* left, const std::int16_t* right, std::int16_t* product) {
  leftProduct(CopiedFactor<4>{left}, right, 8,
              [=](auto d, std::size_t i, auto sum) HWY_ATTR { hn::StoreU(sum, d, product + i); });
}

void multiply4x4(const std::uint64_t* left, const std::int16_t* right, std::int16_t* product) {
  const hn::CappedTag<std::int16_t, 4> d;
  for (std::size_t i = 0; i < 16; i += hn::Lanes(d)) {
    auto sum = hn::Zero(d);
    for (std::size_t j = 0; j < 4; ++j) {
      const auto factor = hn::Set(d, static_cast<std::int16_t>(left[i / 4 * 4 + j]));
      sum = hn::Add(sum, hn::MulHigh(factor, hn::LoadU(d, right + 4 * j + i % 4)));
    }
    hn::StoreU(sum, d, product + i);
  }
}

}  // namespace HWY_NAMESPACE
}  // namespace quorvel
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace quorvel {
namespace {

HWY_EXPORT(multiply8x8);
HWY_EXPORT(multiply4x4);

}  // namespace
}  // namespace quorvel

using namespace quorvel;

void matrMul8x8_I16_MMX(const std::uint64_t* left, const std::int16_t* right, std::int16_t* product) {
  HWY_DYNAMIC_DISPATCH(multiply8x8)(left, right, product);
}

void matrMul8x8w_SSE(const std::uint64_t* left, const std::int16_t* right, std::int16_t* product) {
  matrMul8x8_I16_MMX(left, right, product);
}

void matrMul4x4_I16_MMX(const std::uint64_t* left, const std::int16_t* right, std::int16_t* product) {
  HWY_DYNAMIC_DISPATCH(multiply4x4)(left, right, product);
}

#endif
