// SPDX-License-Identifier: Apache-2.0
// The order of bytes in words and of bits in bytes.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "pixel/byte_order.cc"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "pixel/bit_reversal.h"
#include "quorvel/pixel.h"
#include "simd/streaming-inl.h"

HWY_BEFORE_NAMESPACE();
namespace quorvel {
namespace HWY_NAMESPACE {

// `dst` may be `src` itself.
void swapBytesOfWords(const std::uint16_t* src, std::uint16_t* dst, std::size_t n) {
  const auto swapped = [=](auto d, std::size_t i) HWY_ATTR {
    const auto words = hn::LoadU(d, src + i);
    return hn::Or(hn::ShiftLeft<8>(words), hn::ShiftRight<8>(words));
  };
  if (src == dst) {  // the lines were just read: storing them again costs less than sending them past the caches
    forLanes<std::uint16_t>(n, [=](auto d, std::size_t i) HWY_ATTR { hn::StoreU(swapped(d, i), d, dst + i); });
  } else {
    const std::array sources = {reads<1>(src)};
    writeRow<std::uint16_t, 1>(n, std::array{dst}, sources, [=](auto d, std::size_t i, const auto& out) HWY_ATTR {
      hn::StoreU(swapped(d, i), d, out[0]);
    });
  }
}

}  // namespace HWY_NAMESPACE
}  // namespace quorvel
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace quorvel {
namespace {

HWY_EXPORT(swapBytesOfWords);

constexpr std::array<ByteTable, 10> reversals() {
  std::array<ByteTable, 10> tables{};
  for (unsigned i = 0; i < 256; ++i) {
    unsigned reversed = 0;
    for (unsigned bit = 0; bit < 8; ++bit) reversed |= (i >> bit & 1) << (7 - bit);
    tables[0][i] = static_cast<std::uint8_t>(reversed);
    for (unsigned k = 1; k < 10; ++k) tables[k][i] = static_cast<std::uint8_t>(reversed >> (9 - k));
  }
  return tables;
}

}  // namespace

constinit const std::array<ByteTable, 10> bitReversal = reversals();

}  // namespace quorvel

using namespace quorvel;

std::uint16_t swap2(std::uint16_t x) { return static_cast<std::uint16_t>(x << 8 | x >> 8); }

std::uint32_t swap4(std::uint32_t x) { return __builtin_bswap32(x); }

std::uint64_t swap8(std::uint64_t x) { return __builtin_bswap64(x); }

void swap4wMMX(std::uint64_t* p) {
  const std::uint64_t swappedHalves = *p << 32 | *p >> 32;
  *p = (swappedHalves & 0x0000FFFF0000FFFF) << 16 | (swappedHalves >> 16 & 0x0000FFFF0000FFFF);
}

int bswap16_MMX(const std::uint16_t* src, std::uint16_t* dst, unsigned n) {
  HWY_DYNAMIC_DISPATCH(swapBytesOfWords)(src, dst, n);
  return 0;
}

// The tables stand from the start, so there is nothing left to build.
int genLowToBigTable() { return 0; }

std::uint32_t lowToBigEndianW(std::uint32_t x, int bits) {
  const unsigned reversed = static_cast<unsigned>(bitReversal[0][x & 0xFF]) << 8 | bitReversal[0][x >> 8 & 0xFF];
  return reversed >> (16 - bits);
}

#endif
