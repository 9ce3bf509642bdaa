// SPDX-License-Identifier: Apache-2.0
// An estimate of a block's size, without a table: each event of a block has a class, and each class a price in bits.
#include <algorithm>
#include <array>
#include <atomic>

#include "codec/huffman_bits.h"

namespace quorvel {
namespace {

constexpr std::size_t kClasses = 8;
constexpr std::array<unsigned, kClasses> kBits = {5, 3, 3, 3, 5, 6, 10, 18};
enum Class : std::uint8_t { kZeros, kZero, kMinusOne, kOne, kTo3, kTo7, kTo63, kLarge };
// By the index of the highest bit. The last two are the model's own: values of 15 bits are rare enough to be cheap.
constexpr std::array<Class, 16> kClassOf = {kOne,   kTo3,   kTo7,   kTo63,  kTo63,  kTo63,  kLarge, kLarge,
                                            kLarge, kLarge, kLarge, kLarge, kLarge, kLarge, kTo7,   kOne};
constexpr unsigned kLongestRun = 5;

std::uint32_t counters[kClasses];

}  // namespace
}  // namespace quorvel

using namespace quorvel;

int encodePeltoBlock(int, CHuffman_state* state, const std::int16_t* block, const c_derived_tbl*,
                     const c_derived_tbl*) {
  std::array<std::uint32_t, kClasses> events{};
  unsigned run = 0;
  const auto closeRun = [&] {
    if (run != 0) ++events[run == 1 ? kZero : kZeros];
    run = 0;
  };
  for (unsigned i = 0; i < 64; ++i) {
    const int v = block[i];
    if (v == 0) {
      if (++run == kLongestRun) closeRun();
      continue;
    }
    closeRun();
    ++events[v == -1 ? kMinusOne : kClassOf[codeValue(v).size - 1]];
  }
  closeRun();
  unsigned bits = static_cast<unsigned>(state->bitCount);
  for (std::size_t c = 0; c < kClasses; ++c) {
    bits += events[c] * kBits[c];
    if (events[c] != 0) std::atomic_ref(counters[c]).fetch_add(events[c], std::memory_order_relaxed);
  }
  state->bitCount = static_cast<int>(bits % 8);
  state->byteCount += static_cast<int>(bits / 8);
  return 0;
}

int decodePeltoBlock(int, CHuffman_state*, std::int16_t* block, const c_derived_tbl*, const c_derived_tbl*) {
  std::fill_n(block, 64, std::int16_t{1});
  return 0;
}

std::uint32_t* getPeltoCategoryStat() { return counters; }
