// SPDX-License-Identifier: Apache-2.0
// The product of three 8 x 8 matrices that every 16-bit transform is, in 16-bit sums of high halves.
//
// A vector holds one, two or four whole rows of the block. For the first pass the samples' row j stands in all of them,
// against coefficient [k][j] of each row's own k; for the second, word m of each row is spread over that row. So no
// block is ever transposed, and a block uses vectors of any width.

// Per-target include guard: the file is read again for every target.
#if defined(QUORVEL_CODEC_BLOCK_PRODUCT_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef QUORVEL_CODEC_BLOCK_PRODUCT_INL_H_
#undef QUORVEL_CODEC_BLOCK_PRODUCT_INL_H_
#else
#define QUORVEL_CODEC_BLOCK_PRODUCT_INL_H_
#endif

#include <cstddef>
#include <cstdint>

#include <hwy/highway.h>

#include "simd/lanes-inl.h"

HWY_BEFORE_NAMESPACE();
namespace quorvel {
namespace HWY_NAMESPACE {

#if HWY_TARGET == HWY_SCALAR

// A left factor in the client's layout: kCopies / 4 words an entry.
template <std::size_t kCopies>
struct CopiedFactor {
  const std::uint64_t* table;

  std::int16_t at(std::size_t k, std::size_t j) const {
    return static_cast<std::int16_t>(table[(8 * k + j) * (kCopies / 4)]);
  }
};

// The same for many blocks: without vectors there is nothing to prepare.
struct PreparedFactor {
  CopiedFactor<4> factor;

  explicit PreparedFactor(const CopiedFactor<4>& copied) : factor(copied) {}
  std::int16_t at(std::size_t k, std::size_t j) const { return factor.at(k, j); }
};

inline std::int16_t highHalf(std::int16_t a, std::int16_t b) { return static_cast<std::int16_t>(a * b >> 16); }

template <typename Left, typename Finish>
void leftProduct(const Left& left, const std::int16_t* x, std::size_t stride, Finish&& finish) {
  const hn::CappedTag<std::int16_t, 1> d;
  for (std::size_t i = 0; i < 64; ++i) {
    std::int16_t sum = 0;
    for (std::size_t j = 0; j < 8; ++j) {
      sum = static_cast<std::int16_t>(sum + highHalf(x[j * stride + i % 8], left.at(i / 8, j)));
    }
    finish(d, i, hn::Set(d, sum));
  }
}

template <typename Left, typename Finish>
void blockProduct(const Left& left, const std::int16_t* x, std::size_t stride, std::int16_t rounding,
                  const std::int16_t* right, Finish&& finish) {
  std::int16_t t[64];
  leftProduct(left, x, stride,
              [&](auto, std::size_t i, auto sum) { t[i] = static_cast<std::int16_t>(hn::GetLane(sum) + rounding); });
  const hn::CappedTag<std::int16_t, 1> d;
  for (std::size_t i = 0; i < 64; ++i) {
    std::int16_t sum = 0;
    for (std::size_t m = 0; m < 8; ++m) {
      sum = static_cast<std::int16_t>(sum + highHalf(t[i / 8 * 8 + m], right[8 * m + i % 8]));
    }
    finish(d, i, hn::Set(d, sum));
  }
}

#else

using RowsTag = hn::CappedTag<std::int16_t, 32>;
using Rows = hn::Vec<RowsTag>;
inline constexpr std::size_t kRowsLanes = hn::MaxLanes(RowsTag());
inline constexpr std::size_t kRowsInVector = kRowsLanes / 8;

// A left factor in the client's layout: kCopies / 4 words an entry. Words are spread by loads alone, and rows put
// together by blends, which both are cheaper than shuffles.
template <std::size_t kCopies>
struct CopiedFactor {
  const std::uint64_t* table;

  HWY_INLINE Rows spread(std::size_t k, std::size_t j) const {
    const hn::Repartition<std::uint64_t, RowsTag> d64;
    return hn::BitCast(RowsTag(), hn::Set(d64, table[(8 * k + j) * (kCopies / 4)]));
  }

  // Column j of the rows in vector `group`.
  HWY_INLINE Rows at(std::size_t group, std::size_t j) const {
    const std::size_t k = group * kRowsInVector;
    if constexpr (kRowsInVector == 1) {
      return spread(k, j);
    } else {
      const Rows low = hn::OddEvenBlocks(spread(k + 1, j), spread(k, j));
      if constexpr (kRowsInVector == 2) return low;
      return hn::ConcatUpperLower(RowsTag(), hn::OddEvenBlocks(spread(k + 3, j), spread(k + 2, j)), low);
    }
  }
};

// The same for many blocks: the vectors put together once.
class PreparedFactor {
 public:
  template <std::size_t kCopies>
  explicit PreparedFactor(const CopiedFactor<kCopies>& copied) {
    for (std::size_t i = 0; i < kVectors; ++i) {
      hn::Store(copied.at(i / 8, i % 8), RowsTag(), vectors_ + i * kRowsLanes);
    }
  }
  HWY_INLINE Rows at(std::size_t group, std::size_t j) const {
    return hn::Load(RowsTag(), vectors_ + (8 * group + j) * kRowsLanes);
  }

 private:
  static constexpr std::size_t kVectors = 64 / kRowsInVector;
  alignas(64) std::int16_t vectors_[kVectors * kRowsLanes];
};

// Which bytes spread word m over its row.
struct SpreadWords {
  alignas(16) std::uint8_t bytes[8][16];

  constexpr SpreadWords() : bytes() {
    for (int m = 0; m < 8; ++m) {
      for (int i = 0; i < 16; ++i) bytes[m][i] = static_cast<std::uint8_t>(2 * m + i % 2);
    }
  }
};
inline constexpr SpreadWords kSpreadWords;

// A block's rows, each in all row places of a vector.
struct SpreadRows {
  Rows row[8];

  HWY_INLINE SpreadRows(const std::int16_t* x, std::size_t stride) {
    HWY_UNROLL(8)
    for (std::size_t j = 0; j < 8; ++j) row[j] = hn::LoadDup128(RowsTag(), x + j * stride);
  }

  // The sum over j of hi(factor(j), row[j]). Two sums, since wrapping additions may come in any order.
  template <typename Factor>
  HWY_INLINE Rows sum(Factor&& factor) const {
    Rows even = hn::MulHigh(factor(0), row[0]), odd = hn::MulHigh(factor(1), row[1]);
    HWY_UNROLL(3)
    for (std::size_t j = 2; j < 8; j += 2) {
      even = hn::Add(even, hn::MulHigh(factor(j), row[j]));
      odd = hn::Add(odd, hn::MulHigh(factor(j + 1), row[j + 1]));
    }
    return hn::Add(even, odd);
  }
};

// Calls finish(d, i, sums) for all of left * x, i being the index of the first of the sums. Row j of x is at
// x + j * stride; all of it is read before the first call.
template <typename Left, typename Finish>
HWY_INLINE void leftProduct(const Left& left, const std::int16_t* x, std::size_t stride, Finish&& finish) {
  const SpreadRows rows(x, stride);
  HWY_UNROLL(8)
  for (std::size_t group = 0; group < 8 / kRowsInVector; ++group) {
    finish(RowsTag(), group * kRowsLanes, rows.sum([&](std::size_t j) HWY_ATTR { return left.at(group, j); }));
  }
}

// The same for (left * x + rounding) * right.
template <typename Left, typename Finish>
HWY_INLINE void blockProduct(const Left& left, const std::int16_t* x, std::size_t stride, std::int16_t rounding,
                             const std::int16_t* right, Finish&& finish) {
  const hn::Repartition<std::uint8_t, RowsTag> d8;
  const SpreadRows factors(right, 8);
  leftProduct(left, x, stride, [&](auto d, std::size_t i, auto sum) HWY_ATTR {
    const auto t = hn::Add(sum, hn::Set(d, rounding));
    finish(d, i, factors.sum([&](std::size_t m) HWY_ATTR {
      return hn::TableLookupBytes(t, hn::BitCast(d, hn::LoadDup128(d8, kSpreadWords.bytes[m])));
    }));
  });
}

#endif

}  // namespace HWY_NAMESPACE
}  // namespace quorvel
HWY_AFTER_NAMESPACE();

#endif  // per-target include guard
