// SPDX-License-Identifier: Apache-2.0
// Sums over whole buffers: a sum of words with a memory for carries, and a 32-bit checksum.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "pixel/sums.cc"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "quorvel/pixel.h"
#include "simd/lanes-inl.h"

HWY_BEFORE_NAMESPACE();
namespace quorvel {
namespace HWY_NAMESPACE {

template <class D>
HWY_INLINE hn::Vec<D> sumsOfPairs(D d, const std::uint16_t* pairs) {
  if constexpr (hn::MaxLanes(D()) == 1) {
    return hn::Set(d, std::uint32_t{pairs[0]} + pairs[1]);
  } else {
    const auto both = hn::BitCast(d, hn::LoadU(hn::Repartition<std::uint16_t, D>(), pairs));
    return hn::Add(hn::And(both, hn::Set(d, 0xFFFF)), hn::ShiftRight<16>(both));
  }
}

// A carry out of a pair's sum is counted in its own group, where it belongs, and again in every later one. So group i
// of G adds its plain sum and, for each of its pairs that carries, 65536 x (G - 1 - i): no group depends on another.
std::uint32_t sumGroups(const std::uint16_t* HWY_RESTRICT p, std::size_t groups) {
  const hn::ScalableTag<std::uint32_t> d;
  const std::size_t lanes = hn::Lanes(d);  // each takes a pair; two vectors are as many groups as there are lanes
  const auto last = hn::Set(d, static_cast<std::uint32_t>(groups - 1));
  auto later0 = hn::Sub(last, hn::ShiftRight<1>(hn::Iota(d, 0)));
  auto later1 = hn::Sub(last, hn::ShiftRight<1>(hn::Iota(d, static_cast<std::uint32_t>(lanes))));
  const auto step = hn::Set(d, static_cast<std::uint32_t>(lanes));
  auto plain = hn::Zero(d), again = hn::Zero(d);
  const auto addPairs = [&](const std::uint16_t* pairs, auto laterGroups) HWY_ATTR {
    const auto sum = sumsOfPairs(d, pairs);
    plain = hn::Add(plain, sum);
    again = hn::Add(again, hn::IfThenElseZero(hn::Ne(hn::ShiftRight<16>(sum), hn::Zero(d)), laterGroups));
  };
  std::size_t i = 0;
  for (; i + lanes <= groups; i += lanes) {
    addPairs(p + 4 * i, later0);
    addPairs(p + 4 * i + 2 * lanes, later1);
    later0 = hn::Sub(later0, step);
    later1 = hn::Sub(later1, step);
  }
  alignas(64) std::uint32_t sums[hn::MaxLanes(d)];  // added up in plain unsigned arithmetic, which may wrap everywhere
  hn::Store(hn::Add(plain, hn::ShiftLeft<16>(again)), d, sums);
  std::uint32_t total = 0;
  for (std::size_t lane = 0; lane < lanes; ++lane) total += sums[lane];
  for (; i < groups; ++i) {
    for (const std::uint16_t* pair : {p + 4 * i, p + 4 * i + 2}) {
      const std::uint32_t sum = std::uint32_t{pair[0]} + pair[1];
      total += sum + (sum >> 16) * static_cast<std::uint32_t>(groups - 1 - i) * 65536u;
    }
  }
  return total;
}

}  // namespace HWY_NAMESPACE
}  // namespace quorvel
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

#include <array>

namespace quorvel {
namespace {

HWY_EXPORT(sumGroups);

// The checksum multiplies polynomials over GF(2): a step takes the sum times x, modulo x^32 plus this, plus the word.
constexpr std::uint32_t kPolynomial = 0x04C11DB7;

constexpr std::uint32_t timesX(std::uint32_t sum) { return sum << 1 ^ (sum >> 31 != 0 ? kPolynomial : 0); }

// kFolded[k][b] is b times x^(32 + 8k) modulo the polynomial.
constexpr auto kFolded = [] {
  std::array<std::array<std::uint32_t, 256>, 4> folded{};
  for (std::uint32_t b = 0; b < 256; ++b) {
    std::uint32_t v = b << 24;
    for (auto& table : folded) {
      for (int bit = 0; bit < 8; ++bit) v = timesX(v);
      table[b] = v;
    }
  }
  return folded;
}();

constexpr std::size_t kWordsPerFold = 32;

// 32 steps at once: without the modulus they fit 64 bits, of which the upper half is then folded into the lower. Four
// chains of eight words each run side by side.
std::uint32_t foldWords(std::uint32_t sum, const std::uint32_t* words) {
  std::array<std::uint64_t, 4> chains{};
  for (std::size_t i = 0; i < 8; ++i) {
    for (std::size_t k = 0; k < 4; ++k) chains[k] = chains[k] << 1 ^ words[8 * k + i];
  }
  const std::uint64_t product =
      std::uint64_t{sum} << 32 ^ chains[0] << 24 ^ chains[1] << 16 ^ chains[2] << 8 ^ chains[3];
  return static_cast<std::uint32_t>(product) ^ kFolded[0][product >> 32 & 0xFF] ^ kFolded[1][product >> 40 & 0xFF] ^
         kFolded[2][product >> 48 & 0xFF] ^ kFolded[3][product >> 56];
}

}  // namespace
}  // namespace quorvel

using namespace quorvel;

std::uint32_t TstSum32(const std::uint32_t* data, unsigned nBytes) {
  const std::size_t words = nBytes / 4;
  std::uint32_t sum = 0;
  std::size_t i = 0;
  for (; i + kWordsPerFold <= words; i += kWordsPerFold) sum = foldWords(sum, data + i);
  for (; i < words; ++i) sum = timesX(sum) ^ data[i];
  return sum;
}

std::uint32_t sumWords(const std::uint16_t* p, unsigned n) {
  return n < 4 ? 0 : HWY_DYNAMIC_DISPATCH(sumGroups)(p, n / 4);
}

#endif
