// SPDX-License-Identifier: Apache-2.0
// Every entry costs a load on any processor; what can be saved is the rest. One way assembles bytes to words in
// registers, which saves stores. The other gathers whole vectors of entries, which on some processors is the fastest of
// all and on others slower than a plain loop, among processors of one instruction set: there it is a matter of their
// microcode. So neither is chosen by what a processor announces, but by which was faster.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "pixel/look_up.cc"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include <type_traits>

#include "pixel/look_up.h"
#include "simd/streaming-inl.h"

HWY_BEFORE_NAMESPACE();
namespace quorvel {
namespace HWY_NAMESPACE {

#if HWY_ARCH_X86 && HWY_MAX_BYTES >= 32

bool gathers() { return true; }

// Each lane gets the aligned word in which its entry lies and shifts the entry down: words stay within the table's
// pages, whatever its place and length. Four gathers make one vector of bytes.
void gatherBytes(const std::uint16_t* HWY_RESTRICT src, std::uint8_t* HWY_RESTRICT dst,
                 const std::uint8_t* HWY_RESTRICT table, std::size_t n) {
  const std::uintptr_t place = reinterpret_cast<std::uintptr_t>(table);
  const auto* words = reinterpret_cast<const std::uint32_t*>(place & ~std::uintptr_t{3});
  const auto beyond = static_cast<std::uint32_t>(place & 3);
  const auto body = [=](auto d, std::size_t i, const auto& out) HWY_ATTR {
    if constexpr (std::is_same_v<decltype(d), hn::ScalableTag<std::uint8_t>>) {
      const hn::ScalableTag<std::uint16_t> d16;
      const hn::ScalableTag<std::uint32_t> d32;
      const hn::Rebind<std::uint16_t, decltype(d32)> half;
      const hn::Rebind<std::int32_t, decltype(d32)> index;
      const auto entries = [&](std::size_t part) HWY_ATTR {
        const auto samples = hn::LoadU(half, src + i + part * hn::Lanes(d32));
        const auto at = hn::Add(hn::PromoteTo(d32, samples), hn::Set(d32, beyond));
        const auto found = hn::GatherIndex(d32, words, hn::BitCast(index, hn::ShiftRight<2>(at)));
        return hn::Shr(found, hn::ShiftLeft<3>(hn::And(at, hn::Set(d32, 3))));
      };
      const auto evens = [](auto narrow, auto low, auto high) HWY_ATTR {
        return hn::ConcatEven(narrow, hn::BitCast(narrow, high), hn::BitCast(narrow, low));
      };
      const auto low = evens(d16, entries(0), entries(1)), high = evens(d16, entries(2), entries(3));
      hn::StoreU(evens(d, low, high), d, out[0]);
    } else {
      for (std::size_t lane = 0; lane < hn::Lanes(d); ++lane) out[0][lane] = table[src[i + lane]];
    }
  };
  writeRow<std::uint8_t, 1>(n, std::array{dst}, std::array{reads<1>(src)}, body);
}

#else  // no gathers, or none worth a trial

bool gathers() { return false; }
void gatherBytes(const std::uint16_t*, std::uint8_t*, const std::uint8_t*, std::size_t) {}

#endif

}  // namespace HWY_NAMESPACE
}  // namespace quorvel
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

#include <atomic>
#include <bit>
#include <limits>

#include "runtime/platform.h"

namespace quorvel {
namespace {

HWY_EXPORT(gathers);
HWY_EXPORT(gatherBytes);

static_assert(std::endian::native == std::endian::little, "look-ups assemble their words lowest entry first");

using LookUp = void (*)(const std::uint16_t*, std::uint8_t*, const std::uint8_t*, std::size_t);

// Unlocked, as the dispatchers' cells are: threads that find out at once may store either, and the results are the
// same.
std::atomic<LookUp> chosen = nullptr;

// The samples of a trial, which takes microseconds, and its rounds. The first one warms up the caches and the wide
// units, and the best of each way's rounds counts, so that an interruption does not decide.
constexpr std::size_t kTrial = 1 << 14;
constexpr int kRounds = 5;

// Writes nothing of the caller's: a buffer that is worked on in place must be read but once.
LookUp fasterWay(const std::uint16_t* src, const std::uint8_t* table) {
  std::array<std::uint8_t, kTrial> dst;
  constexpr std::array<LookUp, 2> kWays = {lookUpBytesByWords, lookUpBytesByGathers};
  std::array<std::int64_t, 2> best;
  best.fill(std::numeric_limits<std::int64_t>::max());
  for (int round = 0; round < kRounds; ++round) {
    for (std::size_t w = 0; w < kWays.size(); ++w) {
      const std::int64_t start = performanceCounter();
      kWays[w](src, dst.data(), table, kTrial);
      best[w] = std::min(best[w], performanceCounter() - start);
    }
  }
  return kWays[best[1] < best[0]];
}

}  // namespace

void lookUpBytesByWords(const std::uint16_t* __restrict src, std::uint8_t* __restrict dst,
                        const std::uint8_t* __restrict table, std::size_t n) {
  std::size_t i = 0;
  // Two words a turn: 64-bit loads of the samples or 64-bit stores were slower for their extra shifts.
  constexpr std::size_t kWords = 2;
  for (; i + 4 * kWords <= n; i += 4 * kWords) {
    std::array<std::uint32_t, kWords> words;
    for (std::size_t w = 0; w < kWords; ++w) {
      words[w] = 0;
      for (std::size_t e = 0; e < 4; ++e) words[w] |= std::uint32_t{table[src[i + 4 * w + e]]} << 8 * e;
    }
    std::memcpy(dst + i, words.data(), sizeof words);
  }
  for (; i < n; ++i) dst[i] = table[src[i]];
}

void lookUpBytesByGathers(const std::uint16_t* src, std::uint8_t* dst, const std::uint8_t* table, std::size_t n) {
  const bool can = HWY_DYNAMIC_DISPATCH(gathers)();
  (can ? HWY_DYNAMIC_DISPATCH(gatherBytes) : lookUpBytesByWords)(src, dst, table, n);
}

void lookUpBytes(const std::uint16_t* src, std::uint8_t* dst, const std::uint8_t* table, std::size_t n) {
  LookUp way = chosen.load(std::memory_order_relaxed);
  if (way == nullptr) {
    way = lookUpBytesByWords;
    if (HWY_DYNAMIC_DISPATCH(gathers)()) {
      if (n >= kTrial) chosen.store(way = fasterWay(src, table), std::memory_order_relaxed);
    }
  }
  way(src, dst, table, n);
}

}  // namespace quorvel

#endif
